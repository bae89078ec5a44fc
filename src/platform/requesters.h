// Questions to the user.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillmere {

/// One request to the user. It runs on the requester task, so that the main task goes on gathering
/// events; see `PlatformRequesters`.
struct RequesterCall {
  enum class Kind { File, Path, String, Choice } kind = Kind::Choice;
  std::string title{};
  std::string body{};
  /// Choice: the buttons from left to right.
  std::vector<std::string> buttons{};
  /// Choice: 0 none, else information, error, warning, question as the platform's images 1 to 4.
  int icon = 0;
  /// String: the text to start with. File and path: the directory to open in.
  std::string defaultText{};
  /// File: the name to start with.
  std::string fileName{};
  /// File: the pattern as the language forms it, such as "#?(.png|.jpg)"; empty, "*" and "#?" are
  /// every file.
  std::string pattern{};
  bool saveMode = false;
  bool multiSelect = false;
  bool drawersOnly = false;
  /// String: 0 any text, 3 a number.
  int type = 0;
  /// String: the most characters of the answer; 0 for no limit. A longer answer is cut.
  int maxLength = 0;
  /// String: hides what is typed.
  bool password = false;
};

struct RequesterAnswer {
  bool cancelled = true;
  /// Choice: the last button is 0, the others count from 1 on the left.
  int choice = 0;
  std::string text{};
  std::vector<std::string> paths{};
};

class PlatformRequesters {
 public:
  virtual ~PlatformRequesters() = default;
  /// Hands a call to the requester task. Only one may be in flight.
  virtual void Start(RequesterCall call) = 0;
  /// The answer, once it is there.
  virtual std::optional<RequesterAnswer> TakeAnswer() = 0;
};

}  // namespace quillmere
