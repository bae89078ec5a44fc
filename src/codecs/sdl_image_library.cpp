#include "codecs/sdl_image_library.h"

#include <SDL_image.h>

#include "platform/late_library.h"
#include "platform/sdl/sdl_library.h"

namespace quillmere {
namespace {

struct SdlImageLibrary : LateLibrary {
  SdlImageLibrary() : LateLibrary("libSDL2_image-2.0.so.0") {
#define LATE LATE_LOOKUP
#include "codecs/sdl_image_functions.def"
#undef LATE
  }
#define LATE LATE_ADDRESS
#include "codecs/sdl_image_functions.def"
#undef LATE
};

const SdlImageLibrary& Functions() {
  static const SdlImageLibrary library;
  return library;
}

}  // namespace

bool SdlImageIsThere() {
  return SdlIsThere() && Functions().IsComplete();
}

}  // namespace quillmere

#define LATE LATE_FORWARD
#include "codecs/sdl_image_functions.def"
#undef LATE
