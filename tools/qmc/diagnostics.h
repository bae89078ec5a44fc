// What is wrong with a script, gathered so that one run of the compiler tells all of it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "qmc/source.h"

namespace quillmere::qmc {

struct Diagnostic {
  Position position;
  Error code = Error::None;
  /// The message with its argument put in, on one line.
  std::string message;
};

class Diagnostics {
 public:
  /// More faults than this are not worth reading.
  static constexpr std::size_t limit = 20;

  void Report(Position position, Error code, std::string argument = {});
  /// The same for a message with a number in it.
  void Report(Position position, Error code, int index);
  [[nodiscard]] bool Empty() const { return list_.empty(); }
  [[nodiscard]] bool Full() const { return list_.size() >= limit; }
  [[nodiscard]] const std::vector<Diagnostic>& List() const { return list_; }

  /// `file:line:column: message (code)`, the line of the script and a caret below the place, for
  /// each fault, in the order of the script.
  [[nodiscard]] std::string Render(const Sources& sources) const;

 private:
  std::vector<Diagnostic> list_;
};

/// The text of an error code on one line, for messages without a place.
[[nodiscard]] std::string OneLineMessage(Error code, std::string argument);

}  // namespace quillmere::qmc
