// Formats that SDL2_image decodes. Its decoders take memory for the whole picture first, so each
// row of the table also tells whether a file can hold the picture that its header promises.
#include <SDL_image.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/byte_order.h"
#include "codecs/picture_formats.h"
#include "codecs/sdl_image_library.h"
#include "codecs/size_limits.h"
#include "codecs/storage.h"
#include "codecs/xpm_text.h"

namespace quillmere {
namespace {

struct SurfaceFree {
  void operator()(SDL_Surface* surface) const { SDL_FreeSurface(surface); }
};
using SurfacePtr = std::unique_ptr<SDL_Surface, SurfaceFree>;

bool StartsWith(FileBytes bytes, std::string_view text) {
  return bytes.size() >= text.size() && std::memcmp(bytes.data(), text.data(), text.size()) == 0;
}

bool IsBmp(FileBytes bytes) {
  return StartsWith(bytes, "BM");
}

bool BmpFits(FileBytes bytes) {
  if (bytes.size() < 26) return false;
  if (LoadLittle<std::uint32_t>(&bytes[14]) == 12) {
    return HoldsRaw(LoadLittle<std::uint16_t>(&bytes[18]), LoadLittle<std::uint16_t>(&bytes[20]),
                    LoadLittle<std::uint16_t>(&bytes[24]), bytes.size());
  }
  if (bytes.size() < 54) return false;
  const std::uint32_t width = LoadLittle<std::uint32_t>(&bytes[18]);
  const auto signedHeight = static_cast<std::int32_t>(LoadLittle<std::uint32_t>(&bytes[22]));
  const std::uint32_t height = signedHeight < 0 ? 0u - static_cast<std::uint32_t>(signedHeight)
                                                : static_cast<std::uint32_t>(signedHeight);
  const std::uint32_t compression = LoadLittle<std::uint32_t>(&bytes[30]);
  const bool runs = compression == 1 || compression == 2;
  if (runs) return IsBelievable(width, height, 128, bytes.size());
  return HoldsRaw(width, height, LoadLittle<std::uint16_t>(&bytes[28]), bytes.size());
}

bool IsWebp(FileBytes bytes) {
  return StartsWith(bytes, "RIFF") && bytes.size() >= 30 && StartsWith(bytes.subspan(8), "WEBPVP8");
}

bool WebpFits(FileBytes bytes) {
  // A whole picture of one colour takes a few bytes, so the bound is one of decency.
  constexpr std::uint64_t pixelsPerByte = 65536;
  if (LoadLittle<std::uint32_t>(&bytes[4]) > bytes.size()) return false;
  const auto size14 = [&](std::size_t at, int shift) {
    return LoadLittle<std::uint32_t>(&bytes[at]) >> shift & 0x3FFFu;
  };
  const auto size24 = [&](std::size_t at) {
    return 1 + (LoadLittle<std::uint32_t>(&bytes[at]) & 0xFFFFFF);
  };
  switch (bytes[15]) {
    case ' ':
      return IsBelievable(size14(26, 0), size14(26, 16), pixelsPerByte, bytes.size());
    case 'L':
      return IsBelievable(size14(21, 0) + 1, size14(21, 14) + 1, pixelsPerByte, bytes.size());
    case 'X':
      return IsBelievable(size24(24), size24(26) >> 8, pixelsPerByte, bytes.size());
    default:
      return false;
  }
}

bool IsPcx(FileBytes bytes) {
  return bytes.size() >= 128 && bytes[0] == 0x0A && bytes[1] <= 5 && bytes[2] == 1;
}

bool PcxFits(FileBytes bytes) {
  const auto extent = [&](std::size_t from, std::size_t to) {
    return std::uint64_t{1} + LoadLittle<std::uint16_t>(&bytes[to]) -
           LoadLittle<std::uint16_t>(&bytes[from]);
  };
  const std::uint64_t width = extent(4, 8);
  // The decoder takes a row of as many bytes as are told here, and pixels from it that may be more.
  const std::uint16_t rowBytes = LoadLittle<std::uint16_t>(&bytes[66]);
  if (rowBytes > INT16_MAX || width * bytes[3] > std::uint64_t{rowBytes} * 8) return false;
  // A run of 63 bytes, each eight pixels, takes two.
  return IsBelievable(width, extent(6, 10), 252, bytes.size());
}

/// Reads unsigned decimal numbers out of text; whatever stands between them is passed over.
class TextNumbers {
 public:
  explicit TextNumbers(FileBytes text) : text_(text) {}

  /// The next number, cut at a billion; 0 behind the last.
  std::uint64_t Next() {
    constexpr std::uint64_t most = 1'000'000'000;
    while (at_ < text_.size() && !IsDigit()) {
      if (text_[at_] == '#')
        SkipLine();
      else
        ++at_;
    }
    std::uint64_t number = 0;
    for (; at_ < text_.size() && IsDigit(); ++at_) {
      number = std::min<std::uint64_t>(number * 10 + (text_[at_] - '0'), most);
    }
    return number;
  }

 private:
  [[nodiscard]] bool IsDigit() const { return text_[at_] >= '0' && text_[at_] <= '9'; }
  void SkipLine() {
    while (at_ < text_.size() && text_[at_] != '\n') ++at_;
  }

  FileBytes text_;
  std::size_t at_ = 0;
};

bool IsXpm(FileBytes bytes) {
  return StartsWith(bytes, "/* XPM */");
}

/// The size is checked where the text is read.
bool XpmFits(FileBytes) {
  return true;
}

bool IsPnm(FileBytes bytes) {
  return bytes.size() >= 7 && bytes[0] == 'P' && bytes[1] >= '1' && bytes[1] <= '6';
}

bool PnmFits(FileBytes bytes) {
  // The least bits of a pixel in plain bits, grey and colours, first as text and then as bytes.
  constexpr std::uint64_t bits[] = {8, 8, 24, 1, 8, 24};
  TextNumbers numbers(bytes.subspan(2));
  const std::uint64_t width = numbers.Next();
  const std::uint64_t height = numbers.Next();
  return HoldsRaw(width, height, bits[bytes[1] - '1'], bytes.size());
}

bool IsQoi(FileBytes bytes) {
  return StartsWith(bytes, "qoif");
}

bool QoiFits(FileBytes bytes) {
  if (bytes.size() < 14) return false;
  return IsBelievable(LoadBig<std::uint32_t>(&bytes[4]), LoadBig<std::uint32_t>(&bytes[8]), 62,
                      bytes.size());
}

/// TGA has no mark; its header has enough fields with few values to tell.
bool IsTga(FileBytes bytes) {
  if (bytes.size() < 18 || bytes[1] > 1) return false;
  const int kind = bytes[2] & ~8;
  const int bits = bytes[16];
  const bool mapped = kind == 1;
  if (kind < 1 || kind > 3 || bytes[2] > 11 || mapped != (bytes[1] == 1)) return false;
  const std::uint16_t colors = LoadLittle<std::uint16_t>(&bytes[5]);
  if (mapped && (colors == 0 || colors > 256 || bits != 8)) return false;
  return bits == 8 || bits == 15 || bits == 16 || bits == 24 || bits == 32;
}

bool TgaFits(FileBytes bytes) {
  const std::uint16_t width = LoadLittle<std::uint16_t>(&bytes[12]);
  const std::uint16_t height = LoadLittle<std::uint16_t>(&bytes[14]);
  const bool runs = (bytes[2] & 8) != 0;
  return runs ? IsBelievable(width, height, 128, bytes.size())
              : HoldsRaw(width, height, bytes[16], bytes.size());
}

int BmpDepth(FileBytes bytes) {
  const bool isOld = LoadLittle<std::uint32_t>(&bytes[14]) == 12;
  return std::clamp<int>(LoadLittle<std::uint16_t>(&bytes[isOld ? 24 : 28]), 1, 8);
}

struct SdlFormat {
  bool (*recognise)(FileBytes bytes);
  /// Whether the picture that the header promises can be in the file.
  bool (*fits)(FileBytes bytes);
  SDL_Surface* (*load)(SDL_RWops* stream);
  /// The decoder makes an alpha channel up where there is none, so one that is opaque all over does
  /// not count.
  bool inventsAlpha;
  /// The decoder reads to the end of the file, wherever the picture ends.
  bool readsOn;
  /// The bits of a pixel, for formats whose decoder does not tell; null for others.
  int (*depth)(FileBytes bytes);
};

constexpr SdlFormat sdlFormats[] = {
    {IsBmp, BmpFits, IMG_LoadBMP_RW, true, true, BmpDepth},
    {IsWebp, WebpFits, IMG_LoadWEBP_RW, false, true, nullptr},
    {IsXpm, XpmFits, IMG_LoadXPM_RW, false, true, nullptr},
    {IsPnm, PnmFits, IMG_LoadPNM_RW, false, false, nullptr},
    {IsQoi, QoiFits, IMG_LoadQOI_RW, false, false, nullptr},
    {IsPcx, PcxFits, IMG_LoadPCX_RW, false, false, nullptr},
    {IsTga, TgaFits, IMG_LoadTGA_RW, true, false, nullptr},
};

const SdlFormat* FindFormat(FileBytes bytes) {
  const auto* format = std::ranges::find_if(
      sdlFormats, [&](const SdlFormat& candidate) { return candidate.recognise(bytes); });
  return format == std::end(sdlFormats) ? nullptr : format;
}

/// What a decoder reads from. SDL2_image's decoders make up what is missing from a file that was
/// cut, so the source notes whether they asked for more than there was.
struct SdlSource {
  FileBytes bytes;
  std::size_t at = 0;
  bool ranDry = false;
};

SdlSource& SourceOf(SDL_RWops* stream) {
  return *static_cast<SdlSource*>(stream->hidden.unknown.data1);
}

Sint64 SizeOfSource(SDL_RWops* stream) {
  return static_cast<Sint64>(SourceOf(stream).bytes.size());
}

Sint64 SeekSource(SDL_RWops* stream, Sint64 offset, int whence) {
  SdlSource& source = SourceOf(stream);
  const auto size = static_cast<Sint64>(source.bytes.size());
  if (whence == RW_SEEK_CUR) offset += static_cast<Sint64>(source.at);
  if (whence == RW_SEEK_END) offset += size;
  source.at = static_cast<std::size_t>(std::clamp<Sint64>(offset, 0, size));
  return static_cast<Sint64>(source.at);
}

std::size_t ReadSource(SDL_RWops* stream, void* target, std::size_t size, std::size_t count) {
  SdlSource& source = SourceOf(stream);
  const std::size_t left = source.bytes.size() - source.at;
  if (size == 0 || count == 0) return 0;
  const std::size_t taken = std::min(count, left / size);
  if (taken < count) source.ranDry = true;
  if (taken > 0) std::memcpy(target, source.bytes.data() + source.at, taken * size);
  source.at += taken * size;
  return taken;
}

std::size_t WriteNothing(SDL_RWops*, const void*, std::size_t, std::size_t) {
  return 0;
}

int CloseNothing(SDL_RWops*) {
  return 0;
}

struct StreamFree {
  void operator()(SDL_RWops* stream) const { SDL_FreeRW(stream); }
};

Result<SurfacePtr> LoadSurface(FileBytes bytes, const SdlFormat& format) {
  if (bytes.size() > INT32_MAX || !format.fits(bytes) || !SdlImageIsThere()) {
    return Fail(Error::UnknownImageFormat);
  }
  const std::unique_ptr<SDL_RWops, StreamFree> stream(SDL_AllocRW());
  if (!stream) return Fail(Error::OutOfMemory);
  SdlSource source{bytes};
  stream->type = SDL_RWOPS_UNKNOWN;
  stream->hidden.unknown.data1 = &source;
  stream->size = SizeOfSource;
  stream->seek = SeekSource;
  stream->read = ReadSource;
  stream->write = WriteNothing;
  stream->close = CloseNothing;
  SurfacePtr surface(format.load(stream.get()));
  if (!surface || (source.ranDry && !format.readsOn)) return Fail(Error::UnknownImageFormat);
  return surface;
}

void TakePens(const SDL_Surface& surface, PictureObject& object) {
  const SDL_Palette& palette = *surface.format->palette;
  const int count = std::clamp(palette.ncolors, 2, 256);
  object.depth = std::bit_width(static_cast<unsigned>(count - 1));
  for (int i = 0; i < std::min(palette.ncolors, 256); ++i) {
    const SDL_Color& color = palette.colors[i];
    object.palette[i] = static_cast<std::uint32_t>(color.r) << 16 |
                        static_cast<std::uint32_t>(color.g) << 8 | color.b;
  }
  for (int y = 0; y < object.height; ++y) {
    std::memcpy(object.pens.data() + y * PenStride(object.width),
                static_cast<const std::uint8_t*>(surface.pixels) + y * surface.pitch,
                static_cast<std::size_t>(object.width));
  }
}

bool IsOpaque(const qmBitmap& pixels) {
  for (int y = 0; y < pixels.height; ++y) {
    const auto opaque = [](std::uint32_t word) { return word >> 24 == 255; };
    if (!std::ranges::all_of(RowOf(pixels, y), opaque)) return false;
  }
  return true;
}

/// Takes the words of a surface in the format 0xAARRGGBB.
void TakeWords(const SDL_Surface& surface, qmBitmap& pixels) {
  for (int y = 0; y < pixels.height; ++y) {
    const auto* row = reinterpret_cast<const std::uint32_t*>(
        static_cast<const std::uint8_t*>(surface.pixels) + y * surface.pitch);
    std::copy_n(row, pixels.width, pixels.Row(y));
  }
}

Result<PictureObject> ObjectOfSurface(SurfacePtr surface, const SdlFormat& format,
                                      FileBytes bytes) {
  PictureObject object;
  object.width = surface->w;
  object.height = surface->h;
  std::uint32_t key = 0;
  const bool hasKey = SDL_GetColorKey(surface.get(), &key) == 0;
  if (surface->format->palette != nullptr && surface->format->BitsPerPixel == 8) {
    object.pens =
        TRY(MakeArray<std::uint8_t>(static_cast<int>(PenStride(object.width)), object.height));
    TakePens(*surface, object);
    if (format.depth != nullptr) object.depth = format.depth(bytes);
    if (hasKey) object.transparentPen = static_cast<std::uint8_t>(key);
    return object;
  }
  // A surface with a key gets its alpha from it in the conversion.
  object.depth = hasKey || surface->format->Amask != 0 ? 32 : 24;
  surface.reset(SDL_ConvertSurfaceFormat(surface.get(), SDL_PIXELFORMAT_ARGB8888, 0));
  if (!surface) return Fail(Error::OutOfMemory);
  object.pixels = TRY(AllocBitmap(object.width, object.height));
  TakeWords(*surface, *object.pixels);
  if (object.depth == 32 && format.inventsAlpha && IsOpaque(*object.pixels)) object.depth = 24;
  if (object.depth == 24) {
    for (int y = 0; y < object.height; ++y) {
      for (std::uint32_t& word : RowOf(*object.pixels, y)) word &= 0xFFFFFF;
    }
  }
  return object;
}

}  // namespace

bool IsSdlPicture(FileBytes bytes) {
  return FindFormat(bytes) != nullptr;
}

Result<PictureObject> DecodeSdlPicture(FileBytes bytes, DecodeScope) {
  const SdlFormat* format = FindFormat(bytes);
  if (format == nullptr) return Fail(Error::UnknownImageFormat);
  std::optional<std::string> text;
  if (format->recognise == IsXpm) {
    text = NormaliseXpm(bytes);
    if (!text) return Fail(Error::UnknownImageFormat);
    bytes = {reinterpret_cast<const std::uint8_t*>(text->data()), text->size()};
  }
  return ObjectOfSurface(TRY(LoadSurface(bytes, *format)), *format, bytes);
}

}  // namespace quillmere
