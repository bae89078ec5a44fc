#include "platform/headless/input_script.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <ranges>

#include "base/names.h"
#include "platform/keys.h"
#include "platform/posix/latin1.h"
#include "platform/settings.h"

namespace quillmere {
namespace {

using std::chrono::milliseconds;

/// A fault in a line; the text is shown to the user.
using Fault = std::unexpected<std::string>;
using Checked = std::expected<void, std::string>;

constexpr milliseconds pressTime(1);

std::expected<std::vector<std::string>, std::string> SplitWords(std::string_view line) {
  std::vector<std::string> words;
  const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  std::size_t at = 0;
  while (at < line.size()) {
    if (isBlank(line[at])) {
      ++at;
      continue;
    }
    std::string& word = words.emplace_back();
    if (line[at] != '"') {
      while (at < line.size() && !isBlank(line[at])) word.push_back(line[at++]);
      continue;
    }
    for (++at; at < line.size() && line[at] != '"'; ++at) {
      if (line[at] != '\\') {
        word.push_back(line[at]);
        continue;
      }
      const char escaped = ++at < line.size() ? line[at] : '\0';
      if (escaped != '"' && escaped != '\\' && escaped != 'n') {
        return Fault("unknown escape in a quoted argument");
      }
      word.push_back(escaped == 'n' ? '\n' : escaped);
    }
    if (at == line.size()) return Fault("the quoted argument has no end");
    if (++at < line.size() && !isBlank(line[at])) return Fault("a blank is missing behind a quote");
  }
  return words;
}

std::optional<int> ParseInt(std::string_view word) {
  int number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
  if (number < -largestScriptNumber || number > largestScriptNumber) return std::nullopt;
  return number;
}

/// The code of a single character: named keys stand for the blank and the line feed.
std::uint32_t KeyOfCharacter(char character) {
  if (character == ' ') return static_cast<std::uint32_t>(Key::Space);
  if (character == '\n') return static_cast<std::uint32_t>(Key::Return);
  return static_cast<unsigned char>(character);
}

/// Reads the lines of one script, one after the other.
class Parser {
 public:
  Checked ReadLine(std::string_view line);
  InputScript Finish() &&;

 private:
  using Reader = Checked (Parser::*)();
  struct Verb {
    std::string_view name;
    std::size_t least;
    std::size_t most;
    Reader read;
  };
  static const Verb verbs[];

  Checked ReadWindow();
  Checked ReadKey();
  Checked ReadText();
  Checked ReadMove();
  Checked ReadButton();
  Checked ReadWheel();
  Checked ReadMoveTo();
  Checked ReadResize();
  Checked ReadDrop();
  Checked ReadClipboard();
  Checked ReadJoy();
  Checked ReadReply();
  Checked ReadShot();
  Checked ReadScreenshot();
  template <UserVerb verb>
  Checked ReadPlain() {
    Add(verb);
    return {};
  }

  UserAction& Add(UserVerb verb, milliseconds later = milliseconds(0));
  void AddPress(std::uint32_t key, milliseconds later);
  /// The number in a word; the bounds are part of what may stand there.
  std::expected<int, std::string> Number(std::size_t word, int least, int most);
  Checked ReadPoint(UserVerb verb, int least);
  Checked ReadPicture(UserVerb verb);

  InputScript script_;
  milliseconds now_{};
  int window_ = 1;
  /// The arguments of the line being read.
  std::vector<std::string> words_;
};

constexpr std::size_t anyNumber = 100'000;

const Parser::Verb Parser::verbs[] = {
    {"window", 1, 1, &Parser::ReadWindow},
    {"key", 1, 2, &Parser::ReadKey},
    {"text", 1, 1, &Parser::ReadText},
    {"move", 2, 2, &Parser::ReadMove},
    {"button", 1, 2, &Parser::ReadButton},
    {"wheel", 1, 1, &Parser::ReadWheel},
    {"close", 0, 0, &Parser::ReadPlain<UserVerb::Close>},
    {"moveto", 2, 2, &Parser::ReadMoveTo},
    {"resize", 2, 2, &Parser::ReadResize},
    {"activate", 0, 0, &Parser::ReadPlain<UserVerb::Activate>},
    {"deactivate", 0, 0, &Parser::ReadPlain<UserVerb::Deactivate>},
    {"iconify", 0, 0, &Parser::ReadPlain<UserVerb::Iconify>},
    {"restore", 0, 0, &Parser::ReadPlain<UserVerb::Restore>},
    {"drop", 3, anyNumber, &Parser::ReadDrop},
    {"clipboard", 1, 1, &Parser::ReadClipboard},
    {"joy", 3, 3, &Parser::ReadJoy},
    {"damage", 0, 0, &Parser::ReadPlain<UserVerb::Damage>},
    {"break", 0, 0, &Parser::ReadPlain<UserVerb::Break>},
    {"reply", 1, anyNumber, &Parser::ReadReply},
    {"shot", 1, 1, &Parser::ReadShot},
    {"screenshot", 1, 1, &Parser::ReadScreenshot},
};

Checked Parser::ReadLine(std::string_view line) {
  if (line.starts_with('#')) return {};
  auto words = SplitWords(line);
  if (!words) return Fault(words.error());
  if (words->empty()) return {};
  const auto time = ParseInt(words->front());
  if (!time || *time < 0) return Fault("the time \"" + words->front() + "\" is no number");
  if (milliseconds(*time) < now_) return Fault("the time falls");
  now_ = milliseconds(*time);
  if (words->size() < 2) return Fault("the verb is missing");
  const std::string name = (*words)[1];
  const auto* verb = std::ranges::find(verbs, name, &Verb::name);
  if (verb == std::end(verbs)) return Fault("unknown verb \"" + name + "\"");
  words_.assign(words->begin() + 2, words->end());
  if (words_.size() < verb->least) return Fault("\"" + name + "\" needs more arguments");
  if (words_.size() > verb->most) return Fault("\"" + name + "\" has too many arguments");
  return (this->*verb->read)();
}

InputScript Parser::Finish() && {
  std::ranges::stable_sort(script_.actions, {}, &UserAction::at);
  return std::move(script_);
}

UserAction& Parser::Add(UserVerb verb, milliseconds later) {
  UserAction action;
  action.at = now_ + later;
  action.window = window_;
  action.verb = verb;
  return script_.actions.emplace_back(std::move(action));
}

void Parser::AddPress(std::uint32_t key, milliseconds later) {
  for (const bool pressed : {true, false}) {
    UserAction& action = Add(UserVerb::Key, pressed ? later : later + pressTime);
    action.key = key;
    action.pressed = pressed;
  }
}

std::expected<int, std::string> Parser::Number(std::size_t word, int least, int most) {
  const auto number = ParseInt(words_[word]);
  if (!number) return Fault("\"" + words_[word] + "\" is no number");
  if (*number < least || *number > most)
    return Fault("the number " + words_[word] + " is out of range");
  return *number;
}

Checked Parser::ReadWindow() {
  const auto number = Number(0, 1, largestScriptNumber);
  if (!number) return Fault(number.error());
  window_ = *number;
  return {};
}

Checked Parser::ReadKey() {
  const std::string_view how = words_.size() > 1 ? std::string_view(words_[1]) : "press";
  if (how != "down" && how != "up" && how != "press") return Fault("a key goes down, up or press");
  const std::string character = Latin1FromUtf8(words_[0]);
  std::uint32_t key = 0;
  if (character.size() == 1) {
    key = KeyOfCharacter(character[0]);
  } else if (const auto named = FindKeyName(words_[0])) {
    key = *named;
  } else {
    return Fault("unknown key \"" + words_[0] + "\"");
  }
  if (how == "press") {
    AddPress(key, milliseconds(0));
  } else {
    UserAction& action = Add(UserVerb::Key);
    action.key = key;
    action.pressed = how == "down";
  }
  return {};
}

Checked Parser::ReadText() {
  milliseconds later(0);
  for (const char character : Latin1FromUtf8(words_[0])) {
    AddPress(KeyOfCharacter(character), later);
    later += pressTime;
  }
  return {};
}

Checked Parser::ReadPoint(UserVerb verb, int least) {
  const auto x = Number(0, least, largestScriptNumber);
  const auto y = Number(1, least, largestScriptNumber);
  if (!x) return Fault(x.error());
  if (!y) return Fault(y.error());
  UserAction& action = Add(verb);
  action.x = *x;
  action.y = *y;
  return {};
}

Checked Parser::ReadMove() {
  return ReadPoint(UserVerb::Move, -largestScriptNumber);
}

Checked Parser::ReadMoveTo() {
  return ReadPoint(UserVerb::MoveTo, -largestScriptNumber);
}

Checked Parser::ReadResize() {
  for (std::size_t word : {0U, 1U}) {
    if (const auto side = Number(word, 1, largestScreenSide); !side) return Fault(side.error());
  }
  return ReadPoint(UserVerb::Resize, 1);
}

Checked Parser::ReadButton() {
  constexpr std::string_view names[] = {"left", "right", "middle"};
  const auto* name = std::ranges::find(names, words_[0]);
  if (name == std::end(names)) return Fault("a button is left, right or middle");
  const std::string_view how = words_.size() > 1 ? std::string_view(words_[1]) : "click";
  if (how != "down" && how != "up" && how != "click") {
    return Fault("a button goes down, up or click");
  }
  const auto add = [&](bool pressed, milliseconds later) {
    UserAction& action = Add(UserVerb::Button, later);
    action.button = static_cast<MouseButton>(name - std::begin(names));
    action.pressed = pressed;
  };
  if (how != "up") add(true, milliseconds(0));
  if (how != "down") add(false, how == "click" ? pressTime : milliseconds(0));
  return {};
}

Checked Parser::ReadWheel() {
  if (words_[0] != "up" && words_[0] != "down") return Fault("the wheel goes up or down");
  Add(UserVerb::Wheel).pressed = words_[0] == "up";
  return {};
}

Checked Parser::ReadDrop() {
  const Checked read = ReadPoint(UserVerb::Drop, -largestScriptNumber);
  if (read) script_.actions.back().texts.assign(words_.begin() + 2, words_.end());
  return read;
}

Checked Parser::ReadClipboard() {
  Add(UserVerb::Clipboard).texts = {Latin1FromUtf8(words_[0])};
  return {};
}

Checked Parser::ReadJoy() {
  const auto port = Number(0, 0, 3);
  const auto direction = Number(1, 0, 8);
  const auto buttons = Number(2, 0, largestScriptNumber);
  if (!port) return Fault(port.error());
  if (!direction) return Fault(direction.error());
  if (!buttons) return Fault(buttons.error());
  UserAction& action = Add(UserVerb::Joy);
  action.x = *port;
  action.joystick = {*direction, static_cast<std::uint32_t>(*buttons)};
  return {};
}

Checked Parser::ReadReply() {
  RequesterAnswer answer;
  answer.cancelled = false;
  const std::string kind = words_[0];
  const std::size_t arguments = words_.size() - 1;
  if (kind == "cancel" && arguments == 0) {
    answer.cancelled = true;
  } else if (kind == "choice" && arguments == 1) {
    const auto choice = Number(1, 0, largestScriptNumber);
    if (!choice) return Fault(choice.error());
    answer.choice = *choice;
  } else if (kind == "text" && arguments == 1) {
    answer.text = Latin1FromUtf8(words_[1]);
  } else if (kind == "file" && arguments >= 1) {
    answer.paths.assign(words_.begin() + 1, words_.end());
  } else {
    return Fault("a reply is cancel, choice NUMBER, text STRING or file PATH");
  }
  script_.replies.push_back(std::move(answer));
  return {};
}

Checked Parser::ReadPicture(UserVerb verb) {
  if (!words_[0].ends_with(".png")) return Fault("a picture's name ends in .png");
  Add(verb).texts = {words_[0]};
  return {};
}

Checked Parser::ReadShot() {
  return ReadPicture(UserVerb::Shot);
}

Checked Parser::ReadScreenshot() {
  return ReadPicture(UserVerb::Screenshot);
}

}  // namespace

std::expected<InputScript, std::string> ParseInputScript(std::string_view text,
                                                         std::string_view fileName) {
  Parser parser;
  int lineNumber = 0;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    ++lineNumber;
    if (const Checked read = parser.ReadLine(text.substr(0, end)); !read) {
      return Fault(std::string(fileName) + ":" + std::to_string(lineNumber) + ": " + read.error());
    }
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
  }
  return std::move(parser).Finish();
}

}  // namespace quillmere
