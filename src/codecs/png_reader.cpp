// PNG through libpng. Pictures with a palette or grey levels of up to 8 bits keep their pens.
#include <png.h>

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstring>
#include <memory>

#include "codecs/picture_formats.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

/// Everything that libpng's jumps must not skip the destruction of.
struct PngReader {
  png_structp png = nullptr;
  png_infop info = nullptr;
  FileBytes rest;
  std::size_t fileSize = 0;
  PictureObject object;
  std::vector<std::uint8_t*> rows;
  bool keepsPens = false;

  PngReader() = default;
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;
  ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }
};

void ReadBytes(png_structp png, png_bytep target, std::size_t count) {
  auto& reader = *static_cast<PngReader*>(png_get_io_ptr(png));
  if (count > reader.rest.size()) png_error(png, "end of file");
  std::memcpy(target, reader.rest.data(), count);
  reader.rest = reader.rest.subspan(count);
}

void IgnoreWarning(png_structp, png_const_charp) {}

/// libpng has no other way out of an error than a jump to where the reader was entered.
[[noreturn]] void LeaveReader(png_structp png, png_const_charp) {
  png_longjmp(png, 1);
}

/// Whether the file can hold that many bytes of pixels: deflate makes at most 1032 bytes of one.
bool FitsFile(const PngReader& reader) {
  const std::uint64_t rowBytes = png_get_rowbytes(reader.png, reader.info) + 1;
  const std::uint64_t rawBytes = rowBytes * png_get_image_height(reader.png, reader.info);
  return rawBytes / 1032 <= reader.fileSize;
}

/// The single pen that is transparent, when every other one is opaque.
std::optional<std::uint8_t> SingleTransparentPen(png_const_bytep alpha, int count) {
  std::optional<std::uint8_t> pen;
  for (int i = 0; i < count; ++i) {
    if (alpha[i] == 255) continue;
    if (alpha[i] != 0 || pen) return std::nullopt;
    pen = static_cast<std::uint8_t>(i);
  }
  return pen;
}

void TakePalette(PngReader& reader) {
  png_colorp colors = nullptr;
  int count = 0;
  png_get_PLTE(reader.png, reader.info, &colors, &count);
  for (int i = 0; i < std::min(count, 256); ++i) {
    reader.object.palette[i] = static_cast<std::uint32_t>(colors[i].red) << 16 |
                               static_cast<std::uint32_t>(colors[i].green) << 8 | colors[i].blue;
  }
}

/// Decides in which form the pixels are delivered and asks libpng for it.
void ChooseForm(PngReader& reader) {
  png_structp png = reader.png;
  const int type = png_get_color_type(png, reader.info);
  const int bits = png_get_bit_depth(png, reader.info);
  png_bytep alpha = nullptr;
  png_color_16p key = nullptr;
  int alphaCount = 0;
  const bool hasKey = png_get_tRNS(png, reader.info, &alpha, &alphaCount, &key) != 0;

  if (type == PNG_COLOR_TYPE_PALETTE) {
    reader.object.transparentPen = hasKey ? SingleTransparentPen(alpha, alphaCount) : std::nullopt;
    const bool opaque = std::all_of(alpha, alpha + alphaCount, [](int a) { return a == 255; });
    reader.keepsPens = opaque || reader.object.transparentPen;
    if (reader.keepsPens) TakePalette(reader);
  } else if (type == PNG_COLOR_TYPE_GRAY && bits <= 8) {
    reader.keepsPens = true;
    reader.object.palette = GrayPalette(bits);
    if (hasKey) reader.object.transparentPen = static_cast<std::uint8_t>(key->gray);
  }
  if (reader.keepsPens) {
    reader.object.depth = bits;
    reader.object.penIsAlpha = reader.object.transparentPen.has_value();
    png_set_packing(png);
    return;
  }
  const bool withAlpha = (type & PNG_COLOR_MASK_ALPHA) != 0 || hasKey;
  reader.object.depth = withAlpha ? 32 : 24;
  png_set_expand(png);
  png_set_scale_16(png);
  png_set_gray_to_rgb(png);
  static_assert(std::endian::native == std::endian::little, "words are stored low byte first");
  png_set_bgr(png);
  if (!withAlpha) png_set_filler(png, 0, PNG_FILLER_AFTER);
}

bool ReadHeader(PngReader& reader) {
  if (setjmp(png_jmpbuf(reader.png))) return false;
  png_read_info(reader.png, reader.info);
  reader.object.width = static_cast<int>(png_get_image_width(reader.png, reader.info));
  reader.object.height = static_cast<int>(png_get_image_height(reader.png, reader.info));
  ChooseForm(reader);
  return true;
}

bool ReadRows(PngReader& reader) {
  if (setjmp(png_jmpbuf(reader.png))) return false;
  png_set_interlace_handling(reader.png);
  png_read_update_info(reader.png, reader.info);
  png_read_image(reader.png, reader.rows.data());
  return true;
}

Status MakeRows(PngReader& reader) {
  PictureObject& object = reader.object;
  reader.rows = TRY(MakeArray<std::uint8_t*>(static_cast<std::size_t>(object.height)));
  std::uint8_t* base;
  std::size_t stride;
  if (reader.keepsPens) {
    stride = PenStride(object.width);
    object.pens = TRY(MakeArray<std::uint8_t>(static_cast<int>(stride), object.height));
    base = object.pens.data();
  } else {
    object.pixels = TRY(AllocBitmap(object.width, object.height));
    stride = static_cast<std::size_t>(object.pixels->pixelsPerRow) * sizeof(std::uint32_t);
    base = reinterpret_cast<std::uint8_t*>(object.pixels->Row(0));
  }
  for (std::size_t y = 0; y < reader.rows.size(); ++y) reader.rows[y] = base + y * stride;
  return {};
}

}  // namespace

bool IsPng(FileBytes bytes) {
  return bytes.size() >= 8 && png_sig_cmp(const_cast<png_bytep>(bytes.data()), 0, 8) == 0;
}

Result<PictureObject> DecodePng(FileBytes bytes, DecodeScope scope) {
  PngReader reader;
  reader.rest = bytes;
  reader.fileSize = bytes.size();
  reader.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, LeaveReader, IgnoreWarning);
  if (reader.png == nullptr) return Fail(Error::OutOfMemory);
  reader.info = png_create_info_struct(reader.png);
  if (reader.info == nullptr) return Fail(Error::OutOfMemory);
  png_set_read_fn(reader.png, &reader, ReadBytes);

  if (!ReadHeader(reader)) return Fail(Error::UnknownImageFormat);
  if (scope == DecodeScope::HeaderOnly) return std::move(reader.object);
  if (!FitsFile(reader)) return Fail(Error::UnknownImageFormat);
  TRY(MakeRows(reader));
  if (!ReadRows(reader)) return Fail(Error::UnknownImageFormat);
  return std::move(reader.object);
}

}  // namespace quillmere
