// Input devices beside keyboard and mouse.
#pragma once

#include <cstdint>

#include "base/error.h"

namespace quillmere {

struct JoystickState {
  int direction = 8;  ///< 0 to 7 clockwise from up, 8 for none
  std::uint32_t buttons = 0;
};

class PlatformInput {
 public:
  virtual ~PlatformInput() = default;
  /// Ports 0 to 3; an empty one or another number is `Error::JoystickNotFound`.
  virtual Result<JoystickState> ReadJoystick(int port) = 0;
  [[nodiscard]] virtual int CountJoysticks() = 0;
};

}  // namespace quillmere
