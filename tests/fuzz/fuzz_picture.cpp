// The sniffer and every reader behind it. The last byte chooses what is asked about transparency.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "codecs/picture_object.h"
#include "codecs/picture_reader.h"
#include "codecs/picture_sniffer.h"
#include "picture_limits.h"

using namespace quillmere;

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

void Sniff(std::span<const std::uint8_t> data) {
  const auto bytes = std::make_shared<const std::vector<std::uint8_t>>(data.begin(), data.end());
  const auto size = SniffPicture(*qmFile::OverMemory(bytes));
  Require(!size || (size->width >= 0 && size->height >= 0));
}

PictureOptions OptionsOf(std::uint8_t choice) {
  PictureOptions options;
  options.alphaMode = (choice & 1) != 0 ? AlphaMode::RgbaWords : AlphaMode::Optional;
  options.globalAlpha = (choice & 2) != 0;
  if ((choice & 4) != 0) options.penColor = 0x123456;
  if ((choice & 8) != 0) options.penTable.assign(300, 0xFFFFFF);
  return options;
}

void Read(std::span<const std::uint8_t> data) {
  Host host;
  const auto picture =
      ReadPictureBytes(host, data, "picture", OptionsOf(data.empty() ? 0 : data.back()));
  if (!picture) return ExpectReaderError(picture.error());
  Require(picture->width > 0 && picture->height > 0);
  Require(picture->pixels->width == picture->width && picture->pixels->height == picture->height);
  const auto header = ExaminePictureObject(data);
  Require(header && header->width == picture->width && header->height == picture->height);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  LargestAllocation::Begin();
  Sniff({data, size});
  Read({data, size});
  LargestAllocation::Check(size);
  return 0;
}
