#include "frame/marker.h"

#include <cstddef>

#include "base/byte_order.h"
#include "files/applet_format.h"

namespace quillmere {
namespace {

struct MarkerBlock {
  char text[player_marker::textSize];
  std::uint8_t offset[4];
  std::uint8_t key[8];
  std::uint8_t end;
};
static_assert(sizeof(MarkerBlock) == player_marker::size);
static_assert(offsetof(MarkerBlock, offset) == player_marker::offsetAt);
static_assert(offsetof(MarkerBlock, key) == player_marker::keyAt);

/// Volatile, since the offset is changed in the finished executable. The marker bytes must stand
/// nowhere else in it.
[[gnu::used]] const volatile MarkerBlock playerMarker = {
    "Quillmere player marker block",
    {0xDE, 0xAD, 0xC0, 0xDE},
    {0xC0, 0xDE, 0xCA, 0xFE, 0xC0, 0xCA, 0xC0, 0x1A},
    0};

}  // namespace

std::optional<std::uint32_t> AppendedAppletOffset() {
  std::uint8_t bytes[sizeof playerMarker.offset];
  for (std::size_t i = 0; i < sizeof bytes; ++i) bytes[i] = playerMarker.offset[i];
  const auto offset = LoadBig<std::uint32_t>(bytes);
  // An applet at the executable's own begin cannot be: 0 stands for none, too.
  if (offset == player_marker::nothingAppended || offset == 0) return std::nullopt;
  return offset;
}

}  // namespace quillmere
