#include "platform/sdl/sdl_requests.h"

#include <SDL.h>

#include "platform/posix/latin1.h"

namespace quillmere {

RequesterAnswer ShowMessageBox(const RequesterCall& call) {
  const int count = static_cast<int>(call.buttons.size());
  std::vector<std::string> labels;
  for (const std::string& button : call.buttons) labels.push_back(Utf8FromLatin1(button));
  std::vector<SDL_MessageBoxButtonData> buttons;
  for (int index = 0; index < count; ++index) {
    const bool isLast = index == count - 1;
    Uint32 flags = 0;
    if (isLast) flags |= SDL_MESSAGEBOX_BUTTON_ESCAPEKEY_DEFAULT;
    if (index == 0) flags |= SDL_MESSAGEBOX_BUTTON_RETURNKEY_DEFAULT;
    const char* label = labels[static_cast<std::size_t>(index)].c_str();
    buttons.push_back({flags, isLast ? 0 : index + 1, label});
  }
  constexpr Uint32 icons[] = {0, SDL_MESSAGEBOX_INFORMATION, SDL_MESSAGEBOX_ERROR,
                              SDL_MESSAGEBOX_WARNING, SDL_MESSAGEBOX_INFORMATION};
  const bool known = call.icon >= 0 && call.icon < static_cast<int>(std::size(icons));
  const std::string title = Utf8FromLatin1(call.title);
  const std::string body = Utf8FromLatin1(call.body);
  const SDL_MessageBoxData box = {
      icons[known ? call.icon : 0] | SDL_MESSAGEBOX_BUTTONS_LEFT_TO_RIGHT,
      nullptr,
      title.c_str(),
      body.c_str(),
      count,
      buttons.data(),
      nullptr};
  RequesterAnswer answer;
  int pressed = 0;
  if (SDL_ShowMessageBox(&box, &pressed) != 0 || pressed < 0) return answer;
  answer.cancelled = false;
  answer.choice = pressed;
  return answer;
}

}  // namespace quillmere
