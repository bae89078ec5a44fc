#include "qmc/diagnostics.h"

#include <algorithm>
#include <utility>

#include "base/messages.h"

namespace quillmere::qmc {
namespace {

/// Blanks up to the column, with the tabs of the line kept so that the caret stands right.
std::string CaretLine(const LinePlace& place) {
  std::string out;
  for (std::size_t i = 0; i + 1 < place.column; ++i) {
    const bool isTab = i < place.text.size() && place.text[i] == '\t';
    out += isTab ? '\t' : ' ';
  }
  return out + '^';
}

std::string Compose(Error code, const ErrorContext& context) {
  std::string message = ComposeErrorMessage(Messages{}, context, static_cast<int>(code));
  std::ranges::replace(message, '\n', ' ');
  return message;
}

}  // namespace

std::string OneLineMessage(Error code, std::string argument) {
  ErrorContext context;
  context.argument = std::move(argument);
  return Compose(code, context);
}

void Diagnostics::Report(Position position, Error code, int index) {
  if (Full()) return;
  ErrorContext context;
  context.index = index;
  list_.push_back({position, code, Compose(code, context)});
}

void Diagnostics::Report(Position position, Error code, std::string argument) {
  if (Full()) return;
  list_.push_back({position, code, OneLineMessage(code, std::move(argument))});
}

std::string Diagnostics::Render(const Sources& sources) const {
  std::vector<Diagnostic> ordered = list_;
  std::ranges::stable_sort(ordered, {}, [](const Diagnostic& fault) {
    return std::pair(fault.position.file, fault.position.offset);
  });
  std::string out;
  for (const Diagnostic& fault : ordered) {
    const LinePlace place = sources.Find(fault.position);
    out += sources.File(fault.position.file).name + ':' + std::to_string(place.line) + ':' +
           std::to_string(place.column) + ": " + fault.message + " (" +
           std::to_string(static_cast<int>(fault.code)) + ")\n  ";
    out += place.text;
    out += "\n  " + CaretLine(place) + '\n';
  }
  return out;
}

}  // namespace quillmere::qmc
