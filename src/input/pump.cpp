#include "input/pump.h"

#include <algorithm>
#include <optional>

#include "input/input_state.h"
#include "scene/display.h"
#include "scene/redraw.h"

namespace quillmere {
namespace {

constexpr Qualifiers qualifierMark = 0x80000000;
constexpr Qualifiers eitherCommand =
    (qualifierLeftCommand | qualifierRightCommand) & ~qualifierMark;

/// One call of the pump.
class Pump {
 public:
  explicit Pump(VmState& state)
      : state_(state), input_(vmRoom<InputState>(state)), scene_(input_.scene()) {}

  /// True when there was anything to do.
  bool Drain();
  bool Finish();

 private:
  struct Resize {
    qmDisplay* display;
    int width;
    int height;
  };

  void ClearFlags();
  void Handle(const WindowMessage& message);
  void HandleActivation(qmDisplay& display, bool active);
  void HandleMove(qmDisplay& display, const WindowMessage& message);
  void HandleResize(qmDisplay& display, const WindowMessage& message);
  void HandleKey(qmDisplay& display, const WindowMessage& message);
  [[nodiscard]] bool IsCommandKey(const qmDisplay& display, int key) const;
  bool HandleCommandKey(qmDisplay& display, const WindowMessage& message);
  void HandleMouseButton(qmDisplay& display, const WindowMessage& message);
  void AskToHide(qmDisplay& display);
  void ApplyVisibility(qmDisplay& display);
  void ApplyModeSwitch(qmDisplay& display);
  [[nodiscard]] bool WantsQuit(const qmDisplay& display) const;

  VmState& state_;
  InputState& input_;
  SceneState& scene_;
  std::vector<Resize> resizes_;
  bool quit_ = false;
};

bool IsBackdrop(const qmDisplay& display) {
  return display.private1 != 0;
}

/// The display whose mode switch takes the whole program along: the first that is not the backdrop.
bool OwnsScreen(SceneState& scene, const qmDisplay& display) {
  for (const qmDisplay& other : scene.displays.All()) {
    if (!IsBackdrop(other)) return &other == &display;
  }
  return false;
}

void Pump::ClearFlags() {
  for (qmDisplay& display : scene_.displays.All()) {
    DisplayInput& flags = display.input;
    flags.closePressed = flags.moved = flags.resized = false;
    flags.wantHide = flags.wantShow = false;
    flags.lastKey = -1;
    flags.pendingModeSwitch = -1;
  }
}

bool Pump::Drain() {
  Platform& platform = input_.platform();
  if (platform.waiting().TakeBreak()) quit_ = true;
  std::optional<WindowMessage> message = platform.windows().GetNextWindowMessage();
  if (!message && !quit_ && !input_.leftMouseQuit) return false;
  ClearFlags();
  for (; message; message = platform.windows().GetNextWindowMessage()) Handle(*message);
  return true;
}

void Pump::Handle(const WindowMessage& message) {
  qmDisplay* found = DisplayOf(scene_, message.window);
  if (found == nullptr) return;
  qmDisplay& display = *found;
  switch (message.kind) {
    case WindowMessageKind::Close:
      PostRawEvent(input_, display, RawEventKind::CloseGadget);
      display.input.closePressed = true;
      break;
    case WindowMessageKind::Active:
    case WindowMessageKind::Inactive:
      HandleActivation(display, message.kind == WindowMessageKind::Active);
      break;
    case WindowMessageKind::Moved:
      HandleMove(display, message);
      break;
    case WindowMessageKind::Resized:
      HandleResize(display, message);
      break;
    case WindowMessageKind::Key:
      HandleKey(display, message);
      break;
    case WindowMessageKind::MouseMove:
      display.input.mouseMoved = true;
      display.input.mouseMoveStamp = input_.platform().time().GetSysTime();
      break;
    case WindowMessageKind::MouseButton:
      HandleMouseButton(display, message);
      break;
    case WindowMessageKind::Wheel:
      PostRawEvent(input_, display,
                   message.pressed ? RawEventKind::WheelUp : RawEventKind::WheelDown, message.x,
                   message.y);
      break;
    case WindowMessageKind::Iconify:
      AskToHide(display);
      break;
    case WindowMessageKind::Restore:
      PostRawEvent(input_, display, RawEventKind::Shown);
      display.input.wantShow = true;
      break;
    case WindowMessageKind::Refresh:
      if (!display.input.resized) RefreshDisplay(scene_, display);
      break;
    case WindowMessageKind::Drop:
      PostRawEvent(input_, display, RawEventKind::FilesDropped, message.x, message.y, 0,
                   message.paths);
      break;
  }
}

void Pump::HandleActivation(qmDisplay& display, bool active) {
  PostRawEvent(input_, display, active ? RawEventKind::WindowActive : RawEventKind::WindowInactive);
  display.input.windowActive = active;
  if (active) return;
  display.input.keyState.fill(false);
  display.input.commandKey = -1;
}

void Pump::HandleMove(qmDisplay& display, const WindowMessage& message) {
  if (!message.byUser) return;
  if (!display.input.resized) PostRawEvent(input_, display, RawEventKind::WindowMoved);
  display.input.moved = true;
  display.x = display.windowX = message.x;
  display.y = display.windowY = message.y;
}

void Pump::HandleResize(qmDisplay& display, const WindowMessage& message) {
  PostRawEvent(input_, display, RawEventKind::WindowResized);
  if (!message.byUser) return;
  display.input.resized = true;
  std::erase_if(resizes_, [&](const Resize& resize) { return resize.display == &display; });
  resizes_.push_back({&display, message.x, message.y});
}

bool Pump::IsCommandKey(const qmDisplay& display, int key) const {
  if (key == 'h' || key == 'H') return true;
  return key == static_cast<int>(Key::Return) && OwnsScreen(scene_, display) &&
         !display.Has(displayNoModeSwitch);
}

/// The keys that hide a display and switch its mode act when they come up, in whatever order the
/// user lets go of them and of the command key.
bool Pump::HandleCommandKey(qmDisplay& display, const WindowMessage& message) {
  DisplayInput& input = display.input;
  if (message.pressed) {
    const bool isCommand =
        (message.qualifiers & eitherCommand) != 0 && IsCommandKey(display, message.key);
    if (isCommand) input.commandKey = message.key;
    return isCommand;
  }
  if (message.key != input.commandKey) return false;
  input.commandKey = -1;
  if (message.key != static_cast<int>(Key::Return)) {
    if (!display.Has(displayNoHide)) AskToHide(display);
  } else if (!input.requesterActive) {
    input.pendingModeSwitch = scene_.fullScreen ? 0 : 1;
  }
  return true;
}

void Pump::HandleKey(qmDisplay& display, const WindowMessage& message) {
  if (HandleCommandKey(display, message)) return;
  if (message.key == keyControlC) {
    if (input_.ctrlCQuit) quit_ = true;
    return;
  }
  if (message.key < 0 || message.key >= keyStateCount) return;
  display.input.keyState[static_cast<std::size_t>(message.key)] = message.pressed;
  // Other keys that have come with it do not hide Escape.
  if (display.input.lastKey != static_cast<int>(Key::Esc)) display.input.lastKey = message.key;
  PostRawEvent(input_, display, RawEventKind::Key, message.pressed ? 1 : 0,
               static_cast<std::int32_t>(message.qualifiers), message.key);
}

void Pump::HandleMouseButton(qmDisplay& display, const WindowMessage& message) {
  if (IsBackdrop(display)) {
    for (qmDisplay& other : scene_.displays.All()) {
      if (IsBackdrop(other) || other.window == nullptr) continue;
      other.window->Activate();
      break;
    }
    return;
  }
  RawEventKind kind = RawEventKind::LeftMouse;
  switch (message.button) {
    case MouseButton::Left:
      display.input.leftMouseDown = message.pressed;
      break;
    case MouseButton::Right:
      display.input.rightMouseDown = message.pressed;
      kind = RawEventKind::RightMouse;
      break;
    case MouseButton::Middle:
      display.input.midMouseDown = message.pressed;
      kind = RawEventKind::MiddleMouse;
      break;
  }
  PostRawEvent(input_, display, kind, message.x, message.y, message.pressed ? 1 : 0);
}

void Pump::AskToHide(qmDisplay& display) {
  if (display.input.requesterActive) return;
  PostRawEvent(input_, display, RawEventKind::Hidden);
  display.input.wantHide = true;
}

void Pump::ApplyVisibility(qmDisplay& display) {
  if (display.input.wantHide && display.state == DisplayState::Open) {
    HideDisplayWindow(scene_, display);
  }
  if (display.input.wantShow && display.state == DisplayState::Minimized) {
    ShowDisplayWindow(scene_, display);
  }
}

void Pump::ApplyModeSwitch(qmDisplay& display) {
  if (ToggleDisplayMode(state_)) PostRawEvent(input_, display, RawEventKind::ModeSwitched);
}

bool Pump::WantsQuit(const qmDisplay& display) const {
  const DisplayInput& flags = display.input;
  return (flags.leftMouseDown && input_.leftMouseQuit) ||
         (flags.lastKey == static_cast<int>(Key::Esc) && input_.escapeQuit) ||
         (flags.closePressed && !flags.closeHandled);
}

bool Pump::Finish() {
  std::optional<qmDisplay*> modeSwitch;
  for (qmDisplay& display : scene_.displays.All()) {
    ApplyVisibility(display);
    if (WantsQuit(display)) quit_ = true;
    if (display.input.pendingModeSwitch >= 0) modeSwitch = &display;
  }
  if (modeSwitch) ApplyModeSwitch(**modeSwitch);
  for (const Resize& resize : resizes_) {
    // A size that cannot be had leaves the picture as it was.
    (void)ResizeDisplay(
        scene_, *resize.display,
        {.width = resize.width, .height = resize.height, .origin = ResizeOrigin::Window});
  }
  if (quit_) vmSetQuitFlag(state_, true);
  return quit_;
}

}  // namespace

bool PumpPlatformEvents(VmState& state) {
  Pump pump(state);
  if (pump.Drain() && pump.Finish()) return true;
  return vmQuitFlag(state);
}

Wake WaitForSignals(VmState& state) {
  InputState& input = vmRoom<InputState>(state);
  const Wake wake = input.platform().waiting().WaitForSignals(input.timers.EarliestDue());
  if (Has(wake, Wake::Break)) vmSetQuitFlag(state, true);
  return wake;
}

bool SleepPumping(VmState& state, std::int32_t milliseconds) {
  if (milliseconds < 1) return false;
  PlatformWaiting& waiting = vmRoom<InputState>(state).platform().waiting();
  waiting.StartPulse(std::chrono::milliseconds(milliseconds));
  for (;;) {
    const Wake wake = waiting.WaitForSignals(std::nullopt);
    if (Has(wake, Wake::Pulse)) return false;
    if (Has(wake, Wake::Break)) vmSetQuitFlag(state, true);
    if (PumpPlatformEvents(state)) {
      waiting.AbortPulse();
      return true;
    }
  }
}

void ScriptLineHook(VmState& state, VmHookEvent, int) {
  PumpPlatformEvents(state);
}

}  // namespace quillmere
