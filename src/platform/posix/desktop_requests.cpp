#include "platform/posix/desktop_requests.h"

#include <poll.h>
#include <unistd.h>

#include <cstdio>

#include "base/fold.h"
#include "platform/files.h"
#include "platform/posix/latin1.h"
#include "platform/posix/process.h"

namespace quillmere {
namespace {

using Kind = RequesterCall::Kind;

constexpr int promptPollMilliseconds = 100;

/// An underscore in a label marks a key; two of them are one of the text.
std::string Label(const std::string& text) {
  std::string label;
  for (const char c : Utf8FromLatin1(text)) label.append(c == '_' ? 2 : 1, c);
  return label;
}

void AddChoice(const RequesterCall& call, std::vector<std::string>& arguments) {
  constexpr const char* icons[] = {"--question", "--info", "--error", "--warning", "--question"};
  const bool known = call.icon > 0 && call.icon < static_cast<int>(std::size(icons));
  const std::size_t count = call.buttons.size();
  // Only a question has a second button of its own.
  arguments.emplace_back(count < 2 && !known ? "--info"
                         : count < 2         ? icons[call.icon]
                                             : "--question");
  arguments.insert(arguments.end(), {"--no-markup", "--text", Utf8FromLatin1(call.body)});
  constexpr const char* iconNames[] = {"", "dialog-information", "dialog-error", "dialog-warning",
                                       "dialog-question"};
  if (known) arguments.insert(arguments.end(), {"--icon-name", iconNames[call.icon]});
  if (count == 0) return;
  arguments.insert(arguments.end(), {"--ok-label", Label(call.buttons.front())});
  for (std::size_t button = 1; button + 1 < count; ++button) {
    arguments.insert(arguments.end(), {"--extra-button", Label(call.buttons[button])});
  }
  if (count > 1) arguments.insert(arguments.end(), {"--cancel-label", Label(call.buttons.back())});
}

void AddFile(const RequesterCall& call, std::vector<std::string>& arguments) {
  arguments.emplace_back("--file-selection");
  std::string start = call.defaultText;
  if (!start.empty() && !start.ends_with('/')) start += '/';
  arguments.insert(arguments.end(), {"--filename", start + call.fileName});
  if (call.kind == Kind::Path || call.drawersOnly) arguments.emplace_back("--directory");
  if (call.saveMode) arguments.insert(arguments.end(), {"--save", "--confirm-overwrite"});
  if (call.multiSelect) {
    arguments.insert(arguments.end(), {"--multiple", "--separator", "\n"});
  }
  std::string filter;
  for (const std::string& glob : GlobsOfPattern(call.pattern)) filter += " " + glob;
  if (!filter.empty()) {
    arguments.insert(arguments.end(), {"--file-filter", call.pattern + " |" + filter});
  }
}

std::vector<std::string> Lines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    if (end != 0) lines.emplace_back(text.substr(0, end));
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
  }
  return lines;
}

/// Reads a line that the user types; nothing when there is none or the program ends.
std::optional<std::string> ReadLine(const std::stop_token& stop) {
  std::string line;
  pollfd source{STDIN_FILENO, POLLIN, 0};
  while (!stop.stop_requested()) {
    if (poll(&source, 1, promptPollMilliseconds) <= 0) continue;
    char c = 0;
    if (read(STDIN_FILENO, &c, 1) != 1) return std::nullopt;
    if (c == '\n') return line;
    line += c;
  }
  return std::nullopt;
}

RequesterAnswer Prompt(const RequesterCall& call, const std::stop_token& stop) {
  RequesterAnswer answer;
  if (isatty(STDIN_FILENO) == 0) return answer;
  const std::string& about = call.kind == Kind::String ? call.body : call.pattern;
  const std::string& fallback = call.kind == Kind::String ? call.defaultText : call.fileName;
  std::fprintf(stderr, "%s\n%s [%s]: ", Utf8FromLatin1(call.title).c_str(),
               Utf8FromLatin1(about).c_str(), Utf8FromLatin1(fallback).c_str());
  const auto line = ReadLine(stop);
  if (!line) return answer;
  const std::string typed = line->empty() ? fallback : Latin1FromUtf8(*line);
  if (call.kind == Kind::String) {
    answer.text = typed;
    answer.cancelled = false;
  } else if (!typed.empty() || call.kind == Kind::Path) {
    answer.paths.push_back(AddPart(call.defaultText, line->empty() ? fallback : *line));
    answer.cancelled = answer.paths.back().empty();
  }
  return answer;
}

}  // namespace

std::vector<std::string> GlobsOfPattern(std::string_view pattern) {
  if (pattern.empty() || pattern == "*" || pattern == "#?") return {};
  std::vector<std::string> globs;
  const bool isList = pattern.starts_with("#?(") && pattern.ends_with(')');
  std::string_view rest = isList ? pattern.substr(3, pattern.size() - 4) : pattern;
  while (!rest.empty()) {
    const std::size_t end = rest.find('|');
    std::string glob = isList ? "*" : "";
    const std::string_view part = rest.substr(0, end);
    for (std::size_t at = 0; at < part.size(); ++at) {
      const bool isAny = part.substr(at, 2) == "#?";
      glob += isAny ? '*' : part[at];
      if (isAny) ++at;
    }
    globs.push_back(glob);
    if (const std::string upper = FoldUpper(glob); upper != glob) globs.push_back(upper);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  }
  return globs;
}

std::vector<std::string> ZenityArguments(const RequesterCall& call) {
  std::vector<std::string> arguments;
  switch (call.kind) {
    case Kind::Choice:
      AddChoice(call, arguments);
      break;
    case Kind::String:
      arguments = {"--entry", "--text", Label(call.body), "--entry-text",
                   Utf8FromLatin1(call.defaultText)};
      if (call.password) arguments.emplace_back("--hide-text");
      break;
    case Kind::File:
    case Kind::Path:
      AddFile(call, arguments);
      break;
  }
  arguments.insert(arguments.end(), {"--title", Utf8FromLatin1(call.title)});
  return arguments;
}

RequesterAnswer ReadZenityAnswer(const RequesterCall& call, int status, std::string_view output) {
  RequesterAnswer answer;
  while (output.ends_with('\n')) output.remove_suffix(1);
  if (call.kind == Kind::Choice) {
    const std::size_t count = call.buttons.size();
    answer.cancelled = status != 0 && output.empty();
    if (status == 0 && count > 1) answer.choice = 1;
    for (std::size_t button = 1; button + 1 < count && status != 0; ++button) {
      if (output == Label(call.buttons[button]) || output == Utf8FromLatin1(call.buttons[button])) {
        answer.choice = static_cast<int>(button) + 1;
      }
    }
    return answer;
  }
  if (status != 0) return answer;
  answer.cancelled = false;
  if (call.kind == Kind::String) {
    answer.text = Latin1FromUtf8(output);
  } else {
    answer.paths = Lines(output);
    answer.cancelled = answer.paths.empty();
  }
  return answer;
}

RequesterTask::Runner RunDesktopRequest(ChoiceBox showChoice) {
  return
      [showChoice = std::move(showChoice)](const RequesterCall& call, const std::stop_token& stop) {
        if (const auto zenity = FindOnPath("zenity")) {
          std::vector<std::string> arguments = ZenityArguments(call);
          arguments.insert(arguments.begin(), *zenity);
          if (const auto shown = RunProgram(arguments, stop)) {
            return ReadZenityAnswer(call, shown->status, shown->text);
          }
        }
        return call.kind == Kind::Choice ? showChoice(call) : Prompt(call, stop);
      };
}

}  // namespace quillmere
