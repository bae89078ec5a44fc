// The ILBM writer: always 24 planes, packed row by row.
#include <cstring>

#include "base/byte_order.h"
#include "codecs/byterun1.h"
#include "codecs/ilbm.h"
#include "codecs/picture_file.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

constexpr std::size_t headerSize = 48;
constexpr std::size_t formSizeAt = 4;
constexpr std::size_t bodySizeAt = 44;
constexpr int planeCount = 24;
/// Planes hold sizes of 16 bits.
constexpr int maxSize = 65535;

void PutHeader(const PixelView& pixels, std::uint8_t* out) {
  std::memcpy(out, "FORM\0\0\0\0ILBMBMHD", 16);
  StoreBig(out + 16, std::uint32_t{20});
  StoreBig(out + 20, static_cast<std::uint16_t>(pixels.width));
  StoreBig(out + 22, static_cast<std::uint16_t>(pixels.height));
  out[28] = planeCount;
  out[30] = 1;  // packed
  out[34] = 1;  // pixels as wide as high
  out[35] = 1;
  StoreBig(out + 36, static_cast<std::uint16_t>(pixels.width));
  StoreBig(out + 38, static_cast<std::uint16_t>(pixels.height));
  std::memcpy(out + 40, "BODY", 4);
}

/// Turns eight bytes, the first one lowest, into eight others: byte p holds bit p of each, that of
/// the first byte on top. The exchange of ever smaller blocks is the usual one.
std::uint64_t TransposeBits(std::uint64_t block) {
  std::uint64_t t = (block ^ block >> 7) & 0x00AA00AA00AA00AA;
  block ^= t ^ t << 7;
  t = (block ^ block >> 14) & 0x0000CCCC0000CCCC;
  block ^= t ^ t << 14;
  t = (block ^ block >> 28) & 0x00000000F0F0F0F0;
  return block ^ t ^ t << 28;
}

/// Spreads a row of words over planes of `rowBytes` each: red from its low bit, then green, blue.
void SpreadRow(const std::uint32_t* words, int width, std::size_t rowBytes, std::uint8_t* planes) {
  constexpr int shifts[] = {16, 8, 0};
  for (int x = 0; x < width; x += 8) {
    const int count = std::min(8, width - x);
    for (int channel = 0; channel < 3; ++channel) {
      std::uint64_t block = 0;
      for (int i = 0; i < count; ++i) {
        const std::uint64_t level = words[x + i] >> shifts[channel] & 0xFF;
        block |= level << (8 * (7 - i));
      }
      block = TransposeBits(block);
      for (int bit = 0; bit < 8; ++bit) {
        planes[(channel * 8 + bit) * rowBytes + x / 8] =
            static_cast<std::uint8_t>(block >> (8 * bit));
      }
    }
  }
}

}  // namespace

Result<std::vector<std::uint8_t>> EncodeIlbm(const PixelView& pixels) try {
  if (pixels.width < 1 || pixels.width > maxSize || pixels.height < 1 || pixels.height > maxSize) {
    return Fail(Error::CannotWriteFile);
  }
  const std::size_t rowBytes = (static_cast<std::size_t>(pixels.width) + 15) / 16 * 2;
  std::vector<std::uint8_t> file(headerSize);
  PutHeader(pixels, file.data());
  std::vector<std::uint8_t> planes(rowBytes * planeCount);
  for (int y = 0; y < pixels.height; ++y) {
    SpreadRow(pixels.pixels + static_cast<std::ptrdiff_t>(y) * pixels.stride, pixels.width,
              rowBytes, planes.data());
    for (int plane = 0; plane < planeCount; ++plane) {
      PackByteRun1({planes.data() + plane * rowBytes, rowBytes}, file);
    }
  }
  const auto bodySize = static_cast<std::uint32_t>(file.size() - headerSize);
  const std::uint32_t padding = bodySize & 1;
  if (padding != 0) file.push_back(0);
  StoreBig(&file[bodySizeAt], bodySize);
  StoreBig(&file[formSizeAt], 40 + bodySize + padding);
  return file;
} catch (const std::bad_alloc&) {
  return Fail(Error::OutOfMemory);
}

Status WriteIlbm(Host& host, std::string_view name, const PixelView& pixels) {
  const auto bytes = EncodeIlbm(pixels);
  if (!bytes) return host.errors.Fail(bytes.error(), std::string(name));
  return WritePictureFile(host, name, *bytes);
}

}  // namespace quillmere
