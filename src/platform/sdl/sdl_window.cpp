#include "platform/sdl/sdl_window.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/clip.h"
#include "platform/posix/latin1.h"
#include "platform/sdl/x11_desktop.h"

namespace quillmere {
namespace {

/// More rectangles than this are shown as the box around them.
constexpr std::size_t mostRectangles = 64;

bool Contains(std::span<const Rectangle> regions, const SDL_Point& point) {
  return std::ranges::any_of(regions, [&point](const Rectangle& region) {
    return point.x >= region.x && point.y >= region.y && point.x - region.x < region.width &&
           point.y - region.y < region.height;
  });
}

Uint32 CreationFlags(const WindowOptions& options) {
  Uint32 flags = 0;
  if (options.borderless) flags |= SDL_WINDOW_BORDERLESS;
  if (options.sizeable) flags |= SDL_WINDOW_RESIZABLE;
  if (!options.active) flags |= SDL_WINDOW_HIDDEN;
  return flags;
}

struct FreeSurface {
  void operator()(SDL_Surface* surface) const { SDL_FreeSurface(surface); }
};

bool ApplyShape(SDL_Window* window, const WindowShape& shape) {
  const std::unique_ptr<SDL_Surface, FreeSurface> surface(
      SDL_CreateRGBSurfaceWithFormat(0, shape.width, shape.height, 32, SDL_PIXELFORMAT_ARGB8888));
  if (!surface) return false;
  for (int y = 0; y < shape.height; ++y) {
    auto* row = reinterpret_cast<Uint32*>(static_cast<Uint8*>(surface->pixels) +
                                          std::ptrdiff_t{y} * surface->pitch);
    const std::uint8_t* alpha = shape.alpha.data() + std::ptrdiff_t{y} * shape.width;
    for (int x = 0; x < shape.width; ++x) row[x] = alpha[x] != 0 ? 0xFFFFFFFF : 0;
  }
  SDL_WindowShapeMode mode{};
  mode.mode = ShapeModeBinarizeAlpha;
  mode.parameters.binarizationCutoff = 1;
  return SDL_SetWindowShape(window, surface.get(), &mode) == 0;
}

}  // namespace

std::shared_ptr<SDL_Cursor> ShareCursor(SDL_Cursor* cursor) {
  return {cursor, [](SDL_Cursor* owned) {
            if (owned != nullptr) SDL_FreeCursor(owned);
          }};
}

void SdlCanvas::Update(const PixelView& source, int sourceX, int sourceY, const Rectangle& target) {
  SDL_Surface* surface = SDL_GetWindowSurface(window_);
  if (surface == nullptr) return;
  const ClippedCopy copy = ClipCopy(source, sourceX, sourceY, target, surface->w, surface->h);
  if (copy.target.width == 0) return;
  const std::uint32_t* from =
      source.pixels + std::ptrdiff_t{copy.sourceY} * source.stride + copy.sourceX;
  Uint8* to = static_cast<Uint8*>(surface->pixels) +
              std::ptrdiff_t{copy.target.y} * surface->pitch +
              std::ptrdiff_t{copy.target.x} * surface->format->BytesPerPixel;
  const SDL_PixelFormat& format = *surface->format;
  if (format.BytesPerPixel == 4 && format.Rmask == 0xFF0000 && format.Bmask == 0xFF) {
    for (int row = 0; row < copy.target.height; ++row) {
      std::memcpy(to + std::ptrdiff_t{row} * surface->pitch,
                  from + std::ptrdiff_t{row} * source.stride,
                  static_cast<std::size_t>(copy.target.width) * 4);
    }
  } else {
    SDL_ConvertPixels(copy.target.width, copy.target.height, SDL_PIXELFORMAT_RGB888, from,
                      source.stride * 4, format.format, to, surface->pitch);
  }
  NoteChange(copy.target);
}

void SdlCanvas::Fill(const Rectangle& target, std::uint32_t color) {
  SDL_Surface* surface = SDL_GetWindowSurface(window_);
  if (surface == nullptr) return;
  const Rectangle area = ClipRectangle(target, surface->w, surface->h);
  if (area.width == 0) return;
  const SDL_Rect rectangle = {area.x, area.y, area.width, area.height};
  SDL_FillRect(surface, &rectangle,
               SDL_MapRGB(surface->format, color >> 16 & 0xFF, color >> 8 & 0xFF, color & 0xFF));
  NoteChange(area);
}

void SdlCanvas::NoteChange(const Rectangle& area) {
  isDrawn_ = true;
  SDL_Rect added = {area.x, area.y, area.width, area.height};
  if (changed_.size() >= mostRectangles) {
    for (const SDL_Rect& other : changed_) SDL_UnionRect(&added, &other, &added);
    changed_.clear();
  }
  changed_.push_back(added);
}

void SdlCanvas::Show() {
  if (changed_.empty()) return;
  SDL_UpdateWindowSurfaceRects(window_, changed_.data(), static_cast<int>(changed_.size()));
  changed_.clear();
}

void SdlCanvas::ShowAll() {
  changed_.clear();
  SDL_UpdateWindowSurface(window_);
}

std::unique_ptr<SdlWindow> SdlWindow::Open(const WindowOptions& options, SdlDesktop& desktop) {
  // A new window is placed by its outer corner, later ones are moved by their inner one.
  const int x = WithinWindowReach(options.x) + desktop.originX;
  const int y = WithinWindowReach(options.y) + desktop.originY;
  const std::string title = Utf8FromLatin1(options.title);
  SdlWindowHandle handle;
  if (options.shape) {
    handle.reset(SDL_CreateShapedWindow(
        title.c_str(), static_cast<unsigned>(x), static_cast<unsigned>(y),
        static_cast<unsigned>(options.width), static_cast<unsigned>(options.height), 0));
    if (!handle || !ApplyShape(handle.get(), *options.shape)) return nullptr;
    SDL_SetWindowPosition(handle.get(), x, y);
  } else {
    handle.reset(SDL_CreateWindow(title.c_str(), x, y, options.width, options.height,
                                  CreationFlags(options)));
    if (handle && !options.active) {
      KeepX11WindowInactive(handle.get());
      SDL_ShowWindow(handle.get());
    }
  }
  if (!handle || SDL_GetWindowSurface(handle.get()) == nullptr) return nullptr;
  return std::unique_ptr<SdlWindow>(new SdlWindow(std::move(handle), options, desktop));
}

SdlWindow::SdlWindow(SdlWindowHandle window, const WindowOptions& options, SdlDesktop& desktop)
    : window_(std::move(window)), options_(options), desktop_(desktop), canvas_(window_.get()) {
  options_.shape.reset();
  SetX11WindowFunctions(window_.get(), {.move = !options.fixed,
                                        .resize = options.sizeable,
                                        .minimize = !options.noHide,
                                        .close = !options.noClose});
  if (options.borderless) {
    const auto hitTest = [](SDL_Window*, const SDL_Point* point, void* self) {
      return static_cast<const SdlWindow*>(self)->HitTest(*point);
    };
    SDL_SetWindowHitTest(window_.get(), hitTest, this);
  }
  if (!options.borderless) {
    FrameSizes& frame = desktop_.frame;
    FrameSizes now;
    if (SDL_GetWindowBordersSize(window_.get(), &now.top, &now.left, &now.bottom, &now.right) ==
            0 &&
        now.top > 0) {
      frame = now;
    }
  }
  known_ = ReadGeometry();
  asked_ = {WithinWindowReach(options.x), WithinWindowReach(options.y), known_.width,
            known_.height};
  if (known_.x != asked_.x || known_.y != asked_.y) PlaceAt(asked_.x, asked_.y);
  known_ = ReadGeometry();
}

SdlWindow::~SdlWindow() {
  desktop_.closing(*this);
}

Rectangle SdlWindow::ReadGeometry() const {
  Rectangle now;
  SDL_GetWindowPosition(window_.get(), &now.x, &now.y);
  SDL_GetWindowSize(window_.get(), &now.width, &now.height);
  const FrameSizes frame = options_.borderless ? FrameSizes{} : desktop_.frame;
  now.x -= frame.left + desktop_.originX;
  now.y -= frame.top + desktop_.originY;
  return now;
}

void SdlWindow::PlaceAt(int x, int y) {
  const FrameSizes frame = options_.borderless ? FrameSizes{} : desktop_.frame;
  SDL_SetWindowPosition(window_.get(), x + frame.left + desktop_.originX,
                        y + frame.top + desktop_.originY);
}

void SdlWindow::NoteGeometry(bool byUser) {
  const Rectangle now = ReadGeometry();
  const Rectangle before = std::exchange(known_, now);
  if (now.x != before.x || now.y != before.y) {
    const bool asked = !byUser || (now.x == asked_.x && now.y == asked_.y);
    Post({.kind = WindowMessageKind::Moved, .x = now.x, .y = now.y, .byUser = !asked});
  }
  if (now.width != before.width || now.height != before.height) {
    const bool asked = !byUser || (now.width == asked_.width && now.height == asked_.height);
    canvas_.Forget();
    Post({.kind = WindowMessageKind::Resized, .x = now.width, .y = now.height, .byUser = !asked});
  }
}

void SdlWindow::Update(const PixelView& source, int sourceX, int sourceY, int x, int y, int width,
                       int height) {
  canvas_.Update(source, sourceX, sourceY, {x, y, width, height});
}

void SdlWindow::Fill(int x, int y, int width, int height, std::uint32_t color) {
  canvas_.Fill({x, y, width, height}, color);
}

void SdlWindow::MoveSize(int x, int y, int width, int height) {
  asked_ = {WithinWindowReach(x), WithinWindowReach(y), std::max(width, 1), std::max(height, 1)};
  if (asked_.width != known_.width || asked_.height != known_.height) {
    SDL_SetWindowSize(window_.get(), asked_.width, asked_.height);
  }
  if (asked_.x != known_.x || asked_.y != known_.y) PlaceAt(asked_.x, asked_.y);
  NoteGeometry(false);
}

void SdlWindow::SetTitle(std::string_view title) {
  SDL_SetWindowTitle(window_.get(), Utf8FromLatin1(title).c_str());
}

void SdlWindow::SetIcon(const PixelView& image) {
  // The surface is only read.
  const std::unique_ptr<SDL_Surface, FreeSurface> surface(SDL_CreateRGBSurfaceWithFormatFrom(
      const_cast<std::uint32_t*>(image.pixels), image.width, image.height, 32, image.stride * 4,
      SDL_PIXELFORMAT_ARGB8888));
  if (surface) SDL_SetWindowIcon(window_.get(), surface.get());
}

void SdlWindow::Activate() {
  if (!iconified_) SDL_RaiseWindow(window_.get());
}

void SdlWindow::ToFront() {
  SDL_RaiseWindow(window_.get());
}

void SdlWindow::ToBack() {
  LowerX11Window(window_.get());
}

void SdlWindow::Iconify() {
  if (std::exchange(iconified_, true)) return;
  SDL_MinimizeWindow(window_.get());
}

void SdlWindow::Restore() {
  if (!std::exchange(iconified_, false)) return;
  SDL_RestoreWindow(window_.get());
  SDL_RaiseWindow(window_.get());
}

void SdlWindow::SetPointer(const PlatformPointer* pointer) {
  const auto* own = dynamic_cast<const SdlPointer*>(pointer);
  pointer_ = own != nullptr ? own->Cursor() : nullptr;
  if (SDL_GetMouseFocus() == window_.get()) ApplyPointer();
}

void SdlWindow::ShowPointer(bool show) {
  pointerShown_ = show;
  if (SDL_GetMouseFocus() == window_.get()) ApplyPointer();
}

void SdlWindow::ApplyPointer() const {
  SDL_SetCursor(pointer_ ? pointer_.get() : SDL_GetDefaultCursor());
  SDL_ShowCursor(pointerShown_ ? SDL_ENABLE : SDL_DISABLE);
}

void SdlWindow::MovePointer(int x, int y) {
  SDL_WarpMouseInWindow(window_.get(), x, y);
}

void SdlWindow::PointerPosition(int& x, int& y) {
  SDL_GetGlobalMouseState(&x, &y);
  int left = 0;
  int top = 0;
  SDL_GetWindowPosition(window_.get(), &left, &top);
  x -= left;
  y -= top;
}

void SdlWindow::SetRegions(std::span<const Rectangle> drag, std::span<const Rectangle> size) {
  dragRegions_.assign(drag.begin(), drag.end());
  sizeRegions_.assign(size.begin(), size.end());
}

SDL_HitTestResult SdlWindow::HitTest(const SDL_Point& point) const {
  if (options_.sizeable && Contains(sizeRegions_, point)) return SDL_HITTEST_RESIZE_BOTTOMRIGHT;
  if (!options_.fixed && Contains(dragRegions_, point)) return SDL_HITTEST_DRAGGABLE;
  return SDL_HITTEST_NORMAL;
}

void SdlWindow::Handle(const SDL_WindowEvent& event) {
  switch (event.event) {
    case SDL_WINDOWEVENT_CLOSE:
      if (!options_.noClose) Post({.kind = WindowMessageKind::Close});
      break;
    case SDL_WINDOWEVENT_FOCUS_GAINED:
      Post({.kind = WindowMessageKind::Active});
      break;
    case SDL_WINDOWEVENT_FOCUS_LOST:
      Post({.kind = WindowMessageKind::Inactive});
      break;
    case SDL_WINDOWEVENT_MOVED:
    case SDL_WINDOWEVENT_SIZE_CHANGED:
      NoteGeometry(true);
      break;
    case SDL_WINDOWEVENT_ENTER:
      ApplyPointer();
      break;
    case SDL_WINDOWEVENT_MINIMIZED:
      if (iconified_) break;
      if (options_.noHide) {
        SDL_RestoreWindow(window_.get());
        break;
      }
      iconified_ = true;
      Post({.kind = WindowMessageKind::Iconify});
      break;
    case SDL_WINDOWEVENT_RESTORED:
      if (std::exchange(iconified_, false)) Post({.kind = WindowMessageKind::Restore});
      break;
    case SDL_WINDOWEVENT_EXPOSED:
      if (canvas_.IsDrawn()) {
        canvas_.ShowAll();
      } else {
        Post({.kind = WindowMessageKind::Refresh});
      }
      break;
    default:
      break;
  }
}

void SdlWindow::Post(WindowMessage message) {
  message.window = this;
  desktop_.post(std::move(message));
}

}  // namespace quillmere
