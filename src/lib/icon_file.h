// Icon files: what the desktop keeps beside a file, in a second one whose name ends in ".info". The
// format is the published `DiskObject` of the reference platform, all numbers big-endian:
//
//   78 bytes         the record: magic 0xE310, version, gadget, type, and pointers, of which a file
//                    tells only whether they are null
//   56 bytes         the drawer's window, when there is one
//   20 bytes + data  each of up to two pictures: a header, then its bit planes
//   text             the default tool
//   list             the tool types: u32 of four times one more than their count, then the texts
//   text             the tool window
//   anything         what later versions add: more of the drawer, further pictures
//
// A text is a u32 length, which counts a closing zero, and the bytes. What this room does not
// understand is carried along unchanged.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quillmere {

/// Icon files beyond this are taken for damaged, in bytes.
inline constexpr std::size_t largestIconFile = std::size_t{16} << 20;

/// An icon file in pieces.
struct IconFile {
  static constexpr std::size_t recordSize = 78;

  std::array<std::uint8_t, recordSize> record{};
  /// The drawer's window and the pictures.
  std::vector<std::uint8_t> images;
  std::optional<std::string> defaultTool;
  std::optional<std::vector<std::string>> toolTypes;
  /// The tool window and what stands behind it.
  std::vector<std::uint8_t> rest;

  /// 1 disk, 2 drawer, 3 tool, 4 project; more kinds exist.
  [[nodiscard]] int Type() const;
  void SetType(int type);
};

/// Takes an icon file apart; nothing when it is none or is cut short.
[[nodiscard]] std::optional<IconFile> ParseIcon(std::span<const std::uint8_t> bytes);

/// The bit planes of an icon's picture, one behind the other, rows padded to 16 pixels.
struct IconPlanes {
  std::size_t width = 0;
  std::size_t height = 0;
  std::size_t depth = 0;
  std::span<const std::uint8_t> data;
};

/// The first picture of an icon, a part of `icon`; nothing when there is none, or an empty one.
[[nodiscard]] std::optional<IconPlanes> FirstPicture(const IconFile& icon);

/// Puts an icon file together.
[[nodiscard]] std::vector<std::uint8_t> BuildIcon(const IconFile& icon);

/// One setting that an icon keeps for its program.
struct ToolType {
  std::string key;
  std::string value;
  bool enabled = true;
};

/// Reads a setting from its text: `KEY=VALUE`, in parentheses when it is disabled. Nothing for an
/// empty text.
[[nodiscard]] std::optional<ToolType> ParseToolType(std::string_view text);

/// The text of a setting. Without a value the `=` is left out.
[[nodiscard]] std::string ToolTypeText(const ToolType& toolType);

}  // namespace quillmere
