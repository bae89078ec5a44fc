// Keys of the keyboard as the language names them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace quillmere {

/// A set of keys of the keyboard that change other keys, as `IsKeyDown` names them, top bit
/// included.
using Qualifiers = std::uint32_t;
inline constexpr Qualifiers qualifierLeftShift = 0x80010000;
inline constexpr Qualifiers qualifierRightShift = 0x80020000;
inline constexpr Qualifiers qualifierLeftAlt = 0x80040000;
inline constexpr Qualifiers qualifierRightAlt = 0x80080000;
inline constexpr Qualifiers qualifierLeftCommand = 0x80100000;
inline constexpr Qualifiers qualifierRightCommand = 0x80200000;
inline constexpr Qualifiers qualifierLeftControl = 0x80400000;
inline constexpr Qualifiers qualifierRightControl = 0x80800000;

/// Codes of the keys that print nothing. A printable key has its Latin-1 character as its code.
enum class Key : int {
  Up = 0x100,
  Down,
  Right,
  Left,
  Help,
  F1,
  F2,
  F3,
  F4,
  F5,
  F6,
  F7,
  F8,
  F9,
  F10,
  Backspace,
  Tab,
  Enter,
  Return,
  Esc,
  Space,
  Del,
  F11,
  F12,
  Insert,
  Home,
  End,
  PageUp,
  PageDown,
  Print,
  Pause,
  F13,
  F14,
  F15,
  F16
};

/// The code that the keys of Ctrl-C give.
inline constexpr int keyControlC = 3;

/// One name of a key and its value: a code of `Key`, or the bit of a qualifier.
struct KeyName {
  const char* name;
  std::uint32_t value;
};

/// All names: `TAB`, `RETURN`, `ENTER`, `SPACE`, then `ESC` to `PAUSE`, then `LSHIFT` to
/// `RCONTROL`, in the order of the language's table.
[[nodiscard]] std::span<const KeyName> KeyNames();

/// Looks a key or qualifier up without case among all names.
[[nodiscard]] std::optional<std::uint32_t> FindKeyName(std::string_view name);

}  // namespace quillmere
