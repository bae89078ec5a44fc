#include "codecs/picture_sniffer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "base/byte_order.h"

namespace quillmere {
namespace {

/// The part of a file that is looked at, and how many places in it may hold the start of a tag.
constexpr std::size_t headSize = 1024;
constexpr std::size_t tagPlaces = 1016;

using Head = std::span<const std::uint8_t>;

bool HoldsAt(Head head, std::size_t offset, std::string_view text) {
  return head.size() >= offset + text.size() &&
         std::memcmp(head.data() + offset, text.data(), text.size()) == 0;
}

/// What stands behind the first occurrence of a tag, the tag itself included; nothing when it is
/// not found or when fewer than `size` bytes follow from its start.
std::optional<Head> FindTag(Head head, std::string_view tag, std::size_t size) {
  for (std::size_t i = 0; i < tagPlaces && i + tag.size() <= head.size(); ++i) {
    if (!HoldsAt(head, i, tag)) continue;
    if (head.size() - i < size) return std::nullopt;
    return head.subspan(i);
  }
  return std::nullopt;
}

/// A size as a header gives it; none when it is beyond what pictures can have.
std::optional<PictureSize> SizeOf(std::uint32_t width, std::uint32_t height,
                                  bool hasAlpha = false) {
  if (width > INT32_MAX || height > INT32_MAX) return std::nullopt;
  return PictureSize{static_cast<int>(width), static_cast<int>(height), hasAlpha};
}

std::optional<PictureSize> SniffIlbm(Head head) {
  const auto chunk = FindTag(head, "BMHD", 12);
  if (!chunk) return std::nullopt;
  return SizeOf(LoadBig<std::uint16_t>(&(*chunk)[8]), LoadBig<std::uint16_t>(&(*chunk)[10]));
}

std::optional<PictureSize> SniffPng(Head head) {
  constexpr int colorTypeWithAlpha = 6;
  const auto chunk = FindTag(head, "IHDR", 14);
  if (!chunk) return std::nullopt;
  return SizeOf(LoadBig<std::uint32_t>(&(*chunk)[4]), LoadBig<std::uint32_t>(&(*chunk)[8]),
                (*chunk)[13] == colorTypeWithAlpha);
}

std::optional<PictureSize> SniffBmp(Head head) {
  if (head.size() < 26) return std::nullopt;
  const auto height = LoadLittle<std::uint32_t>(&head[22]);
  const bool topDown = (height & 0x80000000u) != 0;
  return SizeOf(LoadLittle<std::uint32_t>(&head[18]), topDown ? 0u - height : height);
}

std::optional<PictureSize> SniffGif(Head head) {
  if (head.size() < 10) return std::nullopt;
  return SizeOf(LoadLittle<std::uint16_t>(&head[6]), LoadLittle<std::uint16_t>(&head[8]));
}

/// The next marker of a JPEG stream: bytes up to 0xFF are passed over, further 0xFF are filling,
/// and 0 behind them is data. -1 at the end.
int NextMarker(qmFile& file) {
  for (;;) {
    int byte = file.ReadByte();
    while (byte != 0xFF) {
      if (byte < 0) return -1;
      byte = file.ReadByte();
    }
    while (byte == 0xFF) byte = file.ReadByte();
    if (byte != 0) return byte;
  }
}

bool IsFrameHeader(int marker) {
  return marker == 0xDE || (marker >= 0xC0 && marker <= 0xCE && marker != 0xC4 && marker != 0xCC);
}

/// Steps over a segment whose length comes next.
bool SkipSegment(qmFile& file) {
  const auto length = file.ReadBig<std::uint16_t>();
  if (!length) return false;
  if (*length > 2) file.SeekFile(*length - 2, SeekMode::Current);
  return true;
}

std::optional<PictureSize> SniffJpeg(qmFile& file) {
  file.SeekFile(4, SeekMode::Start);
  while (SkipSegment(file)) {
    const int marker = NextMarker(file);
    if (marker < 0) return std::nullopt;
    if (!IsFrameHeader(marker)) continue;
    file.SeekFile(3, SeekMode::Current);
    const auto height = file.ReadBig<std::uint16_t>();
    const auto width = file.ReadBig<std::uint16_t>();
    if (!height || !width) return std::nullopt;
    return SizeOf(*width, *height);
  }
  return std::nullopt;
}

/// Numbers of a TIFF file in the byte order that its first bytes name.
struct TiffNumbers {
  qmFile& file;
  bool big;

  template <class T>
  std::optional<T> Read() {
    return big ? file.ReadBig<T>() : file.ReadLittle<T>();
  }
};

std::optional<PictureSize> SniffTiff(qmFile& file, bool big) {
  constexpr std::uint16_t tagWidth = 256;
  constexpr std::uint16_t tagHeight = 257;
  TiffNumbers numbers{file, big};
  file.SeekFile(4, SeekMode::Start);
  const auto directory = numbers.Read<std::uint32_t>();
  if (!directory) return std::nullopt;
  file.SeekFile(*directory, SeekMode::Start);
  const auto count = numbers.Read<std::uint16_t>();
  if (!count) return std::nullopt;
  PictureSize size;
  bool found = false;
  for (int i = 0; i < *count; ++i) {
    const auto tag = numbers.Read<std::uint16_t>();
    file.SeekFile(6, SeekMode::Current);
    const auto value = numbers.Read<std::uint16_t>();
    file.SeekFile(2, SeekMode::Current);
    if (!tag || !value) break;
    if (*tag != tagWidth && *tag != tagHeight) continue;
    (*tag == tagWidth ? size.width : size.height) = *value;
    found = true;
  }
  if (!found) return std::nullopt;
  return size;
}

}  // namespace

std::optional<PictureSize> SniffPicture(qmFile& file) {
  std::array<std::uint8_t, headSize> buffer;
  const Head head(buffer.data(), file.ReadBytes(buffer));
  if (HoldsAt(head, 0, "FORM") && HoldsAt(head, 8, "ILBM")) return SniffIlbm(head);
  if (HoldsAt(head, 0, "\xFF\xD8") && (HoldsAt(head, 6, "JFIF") || HoldsAt(head, 6, "Exif"))) {
    return SniffJpeg(file);
  }
  if (HoldsAt(head, 0, "\x89PNG")) return SniffPng(head);
  if (HoldsAt(head, 0, "BM")) return SniffBmp(head);
  if (HoldsAt(head, 0, {"MM\0\x2A", 4})) return SniffTiff(file, true);
  if (HoldsAt(head, 0, {"II\x2A\0", 4})) return SniffTiff(file, false);
  if (HoldsAt(head, 0, "GIF87a") || HoldsAt(head, 0, "GIF89a")) return SniffGif(head);
  return std::nullopt;
}

}  // namespace quillmere
