// A screen that lies in memory, with windows on it. The headless platform has no other; the sdl
// platform shows one when the program has a screen of its own.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/windows.h"

namespace quillmere {

class MemoryScreen;

/// The longest side of a window's inner area, in pixels.
inline constexpr int largestWindowSide = 32767;

/// A pointer of a picture that lies in memory.
class MemoryPointer final : public PlatformPointer {
 public:
  MemoryPointer(PixelImage picture, int x, int y) : image(std::move(picture)), hotX(x), hotY(y) {}

  PixelImage image;
  int hotX;
  int hotY;
};

/// A window of a `MemoryScreen`, which must outlive it.
class MemoryWindow final : public PlatformWindow {
 public:
  MemoryWindow(MemoryScreen& screen, const WindowOptions& options);
  ~MemoryWindow() override;

  void Update(const PixelView& source, int sourceX, int sourceY, int x, int y, int width,
              int height) override;
  void Fill(int x, int y, int width, int height, std::uint32_t color) override;
  void MoveSize(int x, int y, int width, int height) override;
  void SetTitle(std::string_view title) override { options.title = title; }
  void SetIcon(const PixelView& image) override { icon = CopyPixels(image); }
  void Activate() override;
  void ToFront() override;
  void ToBack() override;
  void Iconify() override;
  void Restore() override;
  void SetPointer(const PlatformPointer* pointer) override;
  void ShowPointer(bool show) override;
  void MovePointer(int x, int y) override;
  void PointerPosition(int& x, int& y) override;
  [[nodiscard]] Rectangle Geometry() const override { return geometry_; }
  void SetDropZone(bool on) override { dropZone = on; }
  void SetRegions(std::span<const Rectangle> drag, std::span<const Rectangle> size) override;

  /// Where the inner area lies on the screen.
  [[nodiscard]] Rectangle Inner() const;
  [[nodiscard]] PixelView Picture() const;
  /// The user moves the window or resizes its inner area.
  void MoveByUser(int x, int y);
  void ResizeByUser(int width, int height);
  /// Posts a message of this window to the screen.
  void Post(WindowMessage message);
  /// Whether a place of the screen belongs to the window, its frame and its shape considered.
  [[nodiscard]] bool Covers(int screenX, int screenY) const;
  /// Whether the inner place is part of the window's shape.
  [[nodiscard]] bool IsOpaque(int x, int y) const;

  WindowOptions options;
  std::vector<Rectangle> dragRegions;
  std::vector<Rectangle> sizeRegions;
  PixelImage icon;
  const PlatformPointer* pointer = nullptr;
  bool pointerShown = true;
  bool iconified = false;
  bool dropZone = false;

 private:
  void Resize(int width, int height);

  MemoryScreen& screen_;
  FrameSizes frame_;
  Rectangle geometry_;
  std::vector<std::uint32_t> pixels_;
};

class MemoryScreen {
 public:
  /// What the owner of the screen wants to know. Unset functions are not called.
  struct Hooks {
    std::function<void(MemoryWindow&)> opened;
    std::function<void(MemoryWindow&)> closing;
    /// A rectangle of the screen looks different now.
    std::function<void(const Rectangle&)> changed;
    /// The window's pointer is another one, or is shown or hidden.
    std::function<void(MemoryWindow&)> pointerChanged;
    /// The program has moved the pointer.
    std::function<void()> pointerMoved;
  };

  /// `frame` is the frame of windows that have a border.
  MemoryScreen(int width, int height, FrameSizes frame, Hooks hooks);

  [[nodiscard]] int Width() const { return width_; }
  [[nodiscard]] int Height() const { return height_; }
  /// Gives the screen another size; windows stay where they are.
  void SetSize(int width, int height);
  [[nodiscard]] FrameSizes Frame(bool borderless) const {
    return borderless ? FrameSizes{} : frame_;
  }
  [[nodiscard]] Result<std::unique_ptr<PlatformWindow>> Open(const WindowOptions& options);

  [[nodiscard]] std::optional<WindowMessage> NextMessage();
  [[nodiscard]] bool HasMessages() const { return !messages_.empty(); }
  void Post(WindowMessage message);

  /// The window that gets the keys, or null.
  [[nodiscard]] MemoryWindow* ActiveWindow() const { return active_; }
  /// Makes a window the active one, null for none, and tells both.
  void SetActive(MemoryWindow* window);
  /// The topmost window that covers a place, or null.
  [[nodiscard]] MemoryWindow* WindowAt(int x, int y) const;
  /// The pictures of the windows as they lie over one another, without frames; black elsewhere.
  [[nodiscard]] PixelImage Compose(const Rectangle& area) const;

  void SetPointerPosition(int x, int y) {
    pointerX_ = x;
    pointerY_ = y;
  }
  [[nodiscard]] int PointerX() const { return pointerX_; }
  [[nodiscard]] int PointerY() const { return pointerY_; }

  // What windows call.
  void Add(MemoryWindow& window);
  void Remove(MemoryWindow& window);
  void Raise(MemoryWindow& window);
  void Lower(MemoryWindow& window);
  /// Gives the active state to the topmost window that shows.
  void ActivateTopmost();
  [[nodiscard]] const Hooks& hooks() const { return hooks_; }
  void NoteChange(const Rectangle& area) const {
    if (hooks_.changed) hooks_.changed(area);
  }

 private:
  int width_;
  int height_;
  FrameSizes frame_;
  Hooks hooks_;
  /// From the bottom to the top.
  std::vector<MemoryWindow*> windows_;
  MemoryWindow* active_ = nullptr;
  std::deque<WindowMessage> messages_;
  int pointerX_ = 0;
  int pointerY_ = 0;
};

}  // namespace quillmere
