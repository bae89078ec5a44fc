// TIFF through libtiff. Pictures with a palette or grey levels keep their pens; all others go
// through libtiff's conversion to RGBA.
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "codecs/picture_formats.h"
#include "codecs/size_limits.h"
#include "codecs/storage.h"
#include "codecs/tiff_library.h"

namespace quillmere {
namespace {

/// libtiff's view of the bytes.
struct TiffSource {
  FileBytes bytes;
  std::size_t at = 0;
};

TiffSource& SourceOf(thandle_t handle) {
  return *static_cast<TiffSource*>(handle);
}

tmsize_t ReadSource(thandle_t handle, void* target, tmsize_t count) {
  TiffSource& source = SourceOf(handle);
  const std::size_t left = source.bytes.size() - std::min(source.at, source.bytes.size());
  const std::size_t taken = std::min(static_cast<std::size_t>(count), left);
  if (taken > 0) std::memcpy(target, source.bytes.data() + source.at, taken);
  source.at += taken;
  return static_cast<tmsize_t>(taken);
}

tmsize_t WriteNothing(thandle_t, void*, tmsize_t) {
  return 0;
}

toff_t SeekSource(thandle_t handle, toff_t offset, int whence) {
  TiffSource& source = SourceOf(handle);
  if (whence == SEEK_CUR) offset += source.at;
  if (whence == SEEK_END) offset += source.bytes.size();
  source.at = offset;
  return offset;
}

int CloseNothing(thandle_t) {
  return 0;
}

toff_t SizeOfSource(thandle_t handle) {
  return SourceOf(handle).bytes.size();
}

/// libtiff reads from the bytes where they stand.
int MapSource(thandle_t handle, void** base, toff_t* size) {
  const FileBytes bytes = SourceOf(handle).bytes;
  *base = const_cast<std::uint8_t*>(bytes.data());
  *size = bytes.size();
  return 1;
}

void UnmapNothing(thandle_t, void*, toff_t) {}

int KeepQuiet(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

struct TiffClose {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, TiffClose>;

TiffPtr OpenTiff(TiffSource& source) {
  if (!TiffIsThere()) return nullptr;
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  if (options == nullptr) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(options, KeepQuiet, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options, KeepQuiet, nullptr);
  TiffPtr tiff(TIFFClientOpenExt("", "r", &source, ReadSource, WriteNothing, SeekSource,
                                 CloseNothing, SizeOfSource, MapSource, UnmapNothing, options));
  TIFFOpenOptionsFree(options);
  return tiff;
}

template <class T>
T Tag(TIFF* tiff, std::uint32_t tag, T fallback) {
  T value = fallback;
  TIFFGetFieldDefaulted(tiff, tag, &value);
  return value;
}

/// What the directory tells of a picture.
struct TiffPicture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint16_t bits = 1;
  std::uint16_t samples = 1;
  std::uint16_t meaning = 0;
  std::uint16_t alphaKind = EXTRASAMPLE_UNSPECIFIED;

  explicit TiffPicture(TIFF* tiff)
      : width(Tag<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH, 0)),
        height(Tag<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH, 0)),
        bits(Tag<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1)),
        samples(Tag<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1)),
        meaning(Tag<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC, 0)) {
    std::uint16_t count = 0;
    std::uint16_t* kinds = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) != 0 && count > 0) {
      alphaKind = kinds[0];
    }
  }

  [[nodiscard]] bool HasAlpha() const { return alphaKind != EXTRASAMPLE_UNSPECIFIED; }

  /// Whether each pixel is one pen and rows lie one below the other.
  [[nodiscard]] bool HasPens(TIFF* tiff) const {
    const bool known = meaning == PHOTOMETRIC_PALETTE || meaning == PHOTOMETRIC_MINISBLACK ||
                       meaning == PHOTOMETRIC_MINISWHITE;
    const bool upright =
        Tag<std::uint16_t>(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) == ORIENTATION_TOPLEFT;
    const bool whole = bits == 1 || bits == 2 || bits == 4 || bits == 8;
    return known && upright && whole && samples == 1 && TIFFIsTiled(tiff) == 0;
  }
};

bool Fits(TIFF* tiff, const TiffPicture& picture, std::size_t fileSize) {
  const auto compression = Tag<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  if (compression == COMPRESSION_NONE) {
    return HoldsRaw(picture.width, picture.height, std::uint64_t{picture.bits} * picture.samples,
                    fileSize);
  }
  // Fax codes can say a whole row in one bit; no code says more.
  return IsBelievable(picture.width, picture.height, 65536, fileSize);
}

bool TakeColors(TIFF* tiff, const TiffPicture& picture, Palette& palette) {
  if (picture.meaning != PHOTOMETRIC_PALETTE) {
    palette = GrayPalette(picture.bits);
    if (picture.meaning == PHOTOMETRIC_MINISWHITE) {
      std::reverse(palette.begin(), palette.begin() + (std::ptrdiff_t{1} << picture.bits));
    }
    return true;
  }
  std::uint16_t* red = nullptr;
  std::uint16_t* green = nullptr;
  std::uint16_t* blue = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue) == 0) return false;
  const int count = 1 << picture.bits;
  // Old writers filled only the low bytes.
  const bool low = std::all_of(red, red + count, [](int v) { return v < 256; }) &&
                   std::all_of(green, green + count, [](int v) { return v < 256; }) &&
                   std::all_of(blue, blue + count, [](int v) { return v < 256; });
  const int shift = low ? 0 : 8;
  for (int i = 0; i < count; ++i) {
    palette[i] = static_cast<std::uint32_t>(red[i] >> shift) << 16 |
                 static_cast<std::uint32_t>(green[i] >> shift) << 8 |
                 static_cast<std::uint32_t>(blue[i] >> shift);
  }
  return true;
}

Status ReadPens(TIFF* tiff, const TiffPicture& picture, PictureObject& object) {
  if (!TakeColors(tiff, picture, object.palette)) return Fail(Error::UnknownImageFormat);
  const std::size_t stride = PenStride(object.width);
  object.depth = picture.bits;
  object.pens = TRY(MakeArray<std::uint8_t>(static_cast<int>(stride), object.height));
  auto row = TRY(MakeArray<std::uint8_t>(static_cast<std::size_t>(TIFFScanlineSize64(tiff))));
  const unsigned bits = picture.bits;
  const unsigned mask = (1u << bits) - 1;
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    if (TIFFReadScanline(tiff, row.data(), y) < 0) return Fail(Error::UnknownImageFormat);
    std::uint8_t* out = object.pens.data() + y * stride;
    for (std::size_t x = 0; x < picture.width; ++x) {
      const std::size_t bit = x * bits;
      out[x] = row[bit / 8] >> (8 - bits - bit % 8) & mask;
    }
  }
  return {};
}

/// The colour that was there before it was multiplied by its alpha.
std::uint32_t Unmultiply(std::uint32_t level, std::uint32_t alpha) {
  if (alpha == 0) return 0;
  return std::min<std::uint32_t>((level * 255 + alpha / 2) / alpha, 255);
}

std::uint32_t WordOf(std::uint32_t abgr, const TiffPicture& picture) {
  std::uint32_t red = TIFFGetR(abgr);
  std::uint32_t green = TIFFGetG(abgr);
  std::uint32_t blue = TIFFGetB(abgr);
  const std::uint32_t alpha = picture.HasAlpha() ? TIFFGetA(abgr) : 0;
  if (picture.alphaKind == EXTRASAMPLE_ASSOCALPHA) {
    red = Unmultiply(red, alpha);
    green = Unmultiply(green, alpha);
    blue = Unmultiply(blue, alpha);
  }
  return alpha << 24 | red << 16 | green << 8 | blue;
}

Status ReadWords(TIFF* tiff, const TiffPicture& picture, PictureObject& object) {
  object.depth = picture.HasAlpha() ? 32 : 24;
  object.pixels = TRY(AllocBitmap(object.width, object.height));
  auto raster = TRY(MakeArray<std::uint32_t>(object.width, object.height));
  // libtiff multiplies colours by a separate alpha and loses bits; told that they are multiplied
  // already, it leaves them alone.
  if (picture.alphaKind == EXTRASAMPLE_UNASSALPHA) {
    std::uint16_t kind = EXTRASAMPLE_ASSOCALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
  }
  constexpr int stopAtErrors = 1;
  if (TIFFReadRGBAImageOriented(tiff, picture.width, picture.height, raster.data(),
                                ORIENTATION_TOPLEFT, stopAtErrors) == 0) {
    return Fail(Error::UnknownImageFormat);
  }
  const std::uint32_t* from = raster.data();
  for (int y = 0; y < object.height; ++y) {
    for (std::uint32_t& word : RowOf(*object.pixels, y)) word = WordOf(*from++, picture);
  }
  return {};
}

}  // namespace

bool IsTiff(FileBytes bytes) {
  return bytes.size() >= 8 && (std::memcmp(bytes.data(), "MM\0\x2A", 4) == 0 ||
                               std::memcmp(bytes.data(), "II\x2A\0", 4) == 0);
}

Result<PictureObject> DecodeTiff(FileBytes bytes, DecodeScope scope) {
  TiffSource source{bytes};
  const TiffPtr tiff = OpenTiff(source);
  if (!tiff) return Fail(Error::UnknownImageFormat);
  const TiffPicture picture(tiff.get());
  if (!IsPictureSize(picture.width, picture.height)) return Fail(Error::UnknownImageFormat);
  PictureObject object;
  object.width = static_cast<int>(picture.width);
  object.height = static_cast<int>(picture.height);
  const bool hasPens = picture.HasPens(tiff.get());
  object.depth = hasPens ? picture.bits : picture.HasAlpha() ? 32 : 24;
  if (scope == DecodeScope::HeaderOnly) return object;
  if (!Fits(tiff.get(), picture, bytes.size())) return Fail(Error::UnknownImageFormat);
  TRY(hasPens ? ReadPens(tiff.get(), picture, object) : ReadWords(tiff.get(), picture, object));
  return object;
}

}  // namespace quillmere
