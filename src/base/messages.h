// The catalogue of texts that the program shows, and the way from an error code to its text.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "base/error.h"

namespace quillmere {

/// Numbers of the texts that the program uses directly.
enum class MessageId : int {
#define M(name, id, text) name = id,
#include "base/message_ids.def"
#undef M
};

inline constexpr int messageCount = 513;

/// The built-in text of a message; ids that are not assigned hold "x", and so do ids outside of
/// 0 to 512.
[[nodiscard]] std::string_view DefaultMessage(int id);

/// The message that belongs to an error code. A code inside the range that has no row names the
/// message "No error occurred!"; a code past the range names "Unknown error code!". The codes whose
/// text is free (1064, 1239) give -1.
[[nodiscard]] int MessageOfError(int code);

/// Finds texts by number, translated when a catalogue is open.
class Messages {
 public:
  /// Looks a text up by number; the second argument is the text to fall back on.
  using Lookup = std::function<std::string(int, std::string_view)>;

  /// Sets where translations come from; an empty function takes them away.
  void SetLookup(Lookup lookup) { lookup_ = std::move(lookup); }

  /// The text of a message in the user's language.
  [[nodiscard]] std::string Get(int id) const;
  [[nodiscard]] std::string Get(MessageId id) const { return Get(static_cast<int>(id)); }

 private:
  Lookup lookup_;
};

/// Composes the text of a failure: the code's message with the error argument or the error index
/// put in. `%s` takes the argument, else `%ld` or `%d` the index. A virtual name of a linked file
/// is shown by its display name, and for messages about pictures, samples and animations only the
/// last part of a path is shown.
[[nodiscard]] std::string ComposeErrorMessage(const Messages& messages, const ErrorContext& context,
                                              int code);

/// Puts texts in for the `%s`, `%d` and `%ld` of a format, in order; `%%` is a percent sign.
/// Arguments that are missing leave nothing.
[[nodiscard]] std::string FormatMessage(std::string_view format,
                                        std::initializer_list<std::string_view> arguments);

}  // namespace quillmere
