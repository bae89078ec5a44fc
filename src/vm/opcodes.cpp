#include "vm/opcodes.h"

namespace quillmere {

const VmOpInfo& vmOpInfo(int op) {
  [[maybe_unused]] constexpr int NoFlags = 0;
  constexpr int Writes = 1;
  constexpr int Test = 2;
  constexpr int BxConstant = 4;
  static constexpr VmOpInfo table[] = {
#define OP(name, format, b, c, flags) \
  {#name,                             \
   VmOpFormat::format,                \
   VmOpArgument::b,                   \
   VmOpArgument::c,                   \
   ((flags)&Writes) != 0,             \
   ((flags)&Test) != 0,               \
   ((flags)&BxConstant) != 0},
#include "vm/opcodes.def"
#undef OP
  };
  return table[op];
}

}  // namespace quillmere
