#include "platform/keys.h"

#include <algorithm>

#include "base/fold.h"

namespace quillmere {
namespace {

constexpr std::uint32_t Code(Key key) {
  return static_cast<std::uint32_t>(key);
}

constexpr KeyName keyNames[] = {{"TAB", Code(Key::Tab)},
                                {"RETURN", Code(Key::Return)},
                                {"ENTER", Code(Key::Enter)},
                                {"SPACE", Code(Key::Space)},
                                {"ESC", Code(Key::Esc)},
                                {"UP", Code(Key::Up)},
                                {"DOWN", Code(Key::Down)},
                                {"RIGHT", Code(Key::Right)},
                                {"LEFT", Code(Key::Left)},
                                {"HELP", Code(Key::Help)},
                                {"BACKSPACE", Code(Key::Backspace)},
                                {"DEL", Code(Key::Del)},
                                {"F1", Code(Key::F1)},
                                {"F2", Code(Key::F2)},
                                {"F3", Code(Key::F3)},
                                {"F4", Code(Key::F4)},
                                {"F5", Code(Key::F5)},
                                {"F6", Code(Key::F6)},
                                {"F7", Code(Key::F7)},
                                {"F8", Code(Key::F8)},
                                {"F9", Code(Key::F9)},
                                {"F10", Code(Key::F10)},
                                {"F11", Code(Key::F11)},
                                {"F12", Code(Key::F12)},
                                {"F13", Code(Key::F13)},
                                {"F14", Code(Key::F14)},
                                {"F15", Code(Key::F15)},
                                {"F16", Code(Key::F16)},
                                {"INSERT", Code(Key::Insert)},
                                {"HOME", Code(Key::Home)},
                                {"END", Code(Key::End)},
                                {"PAGEUP", Code(Key::PageUp)},
                                {"PAGEDOWN", Code(Key::PageDown)},
                                {"PRINT", Code(Key::Print)},
                                {"PAUSE", Code(Key::Pause)},
                                {"LSHIFT", qualifierLeftShift},
                                {"RSHIFT", qualifierRightShift},
                                {"LALT", qualifierLeftAlt},
                                {"RALT", qualifierRightAlt},
                                {"LCOMMAND", qualifierLeftCommand},
                                {"RCOMMAND", qualifierRightCommand},
                                {"LCONTROL", qualifierLeftControl},
                                {"RCONTROL", qualifierRightControl}};

}  // namespace

std::span<const KeyName> KeyNames() {
  return keyNames;
}

std::optional<std::uint32_t> FindKeyName(std::string_view name) {
  const auto* found = std::ranges::find_if(
      keyNames, [name](const KeyName& key) { return EqualsFolded(key.name, name); });
  if (found == std::end(keyNames)) return std::nullopt;
  return found->value;
}

}  // namespace quillmere
