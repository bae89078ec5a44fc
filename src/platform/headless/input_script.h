// The script that plays the user of the headless platform: one event a line.
#pragma once

#include <cstdint>
#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "platform/devices.h"
#include "platform/requesters.h"
#include "platform/time.h"
#include "platform/windows.h"

namespace quillmere {

/// The largest number that a line may hold, and the smallest with its sign.
inline constexpr int largestScriptNumber = 1'000'000'000;

enum class UserVerb {
  Key,     ///< key, pressed
  Move,    ///< x, y
  Button,  ///< button, pressed
  Wheel,   ///< up in `pressed`
  Close,
  MoveTo,  ///< x, y
  Resize,  ///< x, y
  Activate,
  Deactivate,
  Iconify,
  Restore,
  Drop,       ///< x, y, texts
  Clipboard,  ///< texts[0]
  Joy,        ///< port in `x`, joystick
  Damage,
  Break,
  Shot,       ///< texts[0]
  Screenshot  ///< texts[0]
};

/// One thing that the user does.
struct UserAction {
  /// Since the program's start.
  SysTime at{};
  /// The number of the window it is done to, counted from 1.
  int window = 1;
  UserVerb verb = UserVerb::Break;
  int x = 0;
  int y = 0;
  bool pressed = false;
  /// A Latin-1 character, a code of `Key`, or a qualifier.
  std::uint32_t key = 0;
  MouseButton button = MouseButton::Left;
  JoystickState joystick{};
  std::vector<std::string> texts{};
};

struct InputScript {
  /// In the order in which they happen.
  std::vector<UserAction> actions;
  /// Answers to requesters, in the order in which they are given.
  std::vector<RequesterAnswer> replies;
};

/// Reads a script. A line that cannot be read gives `FILE:LINE: text`.
[[nodiscard]] std::expected<InputScript, std::string> ParseInputScript(std::string_view text,
                                                                       std::string_view fileName);

}  // namespace quillmere
