#include "base/messages.h"

#include <algorithm>
#include <array>

#include "base/names.h"

namespace quillmere {
namespace {

struct CodeRow {
  int code;
  std::string_view text;
};

struct DirectRow {
  int id;
  std::string_view text;
};

constexpr CodeRow codeRows[] = {
#define X(name, code, text) {code, text},
#define FREE(name, code)
#include "base/error_codes.def"
#undef FREE
#undef X
};

constexpr DirectRow directRows[] = {
#define M(name, id, text) {id, text},
#include "base/message_ids.def"
#undef M
};

/// Codes whose row is there but holds no text yet.
constexpr int firstReservedCode = 1405;
constexpr int lastReservedCode = 1426;
constexpr int freeTextId = -1;

struct Catalogue {
  std::array<std::string_view, messageCount> texts{};
  std::array<int, endOfErrorCodes - firstErrorCode> idOfCode{};
};

/// A code's message has the number of the code less 1000, unless a text that the program uses
/// directly sits there; those codes take the numbers behind the last code.
constexpr Catalogue MakeCatalogue() {
  Catalogue catalogue;
  catalogue.texts.fill("x");
  std::array<bool, messageCount> taken{};
  for (const DirectRow& row : directRows) {
    catalogue.texts[static_cast<std::size_t>(row.id)] = row.text;
    taken[static_cast<std::size_t>(row.id)] = true;
  }
  catalogue.idOfCode.fill(static_cast<int>(MessageId::NoError));
  int spare = endOfErrorCodes - firstErrorCode;
  for (const CodeRow& row : codeRows) {
    int id = row.code - firstErrorCode;
    const bool same = catalogue.texts[static_cast<std::size_t>(id)] == row.text;
    if (taken[static_cast<std::size_t>(id)] && !same) id = spare++;
    catalogue.texts[static_cast<std::size_t>(id)] = row.text;
    catalogue.idOfCode[static_cast<std::size_t>(row.code - firstErrorCode)] = id;
  }
  for (int code = firstReservedCode; code <= lastReservedCode; ++code) {
    const int id = code - firstErrorCode;
    catalogue.idOfCode[static_cast<std::size_t>(id)] =
        taken[static_cast<std::size_t>(id)] ? messageCount - 1 : id;
  }
#define X(name, code, text)
#define FREE(name, code) catalogue.idOfCode[code - firstErrorCode] = freeTextId;
#include "base/error_codes.def"
#undef FREE
#undef X
  return catalogue;
}

constexpr Catalogue catalogue = MakeCatalogue();

bool ShowsBaseNameOnly(int code) {
  constexpr int codes[] = {1044, 1045, 1065, 1170, 1356, 1357, 1358, 1403};
  return std::ranges::find(codes, code) != std::end(codes);
}

}  // namespace

std::string_view DefaultMessage(int id) {
  if (id < 0 || id >= messageCount) return "x";
  return catalogue.texts[static_cast<std::size_t>(id)];
}

int MessageOfError(int code) {
  if (code >= endOfErrorCodes) return static_cast<int>(MessageId::UnknownErrorCode);
  if (code < firstErrorCode) return static_cast<int>(MessageId::NoError);
  return catalogue.idOfCode[static_cast<std::size_t>(code - firstErrorCode)];
}

std::string Messages::Get(int id) const {
  const std::string_view text = DefaultMessage(id);
  return lookup_ ? lookup_(id, text) : std::string(text);
}

std::string FormatMessage(std::string_view format,
                          std::initializer_list<std::string_view> arguments) {
  std::string out;
  auto next = arguments.begin();
  for (std::size_t at = 0; at < format.size(); ++at) {
    if (format[at] != '%' || at + 1 == format.size()) {
      out += format[at];
      continue;
    }
    ++at;
    if (format[at] == '%') {
      out += '%';
      continue;
    }
    if (format[at] == 'l' && at + 1 < format.size()) ++at;
    if (next != arguments.end()) out += *next++;
  }
  return out;
}

std::string ComposeErrorMessage(const Messages& messages, const ErrorContext& context, int code) {
  const int id = MessageOfError(code);
  if (id == freeTextId) return context.argument;
  const std::string format = messages.Get(id);
  if (format.find("%s") != std::string::npos) {
    std::string_view argument = context.argument;
    if (argument.starts_with(chunkNamePrefix)) {
      argument = DisplayNameOfChunk(argument);
    } else if (ShowsBaseNameOnly(code)) {
      argument = NamePart(argument);
    }
    return FormatMessage(format, {argument});
  }
  if (format.find("%d") != std::string::npos || format.find("%ld") != std::string::npos) {
    return FormatMessage(format, {std::to_string(context.index)});
  }
  return format;
}

}  // namespace quillmere
