#include <X11/Xlib.h>

#include "platform/late_library.h"
#include "platform/sdl/sdl_library.h"

namespace quillmere {
namespace {

struct X11Library : LateLibrary {
  X11Library() : LateLibrary("libX11.so.6") {
#define LATE LATE_LOOKUP
#include "platform/sdl/x11_functions.def"
#undef LATE
  }
#define LATE LATE_ADDRESS
#include "platform/sdl/x11_functions.def"
#undef LATE
};

const X11Library& Functions() {
  static const X11Library library;
  return library;
}

}  // namespace

bool XlibIsThere() {
  return Functions().IsComplete();
}

}  // namespace quillmere

#define LATE LATE_FORWARD
#include "platform/sdl/x11_functions.def"
#undef LATE
