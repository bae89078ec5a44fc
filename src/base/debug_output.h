// The debug output: one sink for texts that speak to the author of a script.
#pragma once

#include <functional>
#include <string_view>

namespace quillmere {

/// Writes debug text to whichever sink is set and remembers whether the last text ended its line.
class DebugOutput {
 public:
  using Sink = std::function<void(std::string_view)>;

  /// Replaces the sink. Without one, text goes to standard error.
  void SetSink(Sink sink) { sink_ = std::move(sink); }

  /// Writes a text as it is; no line feed is added.
  void Write(std::string_view text);

  /// False while the last text written did not end in a line feed.
  [[nodiscard]] bool AtLineStart() const { return atLineStart_; }

 private:
  Sink sink_;
  bool atLineStart_ = true;
};

}  // namespace quillmere
