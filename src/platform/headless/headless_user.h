// The user of the headless platform, who does what the input script says.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "platform/clipboard.h"
#include "platform/devices.h"
#include "platform/headless/headless_time.h"
#include "platform/headless/input_script.h"
#include "platform/memory_screen.h"
#include "platform/posix/signal_box.h"

namespace quillmere {

/// The clipboard, which also another program may change.
class HeadlessClipboard final : public PlatformClipboard {
 public:
  Result<ClipboardContent> Read() override { return content_; }
  Status WriteText(std::string_view text) override;
  Status WriteImage(const PixelView& image) override;
  Status Watch(std::function<void()> changed) override;
  /// Tells the watcher of changes since the last call.
  void TellChanges();

 private:
  ClipboardContent content_;
  std::function<void()> watcher_;
  bool hasChanged_ = false;
};

class HeadlessJoysticks final : public PlatformInput {
 public:
  Result<JoystickState> ReadJoystick(int port) override;
  int CountJoysticks() override;
  void Set(int port, const JoystickState& state);

 private:
  std::array<std::optional<JoystickState>, 4> ports_;
};

/// Keeps the numbers of windows and plays the actions when their time has come.
class HeadlessUser final : public TimedSource {
 public:
  using ShotWriter = std::function<void(const std::string& path, const PixelView& picture)>;

  HeadlessUser(std::vector<UserAction> actions, MemoryScreen& screen, SignalBox& signals,
               ShotWriter writeShot)
      : actions_(std::move(actions)),
        screen_(screen),
        signals_(signals),
        writeShot_(std::move(writeShot)) {}

  std::optional<SysTime> NextDue() override;
  void RunTo(SysTime now) override;

  void NoteOpened(MemoryWindow& window);
  void NoteClosed(MemoryWindow& window);
  /// The number of an open window in the order of opening; a window that is opened again keeps it.
  [[nodiscard]] int NumberOf(const MemoryWindow& window) const;
  [[nodiscard]] Qualifiers HeldQualifiers() const { return held_; }

  HeadlessClipboard clipboard;
  HeadlessJoysticks joysticks;

 private:
  struct NumberedWindow {
    std::uint64_t identity = 0;
    MemoryWindow* window = nullptr;
  };

  void Run(const UserAction& action);
  void RunOnWindow(const UserAction& action, MemoryWindow& window);
  void PressKey(const UserAction& action, MemoryWindow& window);
  [[nodiscard]] MemoryWindow* WindowOfNumber(int number) const;

  std::vector<UserAction> actions_;
  std::size_t next_ = 0;
  MemoryScreen& screen_;
  SignalBox& signals_;
  ShotWriter writeShot_;
  std::vector<NumberedWindow> windows_;
  Qualifiers held_ = 0;
  /// The code that each key that is down was reported by.
  std::map<std::uint32_t, int> pressedAs_;
};

}  // namespace quillmere
