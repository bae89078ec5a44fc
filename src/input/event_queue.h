// The raw events: what happened to a window, in order of arrival, waiting for a sweep. The queue
// has a fixed size and a lock of its own, since other tasks may post; the lock is never held while
// a script function runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/time.h"

namespace quillmere {

struct qmDisplay;

enum class RawEventKind : std::uint32_t {
  LeftMouse = 1,
  RightMouse = 2,
  Key = 3,
  WindowMoved = 4,
  WindowResized = 5,
  WindowInactive = 6,
  CloseGadget = 7,
  WindowActive = 8,
  Hidden = 9,
  Shown = 10,
  WheelUp = 11,
  WheelDown = 12,
  ModeSwitched = 13,
  FilesDropped = 14,
  ClipboardChanged = 15,
  MiddleMouse = 16
};

struct qmRawEvent {
  RawEventKind kind = RawEventKind::Key;
  /// x of mouse events in window pixels; for keys 1 when pressed.
  std::int32_t a = 0;
  /// y of mouse events; for keys the qualifier bits.
  std::int32_t b = 0;
  /// For mouse buttons 1 when pressed; for keys the key code.
  std::int32_t c = 0;
  SysTime stamp{};
  /// Null for an event whose display has gone: it is passed over.
  qmDisplay* display = nullptr;
  /// Paths of dropped files.
  std::vector<std::string> attachment{};
};

class RawEventQueue {
 public:
  static constexpr std::size_t capacity = 256;

  RawEventQueue() { events_.reserve(capacity); }

  /// Appends an event; a full queue drops it. Callable from any task.
  void Post(qmRawEvent event);
  /// Takes the oldest event that still has a display; dead ones in front of it go.
  std::optional<qmRawEvent> Take();
  /// Shows the events to `matches` in their order until it says true; that event and all before it
  /// leave the queue then. The lock is held meanwhile.
  bool DropThrough(const std::function<bool(const qmRawEvent&)>& matches);
  /// Drops every event up to the last one whose age is above `timeout` milliseconds.
  void PurgeStale(SysTime now, std::int64_t timeout);
  /// Empties the queue.
  void Clear();
  /// Makes the events of a display dead.
  void Forget(const qmDisplay& display);
  [[nodiscard]] std::size_t Count() const;

 private:
  mutable std::mutex lock_;
  std::vector<qmRawEvent> events_;
};

/// Milliseconds from `stamp` to `now`, worked out on seconds and microseconds apart: each
/// difference is truncated by itself.
[[nodiscard]] std::int64_t EventAge(SysTime stamp, SysTime now);

}  // namespace quillmere
