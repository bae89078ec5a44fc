// What programs leave for one another to paste.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "base/error.h"
#include "platform/picture.h"

namespace quillmere {

/// What the clipboard holds.
struct ClipboardContent {
  enum class Kind { Empty, Text, Image, Unknown } kind = Kind::Empty;
  std::string text{};  ///< Latin-1 or UTF-8, as it was put there
  PixelImage image{};
};

class PlatformClipboard {
 public:
  virtual ~PlatformClipboard() = default;
  virtual Result<ClipboardContent> Read() = 0;
  virtual Status WriteText(std::string_view text) = 0;
  virtual Status WriteImage(const PixelView& image) = 0;
  /// Calls `changed` on the main task, from within the message calls, whenever the clipboard has
  /// changed; an empty function ends it.
  virtual Status Watch(std::function<void()> changed) = 0;
};

}  // namespace quillmere
