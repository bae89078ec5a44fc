#include "input/dispatcher.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "input/event_message.h"
#include "scene/display.h"

namespace quillmere {
namespace {

bool IsSet(const EventHandler& handler) {
  return handler.func != vmNoRef;
}

/// Frees a timer's functions when its call is over, however that ends.
class OwnedTimer {
 public:
  OwnedTimer(VmState& state, std::unique_ptr<qmIntervalRecord> record)
      : state_(state), record_(std::move(record)) {}
  ~OwnedTimer() { ReleaseTimerRecord(state_, *record_); }
  OwnedTimer(const OwnedTimer&) = delete;
  OwnedTimer& operator=(const OwnedTimer&) = delete;

  [[nodiscard]] EventHandler Handler() const { return {record_->func, record_->userdata}; }

 private:
  VmState& state_;
  std::unique_ptr<qmIntervalRecord> record_;
};

class Dispatcher {
 public:
  Dispatcher(VmState& state, DispatchCaller caller)
      : state_(state), input_(vmRoom<InputState>(state)), sweep_(input_.sweep), caller_(caller) {}

  Result<Dispatched> Run();

 private:
  static constexpr Dispatched nothing{};

  Result<Dispatched> Timers();
  Result<Dispatched> CallTimer(const qmTimerRequest& request);
  Result<Dispatched> Sounds();
  Result<Dispatched> MouseMovement();
  Result<Dispatched> RawEvents();
  Result<Dispatched> DisplayHandler(const qmRawEvent& event);
  Result<Dispatched> EventHandlerOf(const qmRawEvent& event);
  Result<Dispatched> KeyHandler(const qmRawEvent& event);
  Result<Dispatched> WindowHandler(const qmRawEvent& event);
  Dispatched Jump();
  void PointerPass();
  void VisitAllDisplays();
  void Purge();
  Result<Dispatched> CallForDisplay(HandlerSlot slot, const char* action, qmDisplay& display,
                                    std::function<void(VmState&)> fill = {});

  VmState& state_;
  InputState& input_;
  Sweep& sweep_;
  DispatchCaller caller_;
};

Result<Dispatched> Dispatcher::Run() {
  if (sweep_.stage == SweepStage::Start) {
    input_.timers.StartSweep();
    sweep_.displays.clear();
    sweep_.stage = SweepStage::Timers;
  }
  if (sweep_.stage == SweepStage::Timers) {
    const Dispatched done = TRY(Timers());
    if (done.ranHandler) return done;
    sweep_.stage = SweepStage::Sound;
  }
  if (sweep_.stage == SweepStage::Sound) {
    const Dispatched done = TRY(Sounds());
    if (done.ranHandler) return done;
    VisitAllDisplays();
    sweep_.stage = SweepStage::MouseMovement;
  }
  if (sweep_.stage == SweepStage::MouseMovement) {
    const Dispatched done = TRY(MouseMovement());
    if (done.ranHandler) return done;
    sweep_.stage = SweepStage::ARexx;
  }
  if (sweep_.stage != SweepStage::PointerPass) {
    const Dispatched done = TRY(RawEvents());
    if (done.ranHandler || done.jumps) return done;
    sweep_.stage = SweepStage::PointerPass;
  }
  PointerPass();
  sweep_.stage = SweepStage::Start;
  return nothing;
}

Result<Dispatched> Dispatcher::Timers() {
  if (input_.timers.SweepEnded()) return nothing;
  const SysTime now = input_.platform().time().GetSysTime();
  while (!input_.timers.SweepEnded()) {
    const auto fired = input_.timers.NextFired(now);
    if (!fired) continue;
    const Dispatched done = TRY(CallTimer(*fired));
    if (done.ranHandler) return done;
  }
  return nothing;
}

Result<Dispatched> Dispatcher::CallTimer(const qmTimerRequest& request) {
  const auto fill = [id = request.id](VmState& state) { vmSetFieldId(state, "id", id); };
  const bool isInterval = request.kind == TimerKind::Interval;
  auto& records = isInterval ? input_.intervals : input_.timeouts;
  qmIntervalRecord* record = records.Lookup(request.id);
  if (record == nullptr) {
    input_.host.errors.index = request.id.number;
    return nothing;
  }
  if (isInterval) {
    return CallHandler(state_, {"Interval", {record->func, record->userdata}, fill});
  }
  const OwnedTimer timeout(state_, records.Remove(*record));
  return CallHandler(state_, {"Timeout", timeout.Handler(), fill});
}

Result<Dispatched> Dispatcher::Sounds() {
  static constexpr std::array<const char*, 3> actions = {"OnSampleLoop", "OnSampleEnd",
                                                         "OnMusicEnd"};
  const bool anyHandler = IsSet(input_.Global(GlobalSlot::SampleLoop)) ||
                          IsSet(input_.Global(GlobalSlot::SampleEnd)) ||
                          IsSet(input_.Global(GlobalSlot::MusicEnd));
  if (!anyHandler || !input_.nextSoundEvent) return nothing;
  while (const auto sound = input_.nextSoundEvent()) {
    const EventHandler& handler = input_.Global(sound->slot);
    if (!IsSet(handler)) continue;
    return CallHandler(
        state_, {actions[static_cast<std::size_t>(sound->slot)], handler, [&](VmState& state) {
                   vmSetFieldId(state, "id", sound->id);
                   if (sound->slot == GlobalSlot::MusicEnd) return;
                   vmSetFieldInt(state, "time", sound->time);
                   vmSetFieldInt(state, "starts", sound->starts);
                 }});
  }
  return nothing;
}

void Dispatcher::VisitAllDisplays() {
  sweep_.displays.clear();
  for (qmDisplay& display : input_.scene().displays.All()) sweep_.displays.push_back(&display);
}

Result<Dispatched> Dispatcher::MouseMovement() {
  while (!sweep_.displays.empty()) {
    qmDisplay& display = *sweep_.displays.front();
    sweep_.displays.erase(sweep_.displays.begin());
    if (!display.input.mouseMoved || !IsSet(HandlerOf(display, HandlerSlot::MouseMove))) continue;
    const SysTime now = input_.platform().time().GetSysTime();
    if (EventAge(display.input.mouseMoveStamp, now) > input_.eventTimeout) continue;
    return CallForDisplay(HandlerSlot::MouseMove, "OnMouseMove", display, [&](VmState& state) {
      const ScriptPoint point = PointerInDisplay(display);
      vmSetFieldInt(state, "x", point.x);
      vmSetFieldInt(state, "y", point.y);
    });
  }
  return nothing;
}

void Dispatcher::Purge() {
  input_.queue.PurgeStale(input_.platform().time().GetSysTime(), input_.eventTimeout);
}

Result<Dispatched> Dispatcher::RawEvents() {
  Purge();
  if (sweep_.stage == SweepStage::ARexx && ScanForLabels(state_, input_)) return Jump();
  for (;;) {
    if (sweep_.stage != SweepStage::AfterDisplayHandler) {
      auto next = input_.queue.Take();
      if (!next) break;
      sweep_.current = std::move(*next);
      sweep_.stage = SweepStage::AfterDisplayHandler;
      const Dispatched done = TRY(DisplayHandler(sweep_.current));
      if (done.ranHandler) return done;
    }
    sweep_.stage = SweepStage::AfterEvent;
    const qmRawEvent event = std::exchange(sweep_.current, {});
    if (event.display == nullptr) continue;
    const Dispatched done = TRY(EventHandlerOf(event));
    if (done.ranHandler) return done;
  }
  if (caller_ == DispatchCaller::Events && ScanForOverLabels(state_, input_)) return Jump();
  return nothing;
}

Dispatched Dispatcher::Jump() {
  sweep_.stage = SweepStage::Start;
  return {.jumps = true};
}

Result<Dispatched> Dispatcher::DisplayHandler(const qmRawEvent& event) {
  const bool pressed = event.c != 0;
  qmDisplay& display = *event.display;
  switch (event.kind) {
    case RawEventKind::LeftMouse:
      return pressed ? CallForDisplay(HandlerSlot::MouseDown, "OnMouseDown", display)
                     : CallForDisplay(HandlerSlot::MouseUp, "OnMouseUp", display);
    case RawEventKind::RightMouse:
      return pressed ? CallForDisplay(HandlerSlot::RightMouseDown, "OnRightMouseDown", display)
                     : CallForDisplay(HandlerSlot::RightMouseUp, "OnRightMouseUp", display);
    case RawEventKind::MiddleMouse:
      return pressed ? CallForDisplay(HandlerSlot::MidMouseDown, "OnMidMouseDown", display)
                     : CallForDisplay(HandlerSlot::MidMouseUp, "OnMidMouseUp", display);
    case RawEventKind::WheelUp:
      return CallForDisplay(HandlerSlot::WheelUp, "OnWheelUp", display);
    case RawEventKind::WheelDown:
      return CallForDisplay(HandlerSlot::WheelDown, "OnWheelDown", display);
    default:
      return nothing;
  }
}

Result<Dispatched> Dispatcher::EventHandlerOf(const qmRawEvent& event) {
  if (event.kind == RawEventKind::Key) return KeyHandler(event);
  return WindowHandler(event);
}

Result<Dispatched> Dispatcher::KeyHandler(const qmRawEvent& event) {
  const bool pressed = event.a != 0;
  return CallForDisplay(pressed ? HandlerSlot::KeyDown : HandlerSlot::KeyUp,
                        pressed ? "OnKeyDown" : "OnKeyUp", *event.display,
                        [&](VmState& state) { vmSetFieldString(state, "key", KeyText(event.c)); });
}

Result<Dispatched> Dispatcher::WindowHandler(const qmRawEvent& event) {
  qmDisplay& display = *event.display;
  switch (event.kind) {
    case RawEventKind::WindowMoved:
      return CallForDisplay(HandlerSlot::MoveWindow, "MoveWindow", display, [&](VmState& state) {
        vmSetFieldInt(state, "x", display.windowX);
        vmSetFieldInt(state, "y", display.windowY);
      });
    case RawEventKind::WindowResized:
      return CallForDisplay(HandlerSlot::SizeWindow, "SizeWindow", display, [&](VmState& state) {
        vmSetFieldInt(state, "width", display.width);
        vmSetFieldInt(state, "height", display.height);
      });
    case RawEventKind::WindowInactive:
      return CallForDisplay(HandlerSlot::InactiveWindow, "InactiveWindow", display);
    case RawEventKind::CloseGadget:
      return CallForDisplay(HandlerSlot::CloseWindow, "CloseWindow", display);
    case RawEventKind::WindowActive:
      return CallForDisplay(HandlerSlot::ActiveWindow, "ActiveWindow", display);
    case RawEventKind::Hidden:
      return CallForDisplay(HandlerSlot::HideWindow, "HideWindow", display);
    case RawEventKind::Shown:
      return CallForDisplay(HandlerSlot::ShowWindow, "ShowWindow", display);
    case RawEventKind::ModeSwitched:
      return CallForDisplay(HandlerSlot::ModeSwitch, "ModeSwitch", display, [&](VmState& state) {
        vmSetFieldInt(state, "mode",
                      input_.scene().fullScreen ? DISPMODE_FULLSCREEN : DISPMODE_WINDOWED);
      });
    case RawEventKind::FilesDropped:
      return CallForDisplay(HandlerSlot::DropFile, "OnDropFile", display, [&](VmState& state) {
        const ScriptPoint point = ToScriptPoint(display, event.a, event.b);
        vmSetFieldInt(state, "x", point.x);
        vmSetFieldInt(state, "y", point.y);
        vmPushStringFast(state, "dropfiles");
        vmNewTable(state);
        for (std::size_t i = 0; i < event.attachment.size(); ++i) {
          vmPushBytes(state, event.attachment[i]);
          vmRawSetInt(state, -2, static_cast<int>(i));
        }
        vmRawSet(state, -3);
        vmSetFieldInt(state, "numdropfiles", static_cast<std::int32_t>(event.attachment.size()));
      });
    case RawEventKind::ClipboardChanged:
      return CallForDisplay(HandlerSlot::ClipboardChange, "ClipboardChange", display);
    default:
      return nothing;
  }
}

void Dispatcher::PointerPass() {
  for (qmDisplay& display : input_.scene().displays.All()) display.input.mouseMoved = false;
}

Result<Dispatched> Dispatcher::CallForDisplay(HandlerSlot slot, const char* action,
                                              qmDisplay& display,
                                              std::function<void(VmState&)> fill) {
  const EventHandler handler = HandlerOf(display, slot);
  if (!IsSet(handler)) return nothing;
  return CallHandler(state_, {action, handler, [&, id = display.Id()](VmState& state) {
                                if (fill) fill(state);
                                vmSetFieldId(state, "id", id);
                              }});
}

}  // namespace

Result<Dispatched> Dispatch(VmState& state, DispatchCaller caller) {
  return Dispatcher(state, caller).Run();
}

}  // namespace quillmere
