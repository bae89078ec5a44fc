// Notices on an X11 desktop that a program puts something on the clipboard; SDL tells only of the
// end of what this program has put there.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/sdl/x11_connection.h"
#include "platform/task.h"

namespace quillmere {

/// While it lives, a task of its own waits for changes of the clipboard.
class X11ClipboardWatch {
 public:
  /// `changed` is called on the task. Null where the desktop is another one or does not tell.
  [[nodiscard]] static std::unique_ptr<X11ClipboardWatch> Create(std::function<void()> changed);
  ~X11ClipboardWatch();
  X11ClipboardWatch(const X11ClipboardWatch&) = delete;
  X11ClipboardWatch& operator=(const X11ClipboardWatch&) = delete;

 private:
  explicit X11ClipboardWatch(std::function<void()> changed);
  [[nodiscard]] bool AskForNews();
  void Run();

  std::function<void()> changed_;
  /// Belongs to the task as long as that runs.
  X11Connection connection_;
  int stop_;
  std::optional<PlatformTask> task_;
};

}  // namespace quillmere
