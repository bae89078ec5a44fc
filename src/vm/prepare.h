// Prepared code: what the loader makes of verified instructions, and the interpreter runs.
#pragma once

#include <cstdint>

#include "vm/object.h"

namespace quillmere {

enum class VmCodeOp : std::uint8_t {
#define CODE(name) name,
#include "vm/prepared.def"
#undef CODE
};

/// Fills `proto.ops`, which has the size of `proto.code`. The code must have been verified; the
/// constants must be there.
void PrepareCode(VmProto& proto);

}  // namespace quillmere
