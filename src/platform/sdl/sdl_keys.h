// From the keys of SDL to the key codes of the language.
#pragma once

#include <SDL.h>

#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/keys.h"

namespace quillmere {

/// One key going down or up.
struct KeyStroke {
  int key = 0;
  bool pressed = false;
  Qualifiers qualifiers = 0;
};

[[nodiscard]] Qualifiers QualifiersOf(int modifiers);

/// Turns key and text events into strokes. What a key prints is told by the text event that follows
/// its press, so a press is held back until the next event has been seen. The release of a key
/// names the code that its press had, whatever other keys have done meanwhile.
class KeyTranslator {
 public:
  void Key(const SDL_KeyboardEvent& event, std::vector<KeyStroke>& strokes);
  void Text(std::string_view utf8, std::vector<KeyStroke>& strokes);
  /// Ends the wait for a text: another event has come, or none is left.
  void Settle(std::vector<KeyStroke>& strokes);

 private:
  void Press(SDL_Scancode scancode, int code, Qualifiers qualifiers,
             std::vector<KeyStroke>& strokes);

  std::optional<SDL_Keysym> waiting_;
  std::map<SDL_Scancode, int> pressedAs_;
};

}  // namespace quillmere
