// What the input side remembers: the raw queue, the timers, where a sweep of the dispatcher stands,
// the handlers that belong to no display, and the quit switches.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "base/host.h"
#include "input/event_queue.h"
#include "input/label_events.h"
#include "input/timers.h"
#include "scene/display_input.h"
#include "scene/scene_state.h"

namespace quillmere {

/// The handlers of a display, in the order of its slots.
enum class HandlerSlot : std::size_t {
  KeyDown,
  KeyUp,
  MouseMove,
  CloseWindow,
  MoveWindow,
  SizeWindow,
  ActiveWindow,
  InactiveWindow,
  HideWindow,
  ShowWindow,
  MouseDown,
  MouseUp,
  RightMouseDown,
  RightMouseUp,
  WheelDown,
  WheelUp,
  ModeSwitch,
  DropFile,
  ClipboardChange,
  MidMouseDown,
  MidMouseUp
};

/// The handlers that belong to no display.
enum class GlobalSlot : std::size_t { SampleLoop, SampleEnd, MusicEnd, ARexx };
inline constexpr std::size_t globalHandlerCount = 4;

/// Where the next call of the dispatcher goes on.
enum class SweepStage {
  Start = 0,
  Timers = 1,
  Sound = 2,
  MouseMovement = 3,
  ARexx = 4,
  AfterDisplayHandler = 5,
  AfterEvent = 6,
  PointerPass = 7
};

/// What a sound has to tell the script.
struct SoundEvent {
  GlobalSlot slot = GlobalSlot::SampleEnd;
  ObjectId id;
  /// Only for samples.
  std::int32_t time = 0;
  std::int32_t starts = 0;
};

/// The progress of a sweep; it survives from one command to the next.
struct Sweep {
  SweepStage stage = SweepStage::Start;
  /// The event being handled, which owns its list of dropped files.
  qmRawEvent current;
  /// Displays that the stage has still to visit.
  std::vector<qmDisplay*> displays;
};

struct InputState {
  static constexpr Room room = Room::input;

  /// The scene's record must have been entered in the host.
  explicit InputState(Host& host);

  [[nodiscard]] Platform& platform() const { return host.Of<Platform>(); }
  [[nodiscard]] SceneState& scene() const { return host.Of<SceneState>(); }

  Host& host;
  /// The machine that holds the handlers; set when the library is opened.
  VmState* machine = nullptr;
  RawEventQueue queue;
  TimerRequests timers;
  ObjectList<qmIntervalRecord> intervals;
  ObjectList<qmIntervalRecord> timeouts;
  std::array<EventHandler, globalHandlerCount> globalHandlers;
  LabelEvents labels;
  Sweep sweep;

  /// The age in milliseconds at which a raw event is dropped.
  std::int64_t eventTimeout = 1500;
  bool ctrlCQuit = true;
  bool escapeQuit = false;
  bool leftMouseQuit = false;

  /// The next thing that a sound has to tell; nothing when there is none. Joined by the owner of
  /// the sounds.
  std::function<std::optional<SoundEvent>()> nextSoundEvent;
  /// Told which of the sound handlers are set, whenever that changes.
  std::function<void(bool sampleLoop, bool sampleEnd, bool musicEnd)> soundHandlersChanged;

  [[nodiscard]] EventHandler& Global(GlobalSlot slot) {
    return globalHandlers[static_cast<std::size_t>(slot)];
  }
};

/// Frees the function and the user data of a handler.
void ReleaseHandler(VmState& state, EventHandler& handler);

[[nodiscard]] inline EventHandler& HandlerOf(qmDisplay& display, HandlerSlot slot) {
  return display.input.eventHandlers[static_cast<std::size_t>(slot)];
}

/// Stamps an event and posts it. Resizes of displays under a scale engine are not told.
void PostRawEvent(InputState& input, qmDisplay& display, RawEventKind kind, std::int32_t a = 0,
                  std::int32_t b = 0, std::int32_t c = 0, std::vector<std::string> attachment = {});

/// The refusal of waiting commands while the current display is closed: `DisplayIsClosed`.
[[nodiscard]] Status RequireWindow(const InputState& input);

/// Lets files be dropped on the window of a display that has a handler for them.
void SetDropZone(qmDisplay& display);

/// The pointer in the coordinates of the script; 0, 0 when the window is not open.
[[nodiscard]] ScriptPoint PointerInDisplay(const qmDisplay& display);

/// Makes all that waits for a display dead, as when its window closes.
void ForgetDisplayEvents(InputState& input, qmDisplay& display);

}  // namespace quillmere
