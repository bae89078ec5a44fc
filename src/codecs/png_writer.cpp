// PNG files through libpng, 8 bits a channel.
#include <png.h>

#include <csetjmp>

#include "codecs/picture_file.h"
#include "codecs/picture_writer.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

/// Everything that libpng's jumps must not skip the destruction of.
struct PngWriter {
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::unique_ptr<qmFile> file;
  std::vector<std::uint8_t> row;
  bool outOfSpace = false;

  PngWriter() = default;
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;
  ~PngWriter() { png_destroy_write_struct(&png, &info); }
};

void WriteFileBytes(png_structp png, png_bytep bytes, std::size_t count) {
  auto& writer = *static_cast<PngWriter*>(png_get_io_ptr(png));
  if (writer.file->WriteBytes({bytes, count}) == count) return;
  writer.outOfSpace = true;
  png_error(png, "device full");
}

void FlushFile(png_structp) {}

void IgnoreWarning(png_structp, png_const_charp) {}

/// libpng has no other way out of an error than a jump to where the writer was entered.
[[noreturn]] void LeaveWriter(png_structp png, png_const_charp) {
  png_longjmp(png, 1);
}

void PackRow(const std::uint32_t* words, int width, bool withAlpha, std::uint8_t* out) {
  for (int x = 0; x < width; ++x) {
    *out++ = static_cast<std::uint8_t>(words[x] >> 16);
    *out++ = static_cast<std::uint8_t>(words[x] >> 8);
    *out++ = static_cast<std::uint8_t>(words[x]);
    if (withAlpha) *out++ = static_cast<std::uint8_t>(words[x] >> 24);
  }
}

bool WriteRows(PngWriter& writer, const PixelView& pixels, bool withAlpha) {
  if (setjmp(png_jmpbuf(writer.png))) return false;
  png_set_write_fn(writer.png, &writer, WriteFileBytes, FlushFile);
  png_set_IHDR(writer.png, writer.info, static_cast<png_uint_32>(pixels.width),
               static_cast<png_uint_32>(pixels.height), 8,
               withAlpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(writer.png, writer.info);
  for (int y = 0; y < pixels.height; ++y) {
    PackRow(pixels.pixels + static_cast<std::ptrdiff_t>(y) * pixels.stride, pixels.width, withAlpha,
            writer.row.data());
    png_write_row(writer.png, writer.row.data());
  }
  png_write_end(writer.png, writer.info);
  return true;
}

}  // namespace

Status WritePng(Host& host, std::string_view name, const PixelView& pixels, bool withAlpha) {
  PngWriter writer;
  writer.row = TRY(MakeArray<std::uint8_t>(pixels.width, withAlpha ? 4 : 3));
  writer.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, LeaveWriter, IgnoreWarning);
  if (writer.png == nullptr) return Fail(Error::OutOfMemory);
  writer.info = png_create_info_struct(writer.png);
  if (writer.info == nullptr) return Fail(Error::OutOfMemory);
  writer.file = TRY(CreatePictureFile(host, name));

  const bool written = WriteRows(writer, pixels, withAlpha) && writer.file->Flush();
  if (!written) {
    return Fail(writer.outOfSpace || !writer.file->Flush() ? Error::CannotWriteAll
                                                           : Error::ErrorSavingPngPicture);
  }
  return {};
}

}  // namespace quillmere
