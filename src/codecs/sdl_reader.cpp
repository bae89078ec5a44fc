// Formats that SDL2_image decodes. Its decoders take memory for the whole picture first, so each
// row of the table also tells whether a file can hold the picture that its header promises.
#include <SDL_image.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <string_view>

#include "base/byte_order.h"
#include "codecs/picture_formats.h"
#include "codecs/size_limits.h"
#include "codecs/storage.h"

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
  // A run of 63 bytes, each eight pixels, takes two.
  return IsBelievable(extent(4, 8), extent(6, 10), 252, bytes.size());
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

bool XpmFits(FileBytes bytes) {
  const auto quote = std::ranges::find(bytes, '"');
  TextNumbers numbers(FileBytes(quote, bytes.end()));
  const std::uint64_t width = numbers.Next();
  const std::uint64_t height = numbers.Next();
  const std::uint64_t colors = numbers.Next();
  const std::uint64_t charactersPerPixel = numbers.Next();
  return colors <= bytes.size() && charactersPerPixel >= 1 && charactersPerPixel <= 8 &&
         HoldsRaw(width, height, 8 * charactersPerPixel, bytes.size());
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
  if (mapped && (LoadLittle<std::uint16_t>(&bytes[5]) == 0 || bits != 8)) return false;
  return bits == 8 || bits == 15 || bits == 16 || bits == 24 || bits == 32;
}

bool TgaFits(FileBytes bytes) {
  const std::uint16_t width = LoadLittle<std::uint16_t>(&bytes[12]);
  const std::uint16_t height = LoadLittle<std::uint16_t>(&bytes[14]);
  const bool runs = (bytes[2] & 8) != 0;
  return runs ? IsBelievable(width, height, 128, bytes.size())
              : HoldsRaw(width, height, bytes[16], bytes.size());
}

struct SdlFormat {
  /// The name that SDL2_image has for it.
  const char* type;
  bool (*recognise)(FileBytes bytes);
  /// Whether the picture that the header promises can be in the file.
  bool (*fits)(FileBytes bytes);
  /// The decoder makes an alpha channel up where there is none, so one that is opaque all over does
  /// not count.
  bool inventsAlpha;
};

constexpr SdlFormat sdlFormats[] = {
    {"BMP", IsBmp, BmpFits, true},  {"WEBP", IsWebp, WebpFits, false},
    {"XPM", IsXpm, XpmFits, false}, {"PNM", IsPnm, PnmFits, false},
    {"QOI", IsQoi, QoiFits, false}, {"PCX", IsPcx, PcxFits, false},
    {"TGA", IsTga, TgaFits, true},
};

const SdlFormat* FindFormat(FileBytes bytes) {
  const auto* format = std::ranges::find_if(
      sdlFormats, [&](const SdlFormat& candidate) { return candidate.recognise(bytes); });
  return format == std::end(sdlFormats) ? nullptr : format;
}

Result<SurfacePtr> LoadSurface(FileBytes bytes, const SdlFormat& format) {
  if (bytes.size() > INT32_MAX || !format.fits(bytes)) return Fail(Error::UnknownImageFormat);
  SDL_RWops* source = SDL_RWFromConstMem(bytes.data(), static_cast<int>(bytes.size()));
  if (source == nullptr) return Fail(Error::OutOfMemory);
  SurfacePtr surface(IMG_LoadTyped_RW(source, 1, format.type));
  if (!surface) return Fail(Error::UnknownImageFormat);
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

bool IsOpaque(const PictureObject& object) {
  return std::ranges::all_of(object.pixels, [](std::uint32_t word) { return word >> 24 == 255; });
}

/// Takes the words of a surface in the format 0xAARRGGBB.
void TakeWords(const SDL_Surface& surface, PictureObject& object) {
  for (int y = 0; y < object.height; ++y) {
    const auto* row = reinterpret_cast<const std::uint32_t*>(
        static_cast<const std::uint8_t*>(surface.pixels) + y * surface.pitch);
    std::uint32_t* out = object.pixels.data() + static_cast<std::size_t>(y) * object.width;
    std::copy_n(row, object.width, out);
  }
}

Result<PictureObject> ObjectOfSurface(SurfacePtr surface, const SdlFormat& format) {
  PictureObject object;
  object.width = surface->w;
  object.height = surface->h;
  std::uint32_t key = 0;
  const bool hasKey = SDL_GetColorKey(surface.get(), &key) == 0;
  if (surface->format->palette != nullptr && surface->format->BitsPerPixel == 8) {
    object.pens =
        TRY(MakeArray<std::uint8_t>(static_cast<int>(PenStride(object.width)), object.height));
    TakePens(*surface, object);
    if (hasKey) object.transparentPen = static_cast<std::uint8_t>(key);
    return object;
  }
  // A surface with a key gets its alpha from it in the conversion.
  object.depth = hasKey || surface->format->Amask != 0 ? 32 : 24;
  surface.reset(SDL_ConvertSurfaceFormat(surface.get(), SDL_PIXELFORMAT_ARGB8888, 0));
  if (!surface) return Fail(Error::OutOfMemory);
  object.pixels = TRY(MakeArray<std::uint32_t>(object.width, object.height));
  TakeWords(*surface, object);
  if (object.depth == 32 && format.inventsAlpha && IsOpaque(object)) object.depth = 24;
  if (object.depth == 24) {
    for (std::uint32_t& word : object.pixels) word &= 0xFFFFFF;
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
  return ObjectOfSurface(TRY(LoadSurface(bytes, *format)), *format);
}

}  // namespace quillmere
