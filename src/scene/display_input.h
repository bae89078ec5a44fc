// The input state of one display: what the event side keeps and reads per display. The scene only
// clears it when a window goes away.
#pragma once

#include <array>
#include <cstdint>

#include "platform/platform.h"
#include "vm/vm.h"

namespace quillmere {

/// A script function with the value that is handed to it, both references into the registry.
struct EventHandler {
  int func = vmNoRef;
  int userdata = vmNoRef;
};

inline constexpr int eventHandlerCount = 21;
inline constexpr int keyStateCount = 300;

struct DisplayInput {
  std::array<EventHandler, eventHandlerCount> eventHandlers;
  /// Indexed by key code; true while that key is held.
  std::array<bool, keyStateCount> keyState{};
  bool leftMouseDown = false;
  bool rightMouseDown = false;
  bool midMouseDown = false;
  /// Set by each movement of the mouse until it is handled.
  bool mouseMoved = false;
  SysTime mouseMoveStamp{};
  /// A press of the close gadget must not end the program.
  bool closeHandled = false;
  bool windowActive = false;
  /// The key that went down together with a command key and belongs to the player; -1 is none.
  int commandKey = -1;
  /// A request stands before the user: the display is neither hidden nor switched by the user.
  bool requesterActive = false;

  bool closePressed = false;
  bool moved = false;
  bool resized = false;
  bool wantHide = false;
  bool wantShow = false;
  int lastKey = -1;
  int pendingModeSwitch = -1;

  /// Forgets keys and buttons that are held, as when the window closes.
  void ReleaseAll() {
    keyState.fill(false);
    leftMouseDown = rightMouseDown = midMouseDown = false;
    mouseMoved = false;
    windowActive = false;
    commandKey = -1;
  }
};

}  // namespace quillmere
