#include "input/input_state.h"

#include <algorithm>
#include <utility>

namespace quillmere {

InputState::InputState(Host& programHost)
    : host(programHost),
      intervals(programHost, Error::IntervalNotFound),
      timeouts(programHost, Error::TimeoutNotFound) {
  SceneHooks& hooks = scene().hooks;
  hooks.displayOpened.Join([](qmDisplay& display) { SetDropZone(display); });
  hooks.windowPainted.Join([this] {
    if (machine != nullptr) vmRequestLineHook(*machine);
  });
  hooks.displayClosed.Join([this](qmDisplay& display) { ForgetDisplayEvents(*this, display); });
  hooks.displayFreed.Join([this](qmDisplay& display) {
    ForgetDisplayEvents(*this, display);
    std::erase(sweep.displays, &display);
    if (machine == nullptr) return;
    for (EventHandler& handler : display.input.eventHandlers) ReleaseHandler(*machine, handler);
  });
}

void ReleaseHandler(VmState& state, EventHandler& handler) {
  vmUnref(state, vmRegistryIndex, std::exchange(handler.func, vmNoRef));
  vmUnref(state, vmRegistryIndex, std::exchange(handler.userdata, vmNoRef));
}

void PostRawEvent(InputState& input, qmDisplay& display, RawEventKind kind, std::int32_t a,
                  std::int32_t b, std::int32_t c, std::vector<std::string> attachment) {
  if (kind == RawEventKind::WindowResized && display.HasEngine()) return;
  input.queue.Post({.kind = kind,
                    .a = a,
                    .b = b,
                    .c = c,
                    .stamp = input.platform().time().GetSysTime(),
                    .display = &display,
                    .attachment = std::move(attachment)});
}

Status RequireWindow(const InputState& input) {
  if (input.scene().currentDisplay->state != DisplayState::Closed) return {};
  return Fail(Error::DisplayIsClosed);
}

void SetDropZone(qmDisplay& display) {
  if (display.window == nullptr) return;
  display.window->SetDropZone(HandlerOf(display, HandlerSlot::DropFile).func != vmNoRef);
}

ScriptPoint PointerInDisplay(const qmDisplay& display) {
  if (display.state != DisplayState::Open || display.window == nullptr) return {};
  int x = 0;
  int y = 0;
  display.window->PointerPosition(x, y);
  return ToScriptPoint(display, x, y);
}

void ForgetDisplayEvents(InputState& input, qmDisplay& display) {
  input.queue.Forget(display);
  if (input.sweep.current.display == &display) input.sweep.current.display = nullptr;
}

}  // namespace quillmere
