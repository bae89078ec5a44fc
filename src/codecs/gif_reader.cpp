// Still pictures out of GIF files.
#include <algorithm>
#include <array>
#include <cstring>

#include "base/byte_order.h"
#include "codecs/gif_lzw.h"
#include "codecs/picture_formats.h"
#include "codecs/size_limits.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

/// Where a frame lies on the screen.
struct FrameBox {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  bool interlaced = false;
};

/// Cuts a piece off the front; nothing when there is less.
std::optional<FileBytes> Take(FileBytes& bytes, std::size_t count) {
  if (bytes.size() < count) return std::nullopt;
  const FileBytes piece = bytes.first(count);
  bytes = bytes.subspan(count);
  return piece;
}

/// Reads the colours that a flags byte announces.
bool TakeColors(FileBytes& bytes, unsigned flags, PictureObject& object) {
  if ((flags & 0x80) == 0) return true;
  const std::size_t count = std::size_t{2} << (flags & 7);
  const auto colors = Take(bytes, count * 3);
  if (!colors) return false;
  object.depth = static_cast<int>(flags & 7) + 1;
  object.palette.fill(0);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint8_t* rgb = colors->data() + 3 * i;
    object.palette[i] =
        static_cast<std::uint32_t>(rgb[0]) << 16 | static_cast<std::uint32_t>(rgb[1]) << 8 | rgb[2];
  }
  return true;
}

/// Steps over an extension; a graphic control extension tells the transparent pen.
bool TakeExtension(FileBytes& bytes, PictureObject& object) {
  constexpr std::uint8_t graphicControl = 0xF9;
  const auto label = Take(bytes, 1);
  if (!label) return false;
  for (;;) {
    const auto size = Take(bytes, 1);
    if (!size) return false;
    if ((*size)[0] == 0) return true;
    const auto block = Take(bytes, (*size)[0]);
    if (!block) return false;
    if ((*label)[0] != graphicControl || block->size() < 4) continue;
    object.transparentPen.reset();
    if (((*block)[0] & 1) != 0) object.transparentPen = (*block)[3];
  }
}

/// Walks to the first frame and stands at its data.
bool FindFrame(FileBytes& bytes, PictureObject& object, FrameBox& box) {
  for (;;) {
    const auto type = Take(bytes, 1);
    if (!type || (*type)[0] == 0x3B) return false;
    if ((*type)[0] == 0x21 && !TakeExtension(bytes, object)) return false;
    if ((*type)[0] != 0x2C) continue;
    const auto head = Take(bytes, 9);
    if (!head) return false;
    box.left = LoadLittle<std::uint16_t>(&(*head)[0]);
    box.top = LoadLittle<std::uint16_t>(&(*head)[2]);
    box.width = LoadLittle<std::uint16_t>(&(*head)[4]);
    box.height = LoadLittle<std::uint16_t>(&(*head)[6]);
    box.interlaced = ((*head)[8] & 0x40) != 0;
    return TakeColors(bytes, (*head)[8], object);
  }
}

/// The rows of a frame in the order in which they are stored.
std::vector<int> StoredRows(const FrameBox& box) {
  struct Pass {
    int first;
    int step;
  };
  constexpr std::array<Pass, 4> interlace{{{0, 8}, {4, 8}, {2, 4}, {1, 2}}};
  constexpr std::array<Pass, 1> plain{{{0, 1}}};
  std::vector<int> rows;
  const std::span<const Pass> passes =
      box.interlaced ? std::span<const Pass>(interlace) : std::span<const Pass>(plain);
  for (const Pass& pass : passes) {
    for (int y = pass.first; y < box.height; y += pass.step) rows.push_back(y);
  }
  return rows;
}

/// Puts a frame's indexes on the screen; what lies beyond it is left out.
void PlaceFrame(std::span<const std::uint8_t> indexes, const FrameBox& box, PictureObject& object) {
  const int visible = std::min(box.width, object.width - box.left);
  if (visible <= 0) return;
  const std::uint8_t* row = indexes.data();
  for (const int y : StoredRows(box)) {
    if (box.top + y < object.height) {
      std::memcpy(object.pens.data() + (box.top + y) * PenStride(object.width) + box.left, row,
                  static_cast<std::size_t>(visible));
    }
    row += box.width;
  }
}

/// Whether the data behind the frame's head can fill it, and whether the screen is a believable
/// one.
bool Fits(FileBytes rest, const PictureObject& object, const FrameBox& box) {
  const std::size_t most = rest.size() * gifPixelsPerByte;
  return static_cast<std::size_t>(box.width) * box.height <= most &&
         IsBelievable(object.width, object.height, gifPixelsPerByte, rest.size());
}

}  // namespace

bool IsGif(FileBytes bytes) {
  return bytes.size() >= 6 && (std::memcmp(bytes.data(), "GIF87a", 6) == 0 ||
                               std::memcmp(bytes.data(), "GIF89a", 6) == 0);
}

Result<PictureObject> DecodeGif(FileBytes bytes, DecodeScope scope) {
  const auto head = Take(bytes, 13);
  if (!head) return Fail(Error::UnknownImageFormat);
  PictureObject object;
  object.width = LoadLittle<std::uint16_t>(&(*head)[6]);
  object.height = LoadLittle<std::uint16_t>(&(*head)[8]);
  object.depth = 8;
  const std::uint8_t background = (*head)[11];
  FrameBox box;
  if (!TakeColors(bytes, (*head)[10], object)) return Fail(Error::UnknownImageFormat);
  if (scope == DecodeScope::HeaderOnly) return object;
  if (!FindFrame(bytes, object, box)) return Fail(Error::UnknownImageFormat);
  if (!Fits(bytes, object, box)) return Fail(Error::UnknownImageFormat);

  auto indexes = TRY(MakeArray<std::uint8_t>(box.width, box.height));
  TRY(DecodeGifData(bytes, indexes));
  object.pens =
      TRY(MakeArray<std::uint8_t>(static_cast<int>(PenStride(object.width)), object.height));
  std::ranges::fill(object.pens, object.transparentPen.value_or(background));
  PlaceFrame(indexes, box, object);
  return object;
}

}  // namespace quillmere
