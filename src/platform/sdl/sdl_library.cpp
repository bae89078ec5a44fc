#include "platform/sdl/sdl_library.h"

#include <SDL.h>
#include <SDL_shape.h>
#include <SDL_syswm.h>

#include "platform/late_library.h"

namespace quillmere {
namespace {

struct SdlLibrary : LateLibrary {
  SdlLibrary() : LateLibrary("libSDL2-2.0.so.0") {
#define LATE LATE_LOOKUP
#include "platform/sdl/sdl_functions.def"
#undef LATE
  }
#define LATE LATE_ADDRESS
#include "platform/sdl/sdl_functions.def"
#undef LATE
};

const SdlLibrary& Functions() {
  static const SdlLibrary library;
  return library;
}

}  // namespace

bool SdlIsThere() {
  return Functions().IsComplete();
}

}  // namespace quillmere

#define LATE LATE_FORWARD
#include "platform/sdl/sdl_functions.def"
#undef LATE
