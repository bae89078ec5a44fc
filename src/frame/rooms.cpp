#include "frame/rooms.h"

#include "input/libraries.h"
#include "lib/libraries.h"
#include "scene/display.h"
#include "scene/libraries.h"

namespace quillmere {
namespace {

using OpenOperation = Status (*)(VmState& state);

/// In the order in which their commands come into the global table.
constexpr OpenOperation libraries[] = {
    OpenStringLibrary, OpenMathLibrary,    OpenGraphicsLibrary, OpenEventLibrary,
    OpenSystemLibrary, OpenDisplayLibrary, OpenBrushLibrary,    OpenBGPicLibrary,
};

}  // namespace

Status OpenLibraries(VmState& state) {
  for (const OpenOperation open : libraries) {
    TRY(open(state));
    vmSetTop(state, 0);
  }
  return {};
}

void CloseLibraries(VmState& state) {
  CloseDisplays(vmRoom<SceneState>(state));
  CloseEventLibrary(state);
}

}  // namespace quillmere
