#include "platform/sdl/xfixes_library.h"

#include <X11/extensions/Xfixes.h>

#include "platform/late_library.h"

namespace quillmere {
namespace {

struct XfixesLibrary : LateLibrary {
  XfixesLibrary() : LateLibrary("libXfixes.so.3") {
#define LATE LATE_LOOKUP
#include "platform/sdl/xfixes_functions.def"
#undef LATE
  }
#define LATE LATE_ADDRESS
#include "platform/sdl/xfixes_functions.def"
#undef LATE
};

const XfixesLibrary& Functions() {
  static const XfixesLibrary library;
  return library;
}

}  // namespace

bool XfixesIsThere() {
  return Functions().IsComplete();
}

}  // namespace quillmere

#define LATE LATE_FORWARD
#include "platform/sdl/xfixes_functions.def"
#undef LATE
