#include "platform/headless/headless_platform.h"

#include <cstdio>

#include "base/fold.h"
#include "platform/headless/headless_requests.h"
#include "platform/headless/headless_time.h"
#include "platform/headless/headless_user.h"
#include "platform/memory_screen.h"
#include "platform/pointer_image.h"
#include "platform/posix/platform_base.h"
#include "platform/posix/png_file.h"

namespace quillmere {
namespace {

constexpr FrameSizes windowFrame{.left = 4, .top = 24, .right = 4, .bottom = 4};

void ReportToStandardError(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
}

class HeadlessWindows final : public PlatformWindows {
 public:
  HeadlessWindows(ErrorContext& errors, const HeadlessSettings& settings, SignalBox& signals)
      : errors_(errors),
        settings_(settings),
        screen_(settings.screenWidth, settings.screenHeight, windowFrame,
                {.opened = [this](MemoryWindow& window) { user_.NoteOpened(window); },
                 .closing = [this](MemoryWindow& window) { NoteClosing(window); },
                 .changed = {},
                 .pointerChanged = {},
                 .pointerMoved = {}}),
        user_(settings.input.actions, screen_, signals,
              [this](const std::string& path, const PixelView& picture) {
                WriteShot(path, picture);
              }) {}

  [[nodiscard]] HeadlessUser& user() { return user_; }
  [[nodiscard]] bool HasMessages() const { return screen_.HasMessages(); }
  /// Sets what has to happen before messages are looked at.
  void SetTime(HeadlessTime& time) { time_ = &time; }

  DesktopInfo GetDesktopInfo() override {
    const int width = screen_.Width();
    const int height = screen_.Height();
    return {.width = width,
            .height = height,
            .titleBarHeight = windowFrame.top,
            .usable = {0, 0, width, height}};
  }

  FrameSizes GetFrameSizes(bool borderless) override { return screen_.Frame(borderless); }

  Result<std::unique_ptr<PlatformWindow>> OpenPlatformWindow(
      const WindowOptions& options) override {
    return screen_.Open(options);
  }

  Status OpenPlatformScreen(int width, int height, int depth) override {
    const bool fits = width >= 1 && height >= 1 && width <= settings_.screenWidth &&
                      height <= settings_.screenHeight && depth == 32;
    if (!fits) {
      return errors_.Fail(Error::ScreenSizeUnsupported,
                          FormatMessage("%dx%dx%d", {std::to_string(width), std::to_string(height),
                                                     std::to_string(depth)}));
    }
    screen_.SetSize(width, height);
    return {};
  }

  void ClosePlatformScreen() override {
    screen_.SetSize(settings_.screenWidth, settings_.screenHeight);
  }

  Status UsePublicScreen(std::string_view name) override {
    if (EqualsFolded(name, "workbench")) return {};
    return errors_.Fail(Error::PublicScreenNotFound, std::string(name));
  }

  void ChoosePixelWriting(int /*mode*/) override {}

  Result<std::unique_ptr<PlatformPointer>> MakePointer(const PixelView& image, int hotX,
                                                       int hotY) override {
    return MakePointerImage(image, hotX, hotY);
  }

  std::unique_ptr<PlatformPointer> BusyPointer() override {
    return std::make_unique<MemoryPointer>(PixelImage{}, 0, 0);
  }

  std::optional<PixelImage> GrabScreen(const Rectangle& area) override {
    return screen_.Compose(area);
  }

  std::optional<WindowMessage> GetNextWindowMessage() override {
    time_->RunSources();
    user_.clipboard.TellChanges();
    return screen_.NextMessage();
  }

  Qualifiers GetQualifiers() override { return user_.HeldQualifiers(); }

 private:
  void NoteClosing(MemoryWindow& window) {
    if (user_.NumberOf(window) == 1 && !settings_.shotFile.empty()) {
      WriteShot(settings_.shotFile, window.Picture());
    }
    user_.NoteClosed(window);
  }

  void WriteShot(const std::string& path, const PixelView& picture) {
    if (WritePng(path, picture)) return;
    settings_.report("cannot write the picture " + path + "\n");
  }

  ErrorContext& errors_;
  const HeadlessSettings& settings_;
  MemoryScreen screen_;
  HeadlessUser user_;
  HeadlessTime* time_ = nullptr;
};

class HeadlessPlatform final : public PlatformBase {
 public:
  HeadlessPlatform(Host& host, HeadlessSettings settings)
      : PlatformBase(host),
        settings_(std::move(settings)),
        requests_(settings_.input.replies, settings_.report),
        time_(settings_.virtualClock, signals_),
        windows_(host.errors, settings_, signals_) {
    windows_.SetTime(time_);
    time_.AddSource(windows_.user());
    time_.SetInputTest([this] { return windows_.HasMessages(); });
    time_.SetBusyTest([this] { return requesters_ && requesters_->IsRunning(); });
  }

  ~HeadlessPlatform() override { EndRequesters(); }

  Status OpenAll() {
    OpeningActions actions =
        CommonActions([this](const RequesterCall& call, const std::stop_token&) {
          return requests_.Answer(call);
        });
    actions["wait task"] = [this] { return time_.StartWaitTask(); };
    return Open(actions, settings_.missingStep);
  }

  PlatformTime& time() override { return time_; }
  PlatformWaiting& waiting() override { return time_; }
  PlatformWindows& windows() override { return windows_; }
  PlatformInput& input() override { return windows_.user().joysticks; }
  PlatformClipboard& clipboard() override { return windows_.user().clipboard; }

 private:
  HeadlessSettings settings_;
  HeadlessRequests requests_;
  HeadlessTime time_;
  HeadlessWindows windows_;
};

}  // namespace

Result<std::unique_ptr<Platform>> OpenHeadlessPlatform(Host& host, HeadlessSettings settings) {
  if (!settings.report) settings.report = ReportToStandardError;
  auto platform = std::make_unique<HeadlessPlatform>(host, std::move(settings));
  TRY(platform->OpenAll());
  return platform;
}

}  // namespace quillmere
