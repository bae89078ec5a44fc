#include "platform/sdl/sdl_windows.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>

#include "base/fold.h"
#include "base/messages.h"
#include "platform/pointer_image.h"
#include "platform/posix/latin1.h"
#include "platform/sdl/x11_desktop.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

/// The messages are asked for at each line of a script; the system is asked no more often than
/// this.
constexpr auto pumpInterval = 1ms;
/// What a title bar takes where the window manager does not tell.
constexpr FrameSizes usualFrame{.left = 1, .top = 24, .right = 1, .bottom = 1};

std::optional<MouseButton> ButtonOf(Uint8 button) {
  switch (button) {
    case SDL_BUTTON_LEFT:
      return MouseButton::Left;
    case SDL_BUTTON_RIGHT:
      return MouseButton::Right;
    case SDL_BUTTON_MIDDLE:
      return MouseButton::Middle;
    default:
      return std::nullopt;
  }
}

Uint32 WindowIdOf(const SDL_Event& event) {
  switch (event.type) {
    case SDL_KEYDOWN:
    case SDL_KEYUP:
      return event.key.windowID;
    case SDL_TEXTINPUT:
      return event.text.windowID;
    default:
      return 0;
  }
}

}  // namespace

SdlWindows::SdlWindows(ErrorContext& errors, SignalBox& signals, SdlClipboard& clipboard)
    : errors_(errors), signals_(signals), clipboard_(clipboard) {
  desktop_.frame = usualFrame;
  desktop_.post = [this](WindowMessage message) { messages_.push_back(std::move(message)); };
  desktop_.closing = [this](SdlWindow& window) {
    windows_.erase(window.Id());
    std::erase_if(messages_,
                  [&window](const WindowMessage& message) { return message.window == &window; });
  };
}

bool SdlWindows::Start() {
  ChoosePixelWriting(0);
  SDL_DisplayMode mode;
  if (SDL_GetDesktopDisplayMode(monitor_, &mode) != 0) return false;
  if (const auto extents = AskX11FrameExtents()) {
    desktop_.frame = {extents->left, extents->top, extents->right, extents->bottom};
  }
  return true;
}

void SdlWindows::Pump() {
  Show();
  lastPump_ = std::chrono::steady_clock::now();
  SDL_Event event;
  while (SDL_PollEvent(&event) != 0) Handle(event);
  keys_.Settle(strokes_);
  HandleStrokes(keyWindow_);
  clipboard_.TellChanges();
}

void SdlWindows::Show() {
  for (const auto& [id, window] : windows_) window->Canvas().Show();
  if (screen_) screen_->Show();
}

bool SdlWindows::HasMessages() const {
  return !messages_.empty() || (screen_ && screen_->Memory().HasMessages());
}

std::optional<WindowMessage> SdlWindows::GetNextWindowMessage() {
  if (!HasMessages() && std::chrono::steady_clock::now() - lastPump_ >= pumpInterval) Pump();
  if (screen_) {
    if (auto message = screen_->Memory().NextMessage()) return message;
  }
  if (messages_.empty()) return std::nullopt;
  WindowMessage message = std::move(messages_.front());
  messages_.pop_front();
  return message;
}

SdlWindow* SdlWindows::WindowOf(Uint32 id) const {
  const auto window = windows_.find(id);
  return window != windows_.end() ? window->second : nullptr;
}

void SdlWindows::Handle(const SDL_Event& event) {
  const bool isKey =
      event.type == SDL_KEYDOWN || event.type == SDL_KEYUP || event.type == SDL_TEXTINPUT;
  if (!isKey) {
    keys_.Settle(strokes_);
    HandleStrokes(keyWindow_);
  }
  switch (event.type) {
    case SDL_KEYDOWN:
    case SDL_KEYUP:
      keys_.Key(event.key, strokes_);
      HandleStrokes(WindowIdOf(event));
      break;
    case SDL_TEXTINPUT:
      keys_.Text(event.text.text, strokes_);
      HandleStrokes(WindowIdOf(event));
      break;
    case SDL_WINDOWEVENT:
      if (IsScreen(event.window.windowID)) screen_->Handle(event.window);
      if (SdlWindow* window = WindowOf(event.window.windowID)) window->Handle(event.window);
      break;
    case SDL_MOUSEMOTION:
      if (IsScreen(event.motion.windowID)) screen_->Motion(event.motion);
      if (SdlWindow* window = WindowOf(event.motion.windowID)) {
        window->Post(
            {.kind = WindowMessageKind::MouseMove, .x = event.motion.x, .y = event.motion.y});
      }
      break;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
      HandleMouseButton(event.button);
      break;
    case SDL_MOUSEWHEEL:
      HandleWheel(event.wheel);
      break;
    case SDL_DROPBEGIN:
    case SDL_DROPFILE:
    case SDL_DROPCOMPLETE:
      HandleDrop(event.drop);
      break;
    case SDL_CLIPBOARDUPDATE:
      clipboard_.NoteChange();
      break;
    case SDL_QUIT:
      signals_.Raise(Wake::Break);
      break;
    default:
      break;
  }
}

void SdlWindows::HandleStrokes(Uint32 windowId) {
  keyWindow_ = windowId;
  SdlWindow* window = WindowOf(windowId);
  for (const KeyStroke& stroke : std::exchange(strokes_, {})) {
    if (IsScreen(windowId)) screen_->Stroke(stroke);
    if (window == nullptr) continue;
    window->Post({.kind = WindowMessageKind::Key,
                  .pressed = stroke.pressed,
                  .key = stroke.key,
                  .qualifiers = stroke.qualifiers});
  }
}

void SdlWindows::HandleMouseButton(const SDL_MouseButtonEvent& event) {
  const auto button = ButtonOf(event.button);
  if (!button) return;
  if (IsScreen(event.windowID)) screen_->Button(event, *button, GetQualifiers());
  if (SdlWindow* window = WindowOf(event.windowID)) {
    window->Post({.kind = WindowMessageKind::MouseButton,
                  .x = event.x,
                  .y = event.y,
                  .pressed = event.type == SDL_MOUSEBUTTONDOWN,
                  .button = *button,
                  .qualifiers = GetQualifiers()});
  }
}

void SdlWindows::HandleWheel(const SDL_MouseWheelEvent& event) {
  const int steps = event.direction == SDL_MOUSEWHEEL_FLIPPED ? -event.y : event.y;
  SdlWindow* window = WindowOf(event.windowID);
  for (int step = 0; step < std::abs(steps); ++step) {
    if (IsScreen(event.windowID)) screen_->Wheel(steps > 0);
    if (window == nullptr) continue;
    window->Post({.kind = WindowMessageKind::Wheel,
                  .x = event.mouseX,
                  .y = event.mouseY,
                  .pressed = steps > 0});
  }
}

void SdlWindows::HandleDrop(const SDL_DropEvent& event) {
  if (event.type == SDL_DROPBEGIN) dropped_.clear();
  if (event.type == SDL_DROPFILE && event.file != nullptr) {
    std::error_code failure;
    dropped_.push_back(std::filesystem::absolute(event.file, failure).string());
  }
  SDL_free(event.file);
  if (event.type != SDL_DROPCOMPLETE || dropped_.empty()) return;
  WindowMessage message{.kind = WindowMessageKind::Drop};
  message.paths = std::exchange(dropped_, {});
  if (IsScreen(event.windowID)) {
    MemoryWindow* window = screen_->DropTarget();
    if (window == nullptr || !window->dropZone) return;
    window->PointerPosition(message.x, message.y);
    window->Post(std::move(message));
  } else if (SdlWindow* window = WindowOf(event.windowID); window && window->IsDropZone()) {
    window->PointerPosition(message.x, message.y);
    window->Post(std::move(message));
  }
}

Qualifiers SdlWindows::GetQualifiers() {
  return QualifiersOf(SDL_GetModState());
}

DesktopInfo SdlWindows::GetDesktopInfo() {
  if (screen_) {
    const int width = screen_->Memory().Width();
    const int height = screen_->Memory().Height();
    return {.width = width, .height = height, .usable = {0, 0, width, height}};
  }
  DesktopInfo info;
  SDL_Rect bounds{0, 0, 640, 480};
  SDL_GetDisplayBounds(monitor_, &bounds);
  SDL_Rect usable = bounds;
  SDL_GetDisplayUsableBounds(monitor_, &usable);
  SDL_DisplayMode mode;
  if (SDL_GetDesktopDisplayMode(monitor_, &mode) == 0 && mode.refresh_rate > 0) {
    info.refreshRate = mode.refresh_rate;
  }
  info.width = bounds.w;
  info.height = bounds.h;
  info.titleBarHeight = desktop_.frame.top;
  info.usable = {usable.x - bounds.x, usable.y - bounds.y, usable.w, usable.h};
  return info;
}

FrameSizes SdlWindows::GetFrameSizes(bool borderless) {
  return borderless || screen_ ? FrameSizes{} : desktop_.frame;
}

Result<std::unique_ptr<PlatformWindow>> SdlWindows::OpenPlatformWindow(
    const WindowOptions& options) {
  if (screen_) return screen_->Memory().Open(options);
  const bool isWhole = !options.shape || (options.shape->width > 0 && options.shape->height > 0 &&
                                          options.shape->alpha.size() ==
                                              static_cast<std::size_t>(options.shape->width) *
                                                  static_cast<std::size_t>(options.shape->height));
  if (options.width < 1 || options.height < 1 || !isWhole) return Fail(Error::UnableOpenWindow);
  auto window = SdlWindow::Open(options, desktop_);
  if (!window) return Fail(Error::UnableOpenWindow);
  windows_[window->Id()] = window.get();
  return window;
}

Status SdlWindows::OpenPlatformScreen(int width, int height, int depth) {
  screen_.reset();
  screen_ = SdlScreen::Open(monitor_, width, height);
  if (screen_) return {};
  return errors_.Fail(Error::ScreenSizeUnsupported,
                      FormatMessage("%dx%dx%d", {std::to_string(width), std::to_string(height),
                                                 std::to_string(depth)}));
}

void SdlWindows::ClosePlatformScreen() {
  screen_.reset();
}

Status SdlWindows::UsePublicScreen(std::string_view name) {
  SDL_Rect bounds;
  for (int monitor = 0; monitor < SDL_GetNumVideoDisplays(); ++monitor) {
    const char* known = SDL_GetDisplayName(monitor);
    if (known == nullptr || !EqualsFolded(name, Latin1FromUtf8(known))) continue;
    if (SDL_GetDisplayBounds(monitor, &bounds) != 0) break;
    monitor_ = monitor;
    desktop_.originX = bounds.x;
    desktop_.originY = bounds.y;
    return {};
  }
  if (EqualsFolded(name, "workbench")) return {};
  return errors_.Fail(Error::PublicScreenNotFound, std::string(name));
}

void SdlWindows::ChoosePixelWriting(int mode) {
  SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, mode == 0 ? "0" : "1");
}

Result<std::unique_ptr<PlatformPointer>> SdlWindows::MakePointer(const PixelView& image, int hotX,
                                                                 int hotY) {
  const auto pointer = TRY(MakePointerImage(image, hotX, hotY));
  PixelImage& picture = pointer->image;
  SDL_Surface* surface =
      SDL_CreateRGBSurfaceWithFormatFrom(picture.pixels.data(), picture.width, picture.height, 32,
                                         picture.width * 4, SDL_PIXELFORMAT_ARGB8888);
  if (surface == nullptr) return Fail(Error::CannotCreatePointer);
  auto cursor = ShareCursor(SDL_CreateColorCursor(surface, pointer->hotX, pointer->hotY));
  SDL_FreeSurface(surface);
  if (!cursor) return Fail(Error::CannotCreatePointer);
  return std::make_unique<SdlPointer>(std::move(cursor));
}

std::unique_ptr<PlatformPointer> SdlWindows::BusyPointer() {
  if (!busyCursor_) busyCursor_ = ShareCursor(SDL_CreateSystemCursor(SDL_SYSTEM_CURSOR_WAIT));
  if (!busyCursor_) return nullptr;
  return std::make_unique<SdlPointer>(busyCursor_);
}

std::optional<PixelImage> SdlWindows::GrabScreen(const Rectangle& area) {
  Show();
  if (screen_) return screen_->Memory().Compose(area);
  return GrabX11Screen(area.x + desktop_.originX, area.y + desktop_.originY, area.width,
                       area.height);
}

}  // namespace quillmere
