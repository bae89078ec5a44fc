#include "platform/headless/headless_requests.h"

#include "platform/posix/requester_task.h"

namespace quillmere {
namespace {

using Kind = RequesterCall::Kind;

/// One line of a text: line feeds are shown.
std::string OneLine(std::string_view text) {
  std::string line;
  for (const char c : text) {
    if (c == '\n') {
      line += "\\n";
    } else {
      line += c;
    }
  }
  return line;
}

std::string Quoted(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    if (c == '\n') {
      quoted += "\\n";
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

std::string Word(const std::string& text) {
  const bool plain = !text.empty() && text.find_first_of(" \t\n\"\\") == std::string::npos;
  return plain ? text : Quoted(text);
}

bool Fits(const RequesterCall& call, const RequesterAnswer& answer) {
  switch (call.kind) {
    case Kind::File:
    case Kind::Path:
      return !answer.paths.empty();
    case Kind::String:
      return answer.paths.empty();
    case Kind::Choice:
      return answer.paths.empty() && answer.text.empty() &&
             answer.choice < static_cast<int>(call.buttons.size());
  }
  return false;
}

std::string DescribeAnswer(const RequesterCall& call, const RequesterAnswer& answer) {
  if (answer.cancelled) return "cancel";
  switch (call.kind) {
    case Kind::Choice:
      return "choice " + std::to_string(answer.choice);
    case Kind::String:
      return "text " + Quoted(answer.text);
    case Kind::File:
    case Kind::Path:
      break;
  }
  std::string text = "file";
  for (const std::string& path : answer.paths) text += " " + Word(path);
  return text;
}

std::string DescribeBody(const RequesterCall& call) {
  switch (call.kind) {
    case Kind::File:
      return call.pattern + " " + call.defaultText;
    case Kind::Path:
      return call.defaultText;
    case Kind::String:
    case Kind::Choice:
      break;
  }
  return call.body;
}

}  // namespace

RequesterAnswer HeadlessRequests::Answer(const RequesterCall& call) {
  RequesterAnswer answer;
  if (!replies_.empty()) {
    answer = std::move(replies_.front());
    replies_.pop_front();
  }
  if (!answer.cancelled && !Fits(call, answer)) answer = {};
  if (!call.multiSelect && answer.paths.size() > 1) answer.paths.resize(1);
  LimitAnswer(call, answer);
  report_(DescribeRequest(call, answer));
  return answer;
}

std::string DescribeRequest(const RequesterCall& call, const RequesterAnswer& answer) {
  std::string buttons;
  for (const std::string& button : call.buttons) {
    if (!buttons.empty()) buttons += "|";
    buttons += button;
  }
  return "request: " + OneLine(call.title) + ": " + OneLine(DescribeBody(call)) + " [" +
         OneLine(buttons) + "] -> " + DescribeAnswer(call, answer) + "\n";
}

}  // namespace quillmere
