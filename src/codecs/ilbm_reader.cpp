// The ILBM reader. Chunks are not walked but searched for, so files with chunks in any order and
// with wrong sizes are read.
#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string>

#include "base/byte_order.h"
#include "codecs/ilbm.h"
#include "codecs/picture_formats.h"
#include "codecs/storage.h"
#include "files/virtual_file.h"

namespace quillmere {
namespace {

/// Bits of the view mode in the CAMG chunk.
constexpr std::uint32_t modeHalfBrite = 0x80;
constexpr std::uint32_t modeHam = 0x800;

constexpr int maskingPlane = 1;
constexpr int maskingPen = 2;

/// A run of 129 bytes is written as 2, which is the most that one byte of a file can stand for.
constexpr std::size_t mostBytesOfOne = 65;

/// Reads bytes one behind the other; what is missing is seen by the caller.
class ByteCursor {
 public:
  explicit ByteCursor(FileBytes bytes) : bytes_(bytes) {}

  [[nodiscard]] std::size_t Left() const { return bytes_.size() - at_; }

  /// The next bytes; nothing when fewer are left.
  std::optional<FileBytes> Take(std::size_t count) {
    if (count > Left()) return std::nullopt;
    at_ += count;
    return bytes_.subspan(at_ - count, count);
  }

  /// Finds a chunk and stands behind its tag. One pass ends at the picture's data; a second one
  /// goes on from there, or from the head of the file when the first ran to the end.
  bool FindChunk(std::string_view tag) {
    if (Pass(tag)) return true;
    constexpr std::size_t behindFormHeader = 12;
    if (Left() == 0) at_ = std::min(behindFormHeader, bytes_.size());
    return Pass(tag);
  }

 private:
  bool Pass(std::string_view tag) {
    while (Left() >= 4) {
      const auto* here = bytes_.data() + at_++;
      const bool found = std::memcmp(here, tag.data(), 4) == 0;
      if (!found && std::memcmp(here, "BODY", 4) != 0) continue;
      at_ += 3;
      return found;
    }
    at_ = bytes_.size();
    return false;
  }

  FileBytes bytes_;
  std::size_t at_ = 0;
};

struct IlbmHeader {
  int width = 0;
  int height = 0;
  int planes = 0;
  int masking = 0;
  int compression = 0;
  std::uint8_t transparentPen = 0;
  std::uint32_t viewMode = 0;

  [[nodiscard]] std::size_t RowBytes() const {
    return ((static_cast<std::size_t>(width) + 15) >> 3) & ~std::size_t{1};
  }
  [[nodiscard]] bool IsHam() const { return (viewMode & modeHam) != 0 && planes <= 8; }
};

/// Reads width and height and leaves the cursor behind them.
bool ReadSize(ByteCursor& file, IlbmHeader& header) {
  if (!file.FindChunk("BMHD")) return false;
  const auto bytes = file.Take(8);
  if (!bytes) return false;
  header.width = LoadBig<std::uint16_t>(&(*bytes)[4]);
  header.height = LoadBig<std::uint16_t>(&(*bytes)[6]);
  return true;
}

bool ReadHeader(ByteCursor& file, IlbmHeader& header) {
  if (!ReadSize(file, header)) return false;
  const auto bytes = file.Take(7);
  if (!bytes) return false;
  header.planes = (*bytes)[4];
  header.masking = (*bytes)[5];
  header.compression = (*bytes)[6];
  if (const auto pen = file.Take(3)) header.transparentPen = (*pen)[2];
  if (header.planes < 24 && file.FindChunk("CAMG")) {
    if (const auto mode = file.Take(8)) header.viewMode = LoadBig<std::uint32_t>(&(*mode)[4]);
  }
  return true;
}

/// The colours of the CMAP chunk; nothing when there is none.
std::optional<Palette> ReadColors(ByteCursor& file, bool halfBrite) {
  if (!file.FindChunk("CMAP")) return std::nullopt;
  const auto size = file.Take(4);
  if (!size) return std::nullopt;
  Palette palette{};
  const std::size_t promised = LoadBig<std::uint32_t>(size->data()) / 3;
  const std::size_t count = std::min({promised, palette.size(), file.Left() / 3});
  const FileBytes bytes = *file.Take(count * 3);
  for (std::size_t i = 0; i < count; ++i) {
    palette[i] = static_cast<std::uint32_t>(bytes[3 * i]) << 16 |
                 static_cast<std::uint32_t>(bytes[3 * i + 1]) << 8 | bytes[3 * i + 2];
  }
  if (halfBrite) {
    for (std::size_t i = 0; i < count && count + i < palette.size(); ++i) {
      palette[count + i] = palette[i] >> 1 & 0x7F7F7F;
    }
  }
  return palette;
}

/// Delivers one row of one plane; false when the data ends within it. What a run brings too much
/// is dropped.
bool ReadPlaneRow(ByteCursor& file, bool packed, std::span<std::uint8_t> row) {
  if (!packed) {
    const auto bytes = file.Take(row.size());
    if (!bytes) return false;
    std::ranges::copy(*bytes, row.begin());
    return true;
  }
  while (!row.empty()) {
    const auto control = file.Take(1);
    if (!control) return false;
    const int n = static_cast<std::int8_t>((*control)[0]);
    const std::size_t count = n >= 0 ? n + 1 : 1 - n;
    const auto bytes = file.Take(n >= 0 ? count : 1);
    if (!bytes) return false;
    const std::size_t used = std::min(count, row.size());
    if (n >= 0) {
      std::copy_n(bytes->begin(), used, row.begin());
    } else {
      std::fill_n(row.begin(), used, (*bytes)[0]);
    }
    row = row.subspan(used);
  }
  return true;
}

/// Spreads the bits of a byte over eight bytes, the top bit into the first.
constexpr auto spreadBits = [] {
  std::array<std::uint64_t, 256> table{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    for (unsigned pixel = 0; pixel < 8; ++pixel) {
      table[byte] |= static_cast<std::uint64_t>(byte >> (7 - pixel) & 1) << (8 * pixel);
    }
  }
  return table;
}();

/// Merges up to eight rows of planes into a byte a pixel: the first plane gives bit 0.
void MergePlanes(const std::uint8_t* planes, std::size_t rowBytes, int count, std::uint8_t* out) {
  for (std::size_t column = 0; column < rowBytes; ++column, out += 8) {
    std::uint64_t merged = 0;
    for (int plane = 0; plane < count; ++plane) {
      merged |= spreadBits[planes[plane * rowBytes + column]] << plane;
    }
    std::memcpy(out, &merged, sizeof merged);
  }
}

/// Takes the rows of a file one after the other.
class RowReader {
 public:
  static Result<RowReader> Make(ByteCursor& file, const IlbmHeader& header) {
    const std::size_t rows = header.planes + (header.masking == maskingPlane ? 1 : 0);
    return RowReader(file, header, TRY(MakeArray<std::uint8_t>(header.RowBytes() * rows)));
  }

  /// The planes of the next row, one behind the other; null when the data ends.
  const std::uint8_t* Next() {
    const std::size_t rowBytes = header_.RowBytes();
    for (std::size_t at = 0; at < planes_.size(); at += rowBytes) {
      const std::span row(planes_.data() + at, rowBytes);
      if (!ReadPlaneRow(file_, header_.compression != 0, row)) return nullptr;
    }
    return planes_.data();
  }

 private:
  RowReader(ByteCursor& file, const IlbmHeader& header, std::vector<std::uint8_t> planes)
      : file_(file), header_(header), planes_(std::move(planes)) {}

  ByteCursor& file_;
  const IlbmHeader& header_;
  std::vector<std::uint8_t> planes_;
};

/// Reads a picture with a palette as pens.
Status ReadPens(ByteCursor& file, const IlbmHeader& header, PictureObject& object) {
  const std::size_t stride = PenStride(header.width);
  object.pens = TRY(MakeArray<std::uint8_t>(static_cast<int>(stride), header.height));
  RowReader rows = TRY(RowReader::Make(file, header));
  for (int y = 0; y < header.height; ++y) {
    const std::uint8_t* planes = rows.Next();
    if (planes == nullptr) return Fail(Error::UnknownImageFormat);
    MergePlanes(planes, header.RowBytes(), header.planes, object.pens.data() + y * stride);
  }
  return {};
}

/// Reads a picture of eight planes for each of red, green and blue, and alpha when there are 32.
Status ReadDeepPixels(ByteCursor& file, const IlbmHeader& header, PictureObject& object) {
  object.pixels = TRY(AllocBitmap(header.width, header.height));
  RowReader rows = TRY(RowReader::Make(file, header));
  const std::size_t rowBytes = header.RowBytes();
  const int channels = header.planes / 8;
  constexpr int shifts[] = {16, 8, 0, 24};
  auto levels = TRY(MakeArray<std::uint8_t>(rowBytes * 8));
  for (int y = 0; y < header.height; ++y) {
    const std::uint8_t* planes = rows.Next();
    if (planes == nullptr) return Fail(Error::UnknownImageFormat);
    std::uint32_t* out = object.pixels->Row(y);
    std::fill_n(out, header.width, 0u);
    for (int channel = 0; channel < channels; ++channel) {
      MergePlanes(planes + channel * 8 * rowBytes, rowBytes, 8, levels.data());
      for (int x = 0; x < header.width; ++x) {
        out[x] |= static_cast<std::uint32_t>(levels[x]) << shifts[channel];
      }
    }
  }
  return {};
}

/// Whether the data behind here can hold the picture.
bool BodyFits(const ByteCursor& file, const IlbmHeader& header) {
  const std::size_t raw = header.RowBytes() * header.height * header.planes;
  return raw / (header.compression == 0 ? 1 : mostBytesOfOne) <= file.Left();
}

/// Finds the picture's data and checks it against the header.
bool EnterBody(ByteCursor& file, const IlbmHeader& header) {
  if (header.width == 0 || header.height == 0 || header.planes == 0) return false;
  return file.FindChunk("BODY") && file.Take(4) && BodyFits(file, header);
}

/// Hold-and-modify as `ReadIlbm` does it: the low bits of a set component become 0.
void HoldAndModifyRow(const std::uint8_t* pens, const Palette& palette, int hamBits, int width,
                      std::uint32_t* out) {
  const int valueBits = hamBits - 2;
  const std::uint32_t valueMask = (1u << valueBits) - 1;
  std::uint32_t color = 0;
  for (int x = 0; x < width; ++x) {
    const std::uint32_t level = (pens[x] & valueMask) << (8 - valueBits);
    switch (pens[x] >> valueBits) {
      case 0:
        color = palette[pens[x]];
        break;
      case 1:
        color = (color & 0xFFFF00) | level;
        break;
      case 2:
        color = (color & 0x00FFFF) | level << 16;
        break;
      case 3:
        color = (color & 0xFF00FF) | level << 8;
        break;
    }
    out[x] = color;
  }
}

void PensToPixels(const PictureObject& object, qmBitmap& pixels) {
  if (object.hamBits == 0) {
    PlanarToPixels(object.pens, object.palette, 0, pixels);
    return;
  }
  for (int y = 0; y < object.height; ++y) {
    HoldAndModifyRow(object.pens.data() + y * PenStride(object.width), object.palette,
                     object.hamBits, object.width, pixels.Row(y));
  }
}

Result<PixelImage> ReadIlbmBytes(FileBytes bytes) {
  ByteCursor file(bytes);
  IlbmHeader header;
  if (!ReadHeader(file, header) || !EnterBody(file, header)) return Fail(Error::UnknownImageFormat);
  PictureObject object;
  object.width = header.width;
  object.height = header.height;
  if (header.planes <= 8) {
    TRY(ReadPens(file, header, object));
    const auto palette = ReadColors(file, (header.viewMode & modeHalfBrite) != 0);
    if (!palette) return Fail(Error::UnknownImageFormat);
    object.palette = *palette;
    if (header.IsHam()) object.hamBits = header.planes > 6 ? 8 : 6;
    object.pixels = TRY(AllocBitmap(header.width, header.height));
    PensToPixels(object, *object.pixels);
  } else if (header.planes == 24) {
    TRY(ReadDeepPixels(file, header, object));
  } else {
    return PixelImage{header.width, header.height,
                      TRY(MakeArray<std::uint32_t>(header.width, header.height))};
  }
  return PixelImage{header.width, header.height, TRY(PackWords(*object.pixels))};
}

}  // namespace

bool IsIlbm(FileBytes bytes) {
  return bytes.size() >= 12 && std::memcmp(bytes.data(), "FORM", 4) == 0 &&
         std::memcmp(bytes.data() + 8, "ILBM", 4) == 0;
}

Result<PictureObject> DecodeIlbm(FileBytes bytes, DecodeScope scope) {
  ByteCursor file(bytes);
  IlbmHeader header;
  if (!ReadHeader(file, header)) return Fail(Error::UnknownImageFormat);
  PictureObject object;
  object.width = header.width;
  object.height = header.height;
  object.depth = header.planes;
  const bool deep = header.planes == 24 || header.planes == 32;
  if (header.planes > 8 && !deep) return Fail(Error::UnknownImageFormat);
  if (scope == DecodeScope::HeaderOnly) return object;
  if (!EnterBody(file, header)) return Fail(Error::UnknownImageFormat);
  if (deep) {
    TRY(ReadDeepPixels(file, header, object));
    return object;
  }
  TRY(ReadPens(file, header, object));
  if (header.IsHam()) object.hamBits = header.planes == 8 ? 8 : 6;
  object.palette =
      ReadColors(file, (header.viewMode & modeHalfBrite) != 0).value_or(GrayPalette(header.planes));
  if (header.masking == maskingPen) object.transparentPen = header.transparentPen;
  return object;
}

Result<PixelImage> ReadIlbm(Host& host, std::string_view name) {
  const auto bytes = TRY(ReadWholeFile(host, name));
  auto image = ReadIlbmBytes(bytes);
  if (!image) return host.errors.Fail(image.error(), std::string(name));
  return image;
}

Result<PictureSize> QueryIlbm(Host& host, std::string_view name) {
  const auto bytes = TRY(ReadWholeFile(host, name));
  ByteCursor file(bytes);
  IlbmHeader header;
  if (!ReadSize(file, header)) {
    return host.errors.Fail(Error::UnknownImageFormat, std::string(name));
  }
  return PictureSize{header.width, header.height, false};
}

}  // namespace quillmere
