// Windows bitmaps of 24 bits.
#include <array>

#include "base/byte_order.h"
#include "codecs/picture_file.h"
#include "codecs/picture_writer.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

constexpr std::size_t headerSize = 54;

std::array<std::uint8_t, headerSize> MakeHeader(const PixelView& pixels, std::uint32_t rowBytes) {
  std::array<std::uint8_t, headerSize> header{};
  header[0] = 'B';
  header[1] = 'M';
  StoreLittle(&header[2],
              rowBytes * static_cast<std::uint32_t>(pixels.height) + std::uint32_t{headerSize});
  StoreLittle(&header[10], std::uint32_t{headerSize});
  StoreLittle(&header[14], std::uint32_t{40});
  StoreLittle(&header[18], static_cast<std::uint32_t>(pixels.width));
  StoreLittle(&header[22], static_cast<std::uint32_t>(pixels.height));
  StoreLittle(&header[26], std::uint16_t{1});
  StoreLittle(&header[28], std::uint16_t{24});
  return header;
}

}  // namespace

Status WriteBmp(Host& host, std::string_view name, const PixelView& pixels) {
  const auto file = TRY(CreatePictureFile(host, name));
  const auto rowBytes = static_cast<std::uint32_t>(3 * pixels.width + (pixels.width & 3));
  TRY(WriteAll(*file, MakeHeader(pixels, rowBytes)));
  auto row = TRY(MakeArray<std::uint8_t>(rowBytes));
  for (int y = pixels.height - 1; y >= 0; --y) {
    const std::uint32_t* words = pixels.pixels + static_cast<std::ptrdiff_t>(y) * pixels.stride;
    std::uint8_t* out = row.data();
    for (int x = 0; x < pixels.width; ++x) {
      *out++ = static_cast<std::uint8_t>(words[x]);
      *out++ = static_cast<std::uint8_t>(words[x] >> 8);
      *out++ = static_cast<std::uint8_t>(words[x] >> 16);
    }
    TRY(WriteAll(*file, row));
  }
  if (!file->Flush()) return Fail(Error::CannotWriteAll);
  return {};
}

}  // namespace quillmere
