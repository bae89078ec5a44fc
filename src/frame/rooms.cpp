#include "frame/rooms.h"

#include "lib/libraries.h"

namespace quillmere {
namespace {

using OpenOperation = Status (*)(VmState& state);

/// In the order in which their commands come into the global table.
constexpr OpenOperation libraries[] = {
    OpenStringLibrary,
    OpenMathLibrary,
    OpenSystemLibrary,
};

}  // namespace

Status OpenLibraries(VmState& state) {
  for (const OpenOperation open : libraries) {
    TRY(open(state));
    vmSetTop(state, 0);
  }
  return {};
}

void CloseLibraries(VmState&) {}

}  // namespace quillmere
