// Icons and pointers of Windows: of the pictures in one file the largest, and of equals the one
// with most colours. A picture is a PNG file, or a bitmap without its file header and with a mask
// behind it, both from the bottom up.
#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "base/byte_order.h"
#include "codecs/picture_formats.h"
#include "codecs/size_limits.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

constexpr std::size_t directoryAt = 6;
constexpr std::size_t entrySize = 16;

/// The parts of a bitmap with mask.
struct IconBitmap {
  FileBytes colors;
  FileBytes pixels;
  FileBytes mask;
  int width = 0;
  int height = 0;
  int bits = 0;

  [[nodiscard]] std::size_t RowBytes(int bitsPerPixel) const {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bitsPerPixel) + 31) / 32 * 4;
  }
};

/// The bytes of the picture that an entry of the directory names; nothing when they are not there.
std::optional<FileBytes> PictureOfEntry(FileBytes bytes, std::size_t entry) {
  const std::size_t at = directoryAt + entry * entrySize;
  const std::uint64_t size = LoadLittle<std::uint32_t>(&bytes[at + 8]);
  const std::uint64_t offset = LoadLittle<std::uint32_t>(&bytes[at + 12]);
  if (size == 0 || offset + size > bytes.size()) return std::nullopt;
  return bytes.subspan(offset, size);
}

/// The number of the entry with the best picture.
std::size_t BestEntry(FileBytes bytes) {
  const std::size_t count = LoadLittle<std::uint16_t>(&bytes[4]);
  const bool isPointer = bytes[2] == 2;
  std::size_t best = 0;
  std::pair<int, int> bestRank{-1, -1};
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint8_t* entry = &bytes[directoryAt + i * entrySize];
    // A size of 256 stands as 0; pointers have their spot in place of the bits.
    const int width = entry[0] == 0 ? 256 : entry[0];
    const int height = entry[1] == 0 ? 256 : entry[1];
    const int bits = isPointer ? 0 : LoadLittle<std::uint16_t>(entry + 6);
    const std::pair rank{width * height, bits};
    if (rank <= bestRank) continue;
    best = i;
    bestRank = rank;
  }
  return best;
}

/// Cuts a bitmap into its parts; nothing when they are not all there.
std::optional<IconBitmap> TakeBitmap(FileBytes bytes) {
  constexpr std::uint32_t headerSize = 40;
  if (bytes.size() < headerSize || LoadLittle<std::uint32_t>(bytes.data()) != headerSize) {
    return std::nullopt;
  }
  const std::uint32_t width = LoadLittle<std::uint32_t>(&bytes[4]);
  const std::uint32_t height = LoadLittle<std::uint32_t>(&bytes[8]) / 2;
  const int bits = LoadLittle<std::uint16_t>(&bytes[14]);
  const std::uint32_t compression = LoadLittle<std::uint32_t>(&bytes[16]);
  constexpr std::array known{1, 4, 8, 24, 32};
  const bool isKnown = std::ranges::find(known, bits) != known.end() && compression == 0;
  if (!isKnown || !HoldsRaw(width, height, static_cast<unsigned>(bits), bytes.size())) {
    return std::nullopt;
  }
  IconBitmap icon;
  icon.width = static_cast<int>(width);
  icon.height = static_cast<int>(height);
  icon.bits = bits;
  const std::uint32_t told = LoadLittle<std::uint32_t>(&bytes[32]);
  const std::size_t colors = bits > 8 ? 0 : told != 0 ? told : std::size_t{1} << bits;
  const std::size_t pixelBytes = icon.RowBytes(bits) * height;
  const std::size_t maskBytes = icon.RowBytes(1) * height;
  bytes = bytes.subspan(headerSize);
  if (colors > 256 || bytes.size() < colors * 4 + pixelBytes) return std::nullopt;
  icon.colors = bytes.first(colors * 4);
  icon.pixels = bytes.subspan(colors * 4, pixelBytes);
  icon.mask = bytes.subspan(colors * 4 + pixelBytes);
  // Some writers leave the mask of a picture with alpha out.
  if (icon.mask.size() < maskBytes && bits != 32) return std::nullopt;
  if (icon.mask.size() < maskBytes) icon.mask = {};
  return icon;
}

/// The pixel of a row, 0xAARRGGBB; the alpha is that of the file, or 0 when it has none.
std::uint32_t WordAt(const IconBitmap& icon, const std::uint8_t* row, int x) {
  if (icon.bits == 32) return LoadLittle<std::uint32_t>(row + 4 * x);
  if (icon.bits == 24) {
    return static_cast<std::uint32_t>(row[3 * x + 2]) << 16 |
           static_cast<std::uint32_t>(row[3 * x + 1]) << 8 | row[3 * x];
  }
  const int bit = x * icon.bits;
  const std::size_t pen = row[bit / 8] >> (8 - icon.bits - bit % 8) & ((1 << icon.bits) - 1);
  if (pen * 4 >= icon.colors.size()) return 0;
  return LoadLittle<std::uint32_t>(&icon.colors[pen * 4]) & 0xFFFFFF;
}

/// Draws the bitmap with what alpha the file has; true when it has any.
bool DrawPixels(const IconBitmap& icon, qmBitmap& target) {
  std::uint32_t seen = 0;
  for (int y = 0; y < icon.height; ++y) {
    const std::uint8_t* row = &icon.pixels[icon.RowBytes(icon.bits) * (icon.height - 1 - y)];
    for (int x = 0; x < icon.width; ++x) {
      const std::uint32_t word = WordAt(icon, row, x);
      target.At(x, y) = word;
      seen |= word;
    }
  }
  return seen >> 24 != 0;
}

/// Makes opaque what the mask does not cover; all of it without a mask.
void DrawMask(const IconBitmap& icon, qmBitmap& target) {
  for (int y = 0; y < icon.height; ++y) {
    const std::size_t start = icon.RowBytes(1) * (icon.height - 1 - y);
    for (int x = 0; x < icon.width; ++x) {
      const bool covered = !icon.mask.empty() && (icon.mask[start + x / 8] >> (7 - x % 8) & 1) != 0;
      if (!covered) target.At(x, y) |= 0xFF000000;
    }
  }
}

}  // namespace

bool IsIcon(FileBytes bytes) {
  if (bytes.size() < directoryAt + entrySize) return false;
  const bool isMarked =
      bytes[0] == 0 && bytes[1] == 0 && (bytes[2] == 1 || bytes[2] == 2) && bytes[3] == 0;
  const std::size_t count = LoadLittle<std::uint16_t>(&bytes[4]);
  return isMarked && count > 0 && bytes.size() >= directoryAt + count * entrySize &&
         PictureOfEntry(bytes, 0);
}

Result<PictureObject> DecodeIcon(FileBytes bytes, DecodeScope scope) {
  const auto picture = PictureOfEntry(bytes, BestEntry(bytes));
  if (!picture) return Fail(Error::UnknownImageFormat);
  if (IsPng(*picture)) return DecodePng(*picture, scope);
  const auto icon = TakeBitmap(*picture);
  if (!icon) return Fail(Error::UnknownImageFormat);
  PictureObject object;
  object.width = icon->width;
  object.height = icon->height;
  object.depth = 32;
  if (scope == DecodeScope::HeaderOnly) return object;
  object.pixels = TRY(AllocBitmap(object.width, object.height));
  if (!DrawPixels(*icon, *object.pixels)) DrawMask(*icon, *object.pixels);
  return object;
}

}  // namespace quillmere
