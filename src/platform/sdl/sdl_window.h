// Windows of the desktop.
#pragma once

#include <SDL.h>

#include <functional>
#include <memory>
#include <vector>

#include "platform/windows.h"

namespace quillmere {

struct DestroySdlWindow {
  void operator()(SDL_Window* window) const { SDL_DestroyWindow(window); }
};
using SdlWindowHandle = std::unique_ptr<SDL_Window, DestroySdlWindow>;

/// A pointer's image, shared with the windows that show it.
class SdlPointer final : public PlatformPointer {
 public:
  explicit SdlPointer(std::shared_ptr<SDL_Cursor> cursor) : cursor_(std::move(cursor)) {}
  [[nodiscard]] const std::shared_ptr<SDL_Cursor>& Cursor() const { return cursor_; }

 private:
  std::shared_ptr<SDL_Cursor> cursor_;
};

/// Takes a cursor over that SDL has made; null stays null.
[[nodiscard]] std::shared_ptr<SDL_Cursor> ShareCursor(SDL_Cursor* cursor);

/// The surface of a window, with the rectangles that have changed since they were last shown. Many
/// small changes are shown together.
class SdlCanvas {
 public:
  explicit SdlCanvas(SDL_Window* window) : window_(window) {}

  void Update(const PixelView& source, int sourceX, int sourceY, const Rectangle& target);
  void Fill(const Rectangle& target, std::uint32_t color);
  /// Shows what has changed.
  void Show();
  /// Shows everything again.
  void ShowAll();
  /// The window has another size: its surface is a new one, on which nothing is drawn yet.
  void Forget() {
    changed_.clear();
    isDrawn_ = false;
  }
  /// Whether anything has been drawn since the window got its size.
  [[nodiscard]] bool IsDrawn() const { return isDrawn_; }

 private:
  void NoteChange(const Rectangle& area);

  SDL_Window* window_;
  std::vector<SDL_Rect> changed_;
  bool isDrawn_ = false;
};

class SdlWindow;

/// What windows share: where the desktop's part begins that they stand on, and who wants to know
/// of them.
struct SdlDesktop {
  /// The corner of the monitor in the coordinates of SDL.
  int originX = 0;
  int originY = 0;
  FrameSizes frame;
  std::function<void(WindowMessage)> post;
  std::function<void(SdlWindow&)> closing;
};

class SdlWindow final : public PlatformWindow {
 public:
  /// Null when the system does not open it.
  [[nodiscard]] static std::unique_ptr<SdlWindow> Open(const WindowOptions& options,
                                                       SdlDesktop& desktop);
  ~SdlWindow() override;

  void Update(const PixelView& source, int sourceX, int sourceY, int x, int y, int width,
              int height) override;
  void Fill(int x, int y, int width, int height, std::uint32_t color) override;
  void MoveSize(int x, int y, int width, int height) override;
  void SetTitle(std::string_view title) override;
  void SetIcon(const PixelView& image) override;
  void Activate() override;
  void ToFront() override;
  void ToBack() override;
  void Iconify() override;
  void Restore() override;
  void SetPointer(const PlatformPointer* pointer) override;
  void ShowPointer(bool show) override;
  void MovePointer(int x, int y) override;
  void PointerPosition(int& x, int& y) override;
  [[nodiscard]] Rectangle Geometry() const override { return known_; }
  void SetDropZone(bool on) override { dropZone_ = on; }
  void SetRegions(std::span<const Rectangle> drag, std::span<const Rectangle> size) override;

  [[nodiscard]] Uint32 Id() const { return SDL_GetWindowID(window_.get()); }
  [[nodiscard]] bool IsDropZone() const { return dropZone_; }
  [[nodiscard]] SdlCanvas& Canvas() { return canvas_; }
  void Handle(const SDL_WindowEvent& event);
  void Post(WindowMessage message);
  /// Shows the pointer of this window, under which it has come to stand.
  void ApplyPointer() const;

 private:
  SdlWindow(SdlWindowHandle window, const WindowOptions& options, SdlDesktop& desktop);
  /// Moves the outer corner.
  void PlaceAt(int x, int y);
  void NoteGeometry(bool byUser);
  [[nodiscard]] Rectangle ReadGeometry() const;
  [[nodiscard]] SDL_HitTestResult HitTest(const SDL_Point& point) const;

  SdlWindowHandle window_;
  WindowOptions options_;
  SdlDesktop& desktop_;
  SdlCanvas canvas_;
  /// Outer corner and inner size as last told.
  Rectangle known_;
  /// What the program has asked for, until the window has it.
  Rectangle asked_;
  bool iconified_ = false;
  bool dropZone_ = false;
  bool pointerShown_ = true;
  std::shared_ptr<SDL_Cursor> pointer_;
  std::vector<Rectangle> dragRegions_;
  std::vector<Rectangle> sizeRegions_;
};

}  // namespace quillmere
