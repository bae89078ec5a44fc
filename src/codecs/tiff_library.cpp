#include "codecs/tiff_library.h"

#include <tiffio.h>

#include <cstdarg>

#include "platform/late_library.h"

namespace quillmere {
namespace {

struct TiffLibrary : LateLibrary {
  TiffLibrary() : LateLibrary("libtiff.so.6") {
#define LATE LATE_LOOKUP
#include "codecs/tiff_functions.def"
#undef LATE
  }
#define LATE LATE_ADDRESS
#include "codecs/tiff_functions.def"
#undef LATE
};

const TiffLibrary& Functions() {
  static const TiffLibrary library;
  return library;
}

}  // namespace

bool TiffIsThere() {
  return Functions().IsComplete();
}

}  // namespace quillmere

#define LATE LATE_FORWARD
#include "codecs/tiff_functions.def"
#undef LATE

// The forms with a variable number of arguments hand them on as a list.

extern "C" int TIFFGetField(TIFF* tiff, uint32_t tag, ...) {
  va_list values;
  va_start(values, tag);
  const int result = TIFFVGetField(tiff, tag, values);
  va_end(values);
  return result;
}

extern "C" int TIFFGetFieldDefaulted(TIFF* tiff, uint32_t tag, ...) {
  va_list values;
  va_start(values, tag);
  const int result = TIFFVGetFieldDefaulted(tiff, tag, values);
  va_end(values);
  return result;
}

extern "C" int TIFFSetField(TIFF* tiff, uint32_t tag, ...) {
  va_list values;
  va_start(values, tag);
  const int result = TIFFVSetField(tiff, tag, values);
  va_end(values);
  return result;
}
