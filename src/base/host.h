// The state of one program. There are no mutable globals: each room keeps its words in a state
// record, one Program owns all records, and every room reaches the others below it through a Host.
#pragma once

#include <array>
#include <cassert>
#include <cstddef>

#include "base/debug_output.h"
#include "base/error.h"
#include "base/messages.h"
#include "base/random.h"

namespace quillmere {

/// The rooms of the program that keep a state record.
enum class Room : std::size_t {
  platform,
  vm,
  files,
  pixels,
  codecs,
  scene,
  text,
  input,
  sound,
  fx,
  lib,
  arexx,
  frame,
  count
};

/// The switches that every room reads and only few set.
struct RunFlags {
  /// No progress lines.
  bool quiet = false;
  /// The objects that the applet declares are being made; pictures may stay pending.
  bool inPreload = false;
  /// `ExitOnError`: a failing command ends the script.
  bool exitOnError = true;
  /// Error messages carry a script position.
  bool scriptPosition = false;
  /// `DebugOutput`: each call of a command is told to the debug output.
  bool traceCalls = false;
  /// A progress line waits for its "done".
  bool progressIsOpen = false;
  /// How many script callbacks are running, one inside the other.
  int callbackDepth = 0;
};

/// What every room reaches. The host does not own the records: whoever enters one removes it
/// before it dies. Used by the main task alone.
class Host {
 public:
  ErrorContext errors;
  DebugOutput debug;
  Messages messages;
  RunFlags flags;
  qmRandomState random;

  /// Enters a room's state record; the type names its room as `static constexpr Room room`.
  template <class State>
  void Enter(State& state) {
    states_[static_cast<std::size_t>(State::room)] = &state;
  }

  /// Takes a room's record out again.
  void Leave(Room room) { states_[static_cast<std::size_t>(room)] = nullptr; }

  [[nodiscard]] bool Has(Room room) const {
    return states_[static_cast<std::size_t>(room)] != nullptr;
  }

  /// The state record of a room, which must have been entered.
  template <class State>
  [[nodiscard]] State& Of() const {
    void* state = states_[static_cast<std::size_t>(State::room)];
    assert(state != nullptr);
    return *static_cast<State*>(state);
  }

 private:
  std::array<void*, static_cast<std::size_t>(Room::count)> states_{};
};

}  // namespace quillmere
