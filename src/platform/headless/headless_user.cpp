#include "platform/headless/headless_user.h"

#include <algorithm>
#include <filesystem>

#include "base/fold.h"
#include "platform/keys.h"

namespace quillmere {
namespace {

constexpr std::uint32_t qualifierBit = 0x80000000;

/// What the control key makes of a character: letters become control characters, of which only
/// that of Ctrl-C is of use. Nothing for a key that is not reported.
std::optional<int> WithControl(std::uint32_t key) {
  if (key >= 0x100) return static_cast<int>(key);
  const unsigned char letter = FoldUpper(static_cast<unsigned char>(key));
  if (letter == 'C') return keyControlC;
  if (letter >= '@' && letter <= '_') return std::nullopt;
  return static_cast<int>(key);
}

}  // namespace

Status HeadlessClipboard::WriteText(std::string_view text) {
  content_ = {.kind = ClipboardContent::Kind::Text, .text = std::string(text), .image = {}};
  hasChanged_ = true;
  return {};
}

Status HeadlessClipboard::WriteImage(const PixelView& image) {
  content_ = {.kind = ClipboardContent::Kind::Image, .text = {}, .image = CopyPixels(image)};
  hasChanged_ = true;
  return {};
}

Status HeadlessClipboard::Watch(std::function<void()> changed) {
  watcher_ = std::move(changed);
  hasChanged_ = false;
  return {};
}

void HeadlessClipboard::TellChanges() {
  if (!hasChanged_) return;
  hasChanged_ = false;
  if (watcher_) watcher_();
}

Result<JoystickState> HeadlessJoysticks::ReadJoystick(int port) {
  if (port < 0 || port >= static_cast<int>(ports_.size())) return Fail(Error::JoystickNotFound);
  const auto& state = ports_[static_cast<std::size_t>(port)];
  if (!state) return Fail(Error::JoystickNotFound);
  return *state;
}

int HeadlessJoysticks::CountJoysticks() {
  return static_cast<int>(
      std::ranges::count_if(ports_, [](const auto& port) { return port.has_value(); }));
}

void HeadlessJoysticks::Set(int port, const JoystickState& state) {
  ports_[static_cast<std::size_t>(port)] = state;
}

std::optional<SysTime> HeadlessUser::NextDue() {
  return next_ < actions_.size() ? std::optional(actions_[next_].at) : std::nullopt;
}

void HeadlessUser::RunTo(SysTime now) {
  while (next_ < actions_.size() && actions_[next_].at <= now) Run(actions_[next_++]);
}

void HeadlessUser::NoteOpened(MemoryWindow& window) {
  const std::uint64_t identity = window.options.identity;
  const auto known = std::ranges::find_if(windows_, [identity](const NumberedWindow& numbered) {
    return identity != 0 && numbered.identity == identity && numbered.window == nullptr;
  });
  if (known != windows_.end()) {
    known->window = &window;
  } else {
    windows_.push_back({identity, &window});
  }
}

void HeadlessUser::NoteClosed(MemoryWindow& window) {
  for (NumberedWindow& numbered : windows_) {
    if (numbered.window == &window) numbered.window = nullptr;
  }
}

int HeadlessUser::NumberOf(const MemoryWindow& window) const {
  const auto found = std::ranges::find(windows_, &window, &NumberedWindow::window);
  return static_cast<int>(found - windows_.begin()) + 1;
}

MemoryWindow* HeadlessUser::WindowOfNumber(int number) const {
  const auto index = static_cast<std::size_t>(number) - 1;
  return index < windows_.size() ? windows_[index].window : nullptr;
}

void HeadlessUser::Run(const UserAction& action) {
  switch (action.verb) {
    case UserVerb::Clipboard:
      (void)clipboard.WriteText(action.texts[0]);
      return;
    case UserVerb::Joy:
      joysticks.Set(action.x, action.joystick);
      return;
    case UserVerb::Break:
      signals_.Raise(Wake::Break);
      return;
    case UserVerb::Screenshot: {
      const PixelImage image = screen_.Compose({0, 0, screen_.Width(), screen_.Height()});
      writeShot_(action.texts[0], {image.pixels.data(), image.width, image.height, image.width});
      return;
    }
    default:
      break;
  }
  if (MemoryWindow* window = WindowOfNumber(action.window)) RunOnWindow(action, *window);
}

void HeadlessUser::RunOnWindow(const UserAction& action, MemoryWindow& window) {
  // An iconified window can only be shown again, and looked at.
  if (window.iconified && action.verb != UserVerb::Restore && action.verb != UserVerb::Shot) return;
  int pointerX = 0;
  int pointerY = 0;
  window.PointerPosition(pointerX, pointerY);
  switch (action.verb) {
    case UserVerb::Key:
      PressKey(action, window);
      break;
    case UserVerb::Move: {
      const Rectangle inner = window.Inner();
      screen_.SetPointerPosition(inner.x + action.x, inner.y + action.y);
      window.Post({.kind = WindowMessageKind::MouseMove, .x = action.x, .y = action.y});
      break;
    }
    case UserVerb::Button:
      window.Post({.kind = WindowMessageKind::MouseButton,
                   .x = pointerX,
                   .y = pointerY,
                   .pressed = action.pressed,
                   .button = action.button,
                   .qualifiers = held_});
      break;
    case UserVerb::Wheel:
      window.Post({.kind = WindowMessageKind::Wheel,
                   .x = pointerX,
                   .y = pointerY,
                   .pressed = action.pressed});
      break;
    case UserVerb::Close:
      if (!window.options.noClose) window.Post({.kind = WindowMessageKind::Close});
      break;
    case UserVerb::MoveTo:
      if (!window.options.fixed) window.MoveByUser(action.x, action.y);
      break;
    case UserVerb::Resize:
      if (window.options.sizeable) window.ResizeByUser(action.x, action.y);
      break;
    case UserVerb::Activate:
      screen_.SetActive(&window);
      break;
    case UserVerb::Deactivate:
      if (screen_.ActiveWindow() == &window) screen_.SetActive(nullptr);
      break;
    case UserVerb::Iconify:
      if (!window.options.noHide) window.Post({.kind = WindowMessageKind::Iconify});
      break;
    case UserVerb::Restore:
      window.Post({.kind = WindowMessageKind::Restore});
      break;
    case UserVerb::Drop: {
      if (!window.dropZone) break;
      WindowMessage message{.kind = WindowMessageKind::Drop, .x = action.x, .y = action.y};
      for (const std::string& path : action.texts) {
        std::error_code failure;
        message.paths.push_back(std::filesystem::absolute(path, failure).string());
      }
      window.Post(std::move(message));
      break;
    }
    case UserVerb::Damage:
      window.Fill(0, 0, window.Geometry().width, window.Geometry().height, 0);
      window.Post({.kind = WindowMessageKind::Refresh});
      break;
    case UserVerb::Shot:
      writeShot_(action.texts[0], window.Picture());
      break;
    default:
      break;
  }
}

void HeadlessUser::PressKey(const UserAction& action, MemoryWindow& window) {
  if ((action.key & qualifierBit) != 0) {
    // Every qualifier has the top bit besides its own.
    const Qualifiers own = action.key & ~qualifierBit;
    const Qualifiers others = held_ & ~qualifierBit & ~own;
    const Qualifiers now = action.pressed ? others | own : others;
    held_ = now == 0 ? 0 : now | qualifierBit;
    return;
  }
  constexpr Qualifiers anyControl = (qualifierLeftControl | qualifierRightControl) & ~qualifierBit;
  std::optional<int> code = static_cast<int>(action.key);
  if ((held_ & anyControl) != 0) code = WithControl(action.key);
  const auto pressed = pressedAs_.find(action.key);
  if (!action.pressed && pressed != pressedAs_.end()) {
    // The release tells of the key that went down, whatever the qualifiers are by now.
    code = pressed->second;
    pressedAs_.erase(pressed);
  }
  if (!code) return;
  if (action.pressed) pressedAs_[action.key] = *code;
  window.Post({.kind = WindowMessageKind::Key,
               .pressed = action.pressed,
               .key = *code,
               .qualifiers = held_});
}

}  // namespace quillmere
