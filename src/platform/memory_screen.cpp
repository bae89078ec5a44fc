#include "platform/memory_screen.h"

#include <algorithm>
#include <utility>

#include "platform/clip.h"

namespace quillmere {
namespace {

constexpr std::uint32_t black = 0xFF000000;

bool Contains(const Rectangle& area, int x, int y) {
  return x >= area.x && y >= area.y && x - area.x < area.width && y - area.y < area.height;
}

bool IsWhole(const std::optional<WindowShape>& shape) {
  if (!shape) return true;
  return shape->width >= 0 && shape->height >= 0 &&
         shape->alpha.size() ==
             static_cast<std::size_t>(shape->width) * static_cast<std::size_t>(shape->height);
}

}  // namespace

MemoryWindow::MemoryWindow(MemoryScreen& screen, const WindowOptions& windowOptions)
    : options(windowOptions),
      screen_(screen),
      frame_(screen.Frame(windowOptions.borderless)),
      geometry_{WithinWindowReach(windowOptions.x), WithinWindowReach(windowOptions.y),
                windowOptions.width, windowOptions.height} {
  Resize(geometry_.width, geometry_.height);
  screen_.Add(*this);
}

MemoryWindow::~MemoryWindow() {
  screen_.Remove(*this);
}

Rectangle MemoryWindow::Inner() const {
  return {geometry_.x + frame_.left, geometry_.y + frame_.top, geometry_.width, geometry_.height};
}

PixelView MemoryWindow::Picture() const {
  return {pixels_.data(), geometry_.width, geometry_.height, geometry_.width};
}

void MemoryWindow::Update(const PixelView& source, int sourceX, int sourceY, int x, int y,
                          int width, int height) {
  const ClippedCopy copy =
      ClipCopy(source, sourceX, sourceY, {x, y, width, height}, geometry_.width, geometry_.height);
  const Rectangle& target = copy.target;
  for (int row = 0; row < target.height; ++row) {
    const std::uint32_t* from =
        source.pixels + std::ptrdiff_t{copy.sourceY + row} * source.stride + copy.sourceX;
    std::copy_n(from, target.width,
                pixels_.data() + std::ptrdiff_t{target.y + row} * geometry_.width + target.x);
  }
  const Rectangle inner = Inner();
  screen_.NoteChange({inner.x + target.x, inner.y + target.y, target.width, target.height});
}

void MemoryWindow::Fill(int x, int y, int width, int height, std::uint32_t color) {
  const Rectangle target = ClipRectangle({x, y, width, height}, geometry_.width, geometry_.height);
  for (int row = 0; row < target.height; ++row) {
    std::fill_n(pixels_.data() + std::ptrdiff_t{target.y + row} * geometry_.width + target.x,
                target.width, black | color);
  }
  const Rectangle inner = Inner();
  screen_.NoteChange({inner.x + target.x, inner.y + target.y, target.width, target.height});
}

void MemoryWindow::MoveSize(int x, int y, int width, int height) {
  const Rectangle before = geometry_;
  screen_.NoteChange(Inner());
  geometry_.x = WithinWindowReach(x);
  geometry_.y = WithinWindowReach(y);
  Resize(width, height);
  screen_.NoteChange(Inner());
  if (geometry_.x != before.x || geometry_.y != before.y) {
    Post({.kind = WindowMessageKind::Moved, .x = geometry_.x, .y = geometry_.y, .byUser = false});
  }
  if (geometry_.width != before.width || geometry_.height != before.height) {
    Post({.kind = WindowMessageKind::Resized,
          .x = geometry_.width,
          .y = geometry_.height,
          .byUser = false});
  }
}

void MemoryWindow::MoveByUser(int x, int y) {
  screen_.NoteChange(Inner());
  geometry_.x = WithinWindowReach(x);
  geometry_.y = WithinWindowReach(y);
  screen_.NoteChange(Inner());
  Post({.kind = WindowMessageKind::Moved, .x = geometry_.x, .y = geometry_.y});
}

void MemoryWindow::ResizeByUser(int width, int height) {
  screen_.NoteChange(Inner());
  Resize(width, height);
  screen_.NoteChange(Inner());
  Post({.kind = WindowMessageKind::Resized, .x = geometry_.width, .y = geometry_.height});
}

void MemoryWindow::Resize(int width, int height) {
  const PixelView old = {pixels_.data(), pixels_.empty() ? 0 : geometry_.width,
                         pixels_.empty() ? 0 : geometry_.height, geometry_.width};
  width = std::clamp(width, 1, largestWindowSide);
  height = std::clamp(height, 1, largestWindowSide);
  if (old.width == width && old.height == height) return;
  std::vector<std::uint32_t> fresh(
      static_cast<std::size_t>(width) * static_cast<std::size_t>(height), black);
  for (int row = 0; row < std::min(old.height, height); ++row) {
    std::copy_n(old.pixels + std::ptrdiff_t{row} * old.stride, std::min(old.width, width),
                fresh.data() + std::ptrdiff_t{row} * width);
  }
  pixels_ = std::move(fresh);
  geometry_.width = width;
  geometry_.height = height;
}

void MemoryWindow::Activate() {
  if (!iconified) screen_.SetActive(this);
}

void MemoryWindow::ToFront() {
  screen_.Raise(*this);
}

void MemoryWindow::ToBack() {
  screen_.Lower(*this);
}

void MemoryWindow::Iconify() {
  if (iconified) return;
  iconified = true;
  screen_.NoteChange(Inner());
  if (screen_.ActiveWindow() == this) screen_.ActivateTopmost();
}

void MemoryWindow::Restore() {
  if (!iconified) return;
  iconified = false;
  screen_.NoteChange(Inner());
  screen_.SetActive(this);
}

void MemoryWindow::SetPointer(const PlatformPointer* newPointer) {
  pointer = newPointer;
  if (screen_.hooks().pointerChanged) screen_.hooks().pointerChanged(*this);
}

void MemoryWindow::ShowPointer(bool show) {
  pointerShown = show;
  if (screen_.hooks().pointerChanged) screen_.hooks().pointerChanged(*this);
}

void MemoryWindow::MovePointer(int x, int y) {
  const Rectangle inner = Inner();
  screen_.SetPointerPosition(inner.x + x, inner.y + y);
  if (screen_.hooks().pointerMoved) screen_.hooks().pointerMoved();
  Post({.kind = WindowMessageKind::MouseMove, .x = x, .y = y});
}

void MemoryWindow::PointerPosition(int& x, int& y) {
  const Rectangle inner = Inner();
  x = screen_.PointerX() - inner.x;
  y = screen_.PointerY() - inner.y;
}

void MemoryWindow::SetRegions(std::span<const Rectangle> drag, std::span<const Rectangle> size) {
  dragRegions.assign(drag.begin(), drag.end());
  sizeRegions.assign(size.begin(), size.end());
}

void MemoryWindow::Post(WindowMessage message) {
  message.window = this;
  screen_.Post(std::move(message));
}

bool MemoryWindow::Covers(int screenX, int screenY) const {
  const Rectangle outer = {geometry_.x, geometry_.y, geometry_.width + frame_.left + frame_.right,
                           geometry_.height + frame_.top + frame_.bottom};
  if (iconified || !Contains(outer, screenX, screenY)) return false;
  const Rectangle inner = Inner();
  return !Contains(inner, screenX, screenY) || IsOpaque(screenX - inner.x, screenY - inner.y);
}

bool MemoryWindow::IsOpaque(int x, int y) const {
  if (!options.shape) return true;
  const WindowShape& shape = *options.shape;
  if (x < 0 || y < 0 || x >= shape.width || y >= shape.height) return false;
  return shape.alpha[static_cast<std::size_t>(y) * static_cast<std::size_t>(shape.width) +
                     static_cast<std::size_t>(x)] != 0;
}

MemoryScreen::MemoryScreen(int width, int height, FrameSizes frame, Hooks hooks)
    : width_(width), height_(height), frame_(frame), hooks_(std::move(hooks)) {}

void MemoryScreen::SetSize(int width, int height) {
  width_ = width;
  height_ = height;
  NoteChange({0, 0, width, height});
}

Result<std::unique_ptr<PlatformWindow>> MemoryScreen::Open(const WindowOptions& options) {
  if (options.width < 1 || options.height < 1 || options.width > largestWindowSide ||
      options.height > largestWindowSide || !IsWhole(options.shape)) {
    return Fail(Error::UnableOpenWindow);
  }
  auto window = std::make_unique<MemoryWindow>(*this, options);
  if (hooks_.opened) hooks_.opened(*window);
  NoteChange(window->Inner());
  if (options.active) SetActive(window.get());
  return window;
}

std::optional<WindowMessage> MemoryScreen::NextMessage() {
  if (messages_.empty()) return std::nullopt;
  WindowMessage message = std::move(messages_.front());
  messages_.pop_front();
  return message;
}

void MemoryScreen::Post(WindowMessage message) {
  messages_.push_back(std::move(message));
}

void MemoryScreen::SetActive(MemoryWindow* window) {
  if (active_ == window) return;
  MemoryWindow* old = std::exchange(active_, window);
  if (old != nullptr) old->Post({.kind = WindowMessageKind::Inactive});
  if (window != nullptr) window->Post({.kind = WindowMessageKind::Active});
}

MemoryWindow* MemoryScreen::WindowAt(int x, int y) const {
  const auto found = std::find_if(windows_.rbegin(), windows_.rend(),
                                  [=](const MemoryWindow* window) { return window->Covers(x, y); });
  return found != windows_.rend() ? *found : nullptr;
}

PixelImage MemoryScreen::Compose(const Rectangle& area) const {
  const Rectangle shown = ClipRectangle(area, width_, height_);
  PixelImage image{shown.width, shown.height, {}};
  image.pixels.assign(
      static_cast<std::size_t>(shown.width) * static_cast<std::size_t>(shown.height), black);
  for (const MemoryWindow* window : windows_) {
    if (window->iconified) continue;
    const Rectangle inner = window->Inner();
    const PixelView picture = window->Picture();
    const ClippedCopy copy =
        ClipCopy(picture, 0, 0, {inner.x - shown.x, inner.y - shown.y, inner.width, inner.height},
                 shown.width, shown.height);
    for (int row = 0; row < copy.target.height; ++row) {
      const std::uint32_t* from =
          picture.pixels + std::ptrdiff_t{copy.sourceY + row} * picture.stride + copy.sourceX;
      std::uint32_t* to =
          image.pixels.data() + std::ptrdiff_t{copy.target.y + row} * shown.width + copy.target.x;
      if (!window->options.shape) {
        std::copy_n(from, copy.target.width, to);
        continue;
      }
      for (int x = 0; x < copy.target.width; ++x) {
        if (window->IsOpaque(copy.sourceX + x, copy.sourceY + row)) to[x] = from[x];
      }
    }
  }
  return image;
}

void MemoryScreen::Add(MemoryWindow& window) {
  windows_.push_back(&window);
}

void MemoryScreen::Remove(MemoryWindow& window) {
  if (hooks_.closing) hooks_.closing(window);
  std::erase(windows_, &window);
  NoteChange(window.Inner());
  if (active_ == &window) {
    active_ = nullptr;
    ActivateTopmost();
  }
  std::erase_if(messages_,
                [&window](const WindowMessage& message) { return message.window == &window; });
}

void MemoryScreen::Raise(MemoryWindow& window) {
  std::erase(windows_, &window);
  windows_.push_back(&window);
  NoteChange(window.Inner());
}

void MemoryScreen::Lower(MemoryWindow& window) {
  std::erase(windows_, &window);
  windows_.insert(windows_.begin(), &window);
  NoteChange(window.Inner());
}

void MemoryScreen::ActivateTopmost() {
  const auto shows = [](const MemoryWindow* window) { return !window->iconified; };
  const auto top = std::find_if(windows_.rbegin(), windows_.rend(), shows);
  SetActive(top != windows_.rend() ? *top : nullptr);
}

}  // namespace quillmere
