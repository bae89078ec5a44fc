#include "platform/sdl/sdl_screen.h"

#include <algorithm>
#include <utility>

namespace quillmere {
namespace {

/// Finds the monitor's mode of that size with the best refresh rate; false when there is none.
bool FindMode(int monitor, int width, int height, SDL_DisplayMode& found) {
  bool any = false;
  for (int index = 0; index < SDL_GetNumDisplayModes(monitor); ++index) {
    SDL_DisplayMode mode;
    if (SDL_GetDisplayMode(monitor, index, &mode) != 0) continue;
    if (mode.w != width || mode.h != height) continue;
    if (any && mode.refresh_rate <= found.refresh_rate) continue;
    found = mode;
    any = true;
  }
  return any;
}

}  // namespace

std::unique_ptr<SdlScreen> SdlScreen::Open(int monitor, int width, int height) {
  SDL_DisplayMode mode;
  if (!FindMode(monitor, width, height, mode)) return nullptr;
  SDL_DisplayMode desktop;
  const bool isDesktop = SDL_GetDesktopDisplayMode(monitor, &desktop) == 0 && desktop.w == width &&
                         desktop.h == height;
  const int position = static_cast<int>(SDL_WINDOWPOS_CENTERED_DISPLAY(monitor));
  SdlWindowHandle window(
      SDL_CreateWindow("Quillmere", position, position, width, height, SDL_WINDOW_BORDERLESS));
  if (!window || SDL_SetWindowDisplayMode(window.get(), &mode) != 0) return nullptr;
  const Uint32 how = isDesktop ? SDL_WINDOW_FULLSCREEN_DESKTOP : SDL_WINDOW_FULLSCREEN;
  if (SDL_SetWindowFullscreen(window.get(), how) != 0) return nullptr;
  return std::unique_ptr<SdlScreen>(new SdlScreen(std::move(window), width, height));
}

SdlScreen::SdlScreen(SdlWindowHandle window, int width, int height)
    : window_(std::move(window)),
      canvas_(window_.get()),
      memory_(width, height, FrameSizes{},
              {.opened = {},
               .closing =
                   [this](MemoryWindow& closing) {
                     pointers_.erase(&closing);
                     if (caught_ == &closing) caught_ = nullptr;
                   },
               .changed = [this](const Rectangle& area) { NoteChange(area); },
               .pointerChanged =
                   [this](MemoryWindow& changed) {
                     const auto* own = dynamic_cast<const SdlPointer*>(changed.pointer);
                     pointers_[&changed] = own != nullptr ? own->Cursor() : nullptr;
                     ApplyPointer();
                   },
               .pointerMoved =
                   [this] {
                     SDL_WarpMouseInWindow(window_.get(), memory_.PointerX(), memory_.PointerY());
                   }}) {
  NoteChange({0, 0, width, height});
}

SdlScreen::~SdlScreen() = default;

void SdlScreen::NoteChange(const Rectangle& area) {
  // Many changes are shown as the box around them.
  constexpr std::size_t mostRectangles = 32;
  if (area.width < 1 || area.height < 1) return;
  if (changed_.size() >= mostRectangles)
    changed_.assign(1, {0, 0, memory_.Width(), memory_.Height()});
  changed_.push_back(area);
}

void SdlScreen::Show() {
  for (const Rectangle& area : std::exchange(changed_, {})) {
    const PixelImage image = memory_.Compose(area);
    canvas_.Update({image.pixels.data(), image.width, image.height, image.width}, 0, 0,
                   {std::max(area.x, 0), std::max(area.y, 0), image.width, image.height});
  }
  canvas_.Show();
}

void SdlScreen::Handle(const SDL_WindowEvent& event) {
  switch (event.event) {
    case SDL_WINDOWEVENT_CLOSE:
      if (MemoryWindow* window = memory_.ActiveWindow()) {
        window->Post({.kind = WindowMessageKind::Close});
      }
      break;
    case SDL_WINDOWEVENT_FOCUS_LOST:
      memory_.SetActive(nullptr);
      break;
    case SDL_WINDOWEVENT_FOCUS_GAINED:
      if (memory_.ActiveWindow() == nullptr) memory_.ActivateTopmost();
      break;
    case SDL_WINDOWEVENT_SIZE_CHANGED:
    case SDL_WINDOWEVENT_EXPOSED:
      canvas_.Forget();
      NoteChange({0, 0, memory_.Width(), memory_.Height()});
      break;
    default:
      break;
  }
}

MemoryWindow* SdlScreen::Target() const {
  if (caught_ != nullptr) return caught_;
  return memory_.WindowAt(memory_.PointerX(), memory_.PointerY());
}

void SdlScreen::PostPointer(MemoryWindow& window, WindowMessage message) {
  window.PointerPosition(message.x, message.y);
  window.Post(std::move(message));
}

void SdlScreen::Motion(const SDL_MouseMotionEvent& event) {
  memory_.SetPointerPosition(event.x, event.y);
  ApplyPointer();
  if (MemoryWindow* window = Target()) PostPointer(*window, {.kind = WindowMessageKind::MouseMove});
}

void SdlScreen::Button(const SDL_MouseButtonEvent& event, MouseButton button,
                       Qualifiers qualifiers) {
  memory_.SetPointerPosition(event.x, event.y);
  const bool pressed = event.type == SDL_MOUSEBUTTONDOWN;
  MemoryWindow* window = Target();
  buttonsDown_ = std::max(buttonsDown_ + (pressed ? 1 : -1), 0);
  caught_ = buttonsDown_ > 0 ? window : nullptr;
  if (window == nullptr) return;
  if (pressed) memory_.SetActive(window);
  PostPointer(*window, {.kind = WindowMessageKind::MouseButton,
                        .pressed = pressed,
                        .button = button,
                        .qualifiers = qualifiers});
}

void SdlScreen::Wheel(bool up) {
  if (MemoryWindow* window = Target()) {
    PostPointer(*window, {.kind = WindowMessageKind::Wheel, .pressed = up});
  }
}

void SdlScreen::Stroke(const KeyStroke& stroke) {
  if (MemoryWindow* window = memory_.ActiveWindow()) {
    window->Post({.kind = WindowMessageKind::Key,
                  .pressed = stroke.pressed,
                  .key = stroke.key,
                  .qualifiers = stroke.qualifiers});
  }
}

MemoryWindow* SdlScreen::DropTarget() {
  int x = 0;
  int y = 0;
  SDL_GetGlobalMouseState(&x, &y);
  int left = 0;
  int top = 0;
  SDL_GetWindowPosition(window_.get(), &left, &top);
  memory_.SetPointerPosition(x - left, y - top);
  return Target();
}

void SdlScreen::ApplyPointer() {
  const MemoryWindow* window = Target();
  const auto own = pointers_.find(window);
  const bool hasOwn = own != pointers_.end() && own->second != nullptr;
  SDL_SetCursor(hasOwn ? own->second.get() : SDL_GetDefaultCursor());
  SDL_ShowCursor(window == nullptr || window->pointerShown ? SDL_ENABLE : SDL_DISABLE);
}

}  // namespace quillmere
