#include "platform/sdl/sdl_services.h"

#include <algorithm>
#include <utility>

#include "platform/posix/latin1.h"

namespace quillmere {
namespace {

/// How far a stick has to be moved to point anywhere, of 32767.
constexpr int axisThreshold = 16384;

/// Directions by column (left, middle, right) and row (up, middle, down).
constexpr int directions[3][3] = {{7, 0, 1}, {6, 8, 2}, {5, 4, 3}};

int Side(int value) {
  return value < -axisThreshold ? 0 : value > axisThreshold ? 2 : 1;
}

std::string SystemText() {
  const std::unique_ptr<char, decltype(&SDL_free)> text(SDL_GetClipboardText(), SDL_free);
  return text ? std::string(text.get()) : std::string();
}

}  // namespace

SdlJoysticks::~SdlJoysticks() {
  for (auto& joystick : open_) joystick.reset();
  if (started_) SDL_QuitSubSystem(SDL_INIT_JOYSTICK);
}

bool SdlJoysticks::Start() {
  if (!started_) started_ = SDL_InitSubSystem(SDL_INIT_JOYSTICK) == 0;
  if (started_) SDL_JoystickUpdate();
  return started_;
}

int SdlJoysticks::CountJoysticks() {
  if (!Start()) return 0;
  return std::clamp(SDL_NumJoysticks(), 0, static_cast<int>(portCount));
}

Result<JoystickState> SdlJoysticks::ReadJoystick(int port) {
  if (!Start()) return errors_.Fail(Error::CannotOpen, "lowlevel.library");
  if (port < 0 || port >= CountJoysticks()) return Fail(Error::JoystickNotFound);
  auto& joystick = open_[static_cast<std::size_t>(port)];
  if (!joystick || SDL_JoystickGetAttached(joystick.get()) == SDL_FALSE) {
    joystick.reset(SDL_JoystickOpen(port));
  }
  if (!joystick) return Fail(Error::JoystickNotFound);
  int column = Side(SDL_JoystickGetAxis(joystick.get(), 0));
  int row = Side(SDL_JoystickGetAxis(joystick.get(), 1));
  if (SDL_JoystickNumHats(joystick.get()) > 0) {
    const Uint8 hat = SDL_JoystickGetHat(joystick.get(), 0);
    if ((hat & (SDL_HAT_LEFT | SDL_HAT_RIGHT)) != 0) column = (hat & SDL_HAT_LEFT) != 0 ? 0 : 2;
    if ((hat & (SDL_HAT_UP | SDL_HAT_DOWN)) != 0) row = (hat & SDL_HAT_UP) != 0 ? 0 : 2;
  }
  JoystickState state{directions[row][column], 0};
  const int buttons = std::min(SDL_JoystickNumButtons(joystick.get()), 32);
  for (int button = 0; button < buttons; ++button) {
    if (SDL_JoystickGetButton(joystick.get(), button) != 0) state.buttons |= 1U << button;
  }
  return state;
}

Result<ClipboardContent> SdlClipboard::Read() {
  using Kind = ClipboardContent::Kind;
  std::string text = SystemText();
  if (image_ && text == textBesideImage_) return ClipboardContent{Kind::Image, {}, *image_};
  image_.reset();
  if (text.empty()) return ClipboardContent{};
  return ClipboardContent{Kind::Text, Latin1FromUtf8(text), {}};
}

Status SdlClipboard::WriteText(std::string_view text) {
  image_.reset();
  if (SDL_SetClipboardText(Utf8FromLatin1(text).c_str()) != 0) {
    return Fail(Error::ErrorWritingClipboard);
  }
  return {};
}

Status SdlClipboard::WriteImage(const PixelView& image) {
  textBesideImage_ = SystemText();
  image_ = CopyPixels(image);
  hasChanged_ = true;
  return {};
}

Status SdlClipboard::Watch(std::function<void()> changed) {
  watcher_ = std::move(changed);
  hasChanged_ = false;
  if (!watcher_) {
    x11Watch_.reset();
  } else if (!x11Watch_) {
    x11Watch_ = X11ClipboardWatch::Create([this] {
      hasChanged_ = true;
      signals_.Raise(Wake::Event);
    });
  }
  return {};
}

void SdlClipboard::NoteChange() {
  if (!x11Watch_) hasChanged_ = true;
}

void SdlClipboard::TellChanges() {
  if (hasChanged_.exchange(false) && watcher_) watcher_();
}

}  // namespace quillmere
