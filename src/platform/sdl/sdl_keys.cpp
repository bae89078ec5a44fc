#include "platform/sdl/sdl_keys.h"

#include <algorithm>
#include <utility>

#include "base/fold.h"
#include "platform/posix/latin1.h"

namespace quillmere {
namespace {

struct NamedKey {
  SDL_Keycode sdl;
  Key key;
};

constexpr NamedKey namedKeys[] = {{SDLK_UP, Key::Up},
                                  {SDLK_DOWN, Key::Down},
                                  {SDLK_RIGHT, Key::Right},
                                  {SDLK_LEFT, Key::Left},
                                  {SDLK_HELP, Key::Help},
                                  {SDLK_F1, Key::F1},
                                  {SDLK_F2, Key::F2},
                                  {SDLK_F3, Key::F3},
                                  {SDLK_F4, Key::F4},
                                  {SDLK_F5, Key::F5},
                                  {SDLK_F6, Key::F6},
                                  {SDLK_F7, Key::F7},
                                  {SDLK_F8, Key::F8},
                                  {SDLK_F9, Key::F9},
                                  {SDLK_F10, Key::F10},
                                  {SDLK_F11, Key::F11},
                                  {SDLK_F12, Key::F12},
                                  {SDLK_F13, Key::F13},
                                  {SDLK_F14, Key::F14},
                                  {SDLK_F15, Key::F15},
                                  {SDLK_F16, Key::F16},
                                  {SDLK_BACKSPACE, Key::Backspace},
                                  {SDLK_TAB, Key::Tab},
                                  {SDLK_KP_ENTER, Key::Enter},
                                  {SDLK_RETURN, Key::Return},
                                  {SDLK_ESCAPE, Key::Esc},
                                  {SDLK_SPACE, Key::Space},
                                  {SDLK_DELETE, Key::Del},
                                  {SDLK_INSERT, Key::Insert},
                                  {SDLK_HOME, Key::Home},
                                  {SDLK_END, Key::End},
                                  {SDLK_PAGEUP, Key::PageUp},
                                  {SDLK_PAGEDOWN, Key::PageDown},
                                  {SDLK_PRINTSCREEN, Key::Print},
                                  {SDLK_PAUSE, Key::Pause}};

std::optional<int> NamedCode(SDL_Keycode key) {
  const auto* found = std::ranges::find(namedKeys, key, &NamedKey::sdl);
  if (found == std::end(namedKeys)) return std::nullopt;
  return static_cast<int>(found->key);
}

bool Prints(int code) {
  return (code > 0x20 && code < 0x7F) || (code >= 0xA0 && code <= 0xFF);
}

/// What a key without a text stands for while another key makes a command of it; nothing for keys
/// that are not reported.
std::optional<int> CommandCode(const SDL_Keysym& key) {
  const bool control = (key.mod & KMOD_CTRL) != 0;
  if (!control && (key.mod & (KMOD_ALT | KMOD_GUI)) == 0) return std::nullopt;
  if (!Prints(key.sym)) return std::nullopt;
  const bool isLetter = key.sym >= SDLK_a && key.sym <= SDLK_z;
  // Control and a letter make a control character, which prints nothing.
  if (control && isLetter) return key.sym == SDLK_c ? std::optional(keyControlC) : std::nullopt;
  if ((key.mod & KMOD_SHIFT) != 0) return FoldUpper(static_cast<unsigned char>(key.sym));
  return key.sym;
}

}  // namespace

Qualifiers QualifiersOf(int modifiers) {
  constexpr struct {
    int sdl;
    Qualifiers qualifier;
  } bits[] = {{KMOD_LSHIFT, qualifierLeftShift},  {KMOD_RSHIFT, qualifierRightShift},
              {KMOD_LALT, qualifierLeftAlt},      {KMOD_RALT | KMOD_MODE, qualifierRightAlt},
              {KMOD_LGUI, qualifierLeftCommand},  {KMOD_RGUI, qualifierRightCommand},
              {KMOD_LCTRL, qualifierLeftControl}, {KMOD_RCTRL, qualifierRightControl}};
  Qualifiers qualifiers = 0;
  for (const auto& [sdl, qualifier] : bits) {
    if ((modifiers & sdl) != 0) qualifiers |= qualifier;
  }
  return qualifiers;
}

void KeyTranslator::Key(const SDL_KeyboardEvent& event, std::vector<KeyStroke>& strokes) {
  Settle(strokes);
  const SDL_Keysym& key = event.keysym;
  if (event.type == SDL_KEYUP) {
    const auto pressed = pressedAs_.find(key.scancode);
    if (pressed == pressedAs_.end()) return;
    strokes.push_back({pressed->second, false, QualifiersOf(key.mod)});
    pressedAs_.erase(pressed);
  } else if (const auto named = NamedCode(key.sym)) {
    Press(key.scancode, *named, QualifiersOf(key.mod), strokes);
  } else {
    waiting_ = key;
  }
}

void KeyTranslator::Text(std::string_view utf8, std::vector<KeyStroke>& strokes) {
  const std::optional<SDL_Keysym> key = std::exchange(waiting_, std::nullopt);
  while (!utf8.empty()) {
    const int character = TakeUtf8(utf8);
    if (!Prints(character)) continue;
    if (key) {
      Press(key->scancode, character, QualifiersOf(key->mod), strokes);
      return;
    }
    // An input method has made a text of several keys.
    strokes.push_back({character, true, 0});
    strokes.push_back({character, false, 0});
  }
}

void KeyTranslator::Settle(std::vector<KeyStroke>& strokes) {
  const std::optional<SDL_Keysym> key = std::exchange(waiting_, std::nullopt);
  if (!key) return;
  if (const auto code = CommandCode(*key)) {
    Press(key->scancode, *code, QualifiersOf(key->mod), strokes);
  }
}

void KeyTranslator::Press(SDL_Scancode scancode, int code, Qualifiers qualifiers,
                          std::vector<KeyStroke>& strokes) {
  const auto [pressed, isNew] = pressedAs_.try_emplace(scancode, code);
  if (!isNew && pressed->second != code) {
    // A repeated key prints something else now: its first form has to come up.
    strokes.push_back({pressed->second, false, qualifiers});
    pressed->second = code;
  }
  strokes.push_back({code, true, qualifiers});
}

}  // namespace quillmere
