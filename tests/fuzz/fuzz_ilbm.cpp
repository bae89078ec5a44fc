// The two readers of ILBM files: the one that takes a file by its name, and the object service's.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "codecs/ilbm.h"
#include "codecs/picture_formats.h"
#include "files/files_state.h"
#include "files/virtual_file.h"
#include "picture_limits.h"

using namespace quillmere;

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

void ReadByName(std::span<const std::uint8_t> data) {
  Host host;
  FilesState files(host);
  const auto bytes = std::make_shared<const std::vector<std::uint8_t>>(data.begin(), data.end());
  const std::string name = DefineDecoderMemory(host, bytes);
  const auto size = QueryIlbm(host, name);
  const auto image = ReadIlbm(host, name);
  if (!image) return ExpectReaderError(image.error());
  Require(size && size->width == image->width && size->height == image->height);
  Require(image->pixels.size() == static_cast<std::size_t>(image->width) * image->height);
}

void ReadAsObject(std::span<const std::uint8_t> data) {
  const auto object = DecodeIlbm(data, DecodeScope::Whole);
  if (!object) return ExpectReaderError(object.error());
  const auto header = DecodeIlbm(data, DecodeScope::HeaderOnly);
  Require(header && header->width == object->width && header->depth == object->depth);
  if (object->depth > 8) return Require(object->pixels->height == object->height);
  Require(object->pens.size() == PenStride(object->width) * object->height);
  const auto pixels = AllocBitmap(object->width, object->height);
  if (pixels) PlanarToPixels(object->pens, object->palette, object->hamBits, **pixels);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  LargestAllocation::Begin();
  ReadByName({data, size});
  ReadAsObject({data, size});
  LargestAllocation::Check(size);
  return 0;
}
