#include "frame/command_line.h"

#include <algorithm>
#include <charconv>

#include "base/fold.h"
#include "files/files_state.h"
#include "frame/request.h"
#include "platform/platform.h"

namespace quillmere {
namespace {

struct Word {
  std::string_view name;
  std::uint32_t value;
};

constexpr Word executableTypes[] = {
    {"CLASSIC", 1},   {"MORPHOS", 2},  {"WARPOS", 8},   {"AMIGAOS4", 4},  {"AROS", 0x10},
    {"APPLET", 0x20}, {"WIN32", 0x40}, {"LINUX", 0x80}, {"MACOS", 0x100}, {"MACOS86", 0x200}};

constexpr Word backfillWords[] = {
    {"COLOR", 1}, {"RAINBOW", 2}, {"GRADIENT", 2}, {"TEXTURE", 3}, {"PICTURE", 4}};

constexpr std::uint32_t videoRaw = 1;
constexpr std::uint32_t videoWait = 2;
constexpr std::uint32_t videoVerbose = 4;
constexpr Word videoWords[] = {{"RAW", videoRaw}, {"WAIT", videoWait}, {"VERBOSE", videoVerbose}};

struct FlagOption {
  Slot slot;
  std::uint32_t bit;
};

constexpr FlagOption windowFlagOptions[] = {
    {Slot::Borderless, display_option::borderless},
    {Slot::Sizeable, display_option::sizeable},
    {Slot::Fixed, display_option::fixed},
    {Slot::NoHide, display_option::noHide},
    {Slot::HidePointer, display_option::hidePointer},
    {Slot::NoModeSwitch, display_option::noModeSwitch},
    {Slot::UseQuartz, display_option::useQuartz},
    {Slot::KeepProportions, display_option::keepProportions},
    {Slot::FitScale, display_option::fitScale}};

// Display modes as `CreateDisplay` and the applet know them.
constexpr std::int32_t windowMode = 1;
constexpr std::int32_t fullScreenMode = 2;
constexpr std::int32_t ownScreenMode = 5;
constexpr std::int32_t fakeFullScreenMode = 6;

std::optional<std::uint32_t> FindWord(std::span<const Word> words, std::string_view name) {
  const auto found = std::ranges::find_if(
      words, [name](const Word& word) { return EqualsFolded(word.name, name); });
  if (found == words.end()) return std::nullopt;
  return found->value;
}

/// The pieces of a list that is joined by "+".
std::vector<std::string_view> SplitAtPlus(std::string_view list) {
  std::vector<std::string_view> pieces;
  for (;;) {
    const std::size_t plus = list.find('+');
    pieces.push_back(list.substr(0, plus));
    if (plus == std::string_view::npos) return pieces;
    list.remove_prefix(plus + 1);
  }
}

std::int32_t DecimalOf(std::string_view text) {
  std::int32_t value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

/// The lines of a file that name something.
Result<std::vector<std::string>> ReadNames(Host& host, const std::string& path) {
  const std::vector<std::uint8_t> bytes = TRY(ReadWholeFile(host, path));
  std::vector<std::string> names;
  std::string name;
  for (const std::uint8_t byte : bytes) {
    if (byte == '\n') {
      if (!name.empty()) names.push_back(std::move(name));
      name.clear();
    } else if (byte != '\r') {
      name.push_back(static_cast<char>(byte));
    }
  }
  if (!name.empty()) names.push_back(std::move(name));
  return names;
}

/// Weighs the options group by group, in the order in which the first fault is to be found.
class Evaluation {
 public:
  Evaluation(Host& host, const ArgumentLine& line, bool appletIsAppended)
      : host_(host),
        line_(line),
        appletIsAppended_(appletIsAppended),
        clargs_(host.Of<FilesState>().clargs),
        applet_(host.Of<FilesState>().applet) {}

  Status Run() {
    TRY(Files());
    PixelWriting();
    WindowFlags();
    TRY(ScaleKinds());
    TRY(Video());
    TRY(ScaleSizes());
    TRY(Screen());
    TRY(Backfill());
    TRY(SoundAndScreenName());
    TRY(ExecutableTypes());
    TRY(Texts());
    TRY(FullScreens());
    if (appletIsAppended_) clargs_.quiet = true;
    return {};
  }

 private:
  static std::unexpected<Error> Wrong() { return Fail(Error::WrongArguments); }

  std::string TextOf(Slot slot) const { return line_[slot].value_or(std::string()); }

  /// Reads a number option, when it is there.
  template <class T>
  Status Number(Slot slot, T& value) {
    if (const auto& text = line_[slot])
      value = static_cast<T>(TRY(ParseNumberArgument(*text)).value);
    return {};
  }

  void SetDisplayMode(std::int32_t mode) {
    applet_.displayMode = mode;
    applet_.overrideMask |= override_bit::displayMode;
  }

  Status Files() {
    clargs_.userArgs = line_.userArgs;
    if (line_.fileName) {
      clargs_.scriptPath = *line_.fileName;
      clargs_.compileTarget = TextOf(Slot::Compile);
    } else if (!appletIsAppended_) {
      return Fail(Error::UserAbort);
    }
    if (appletIsAppended_) clargs_.scriptPath = clargs_.selfPath;
    return {};
  }

  void PixelWriting() {
    if (!line_.Has(Slot::UseWpa)) return;
    const auto& mode = line_[Slot::WpaMode];
    host_.Of<Platform>().windows().ChoosePixelWriting(mode ? DecimalOf(*mode) : 1);
  }

  void WindowFlags() {
    clargs_.compileRequested = line_.Has(Slot::Compile);
    if (line_.Has(Slot::Window)) SetDisplayMode(windowMode);
    if (line_.Has(Slot::HideTitleBar)) {
      applet_.hideTitleBar = 1;
      applet_.overrideMask |= override_bit::titleBar;
    }
    for (const FlagOption& option : windowFlagOptions) {
      if (line_.Has(option.slot)) applet_.windowFlags |= option.bit;
    }
  }

  Status ScaleKinds() {
    if (line_.Has(Slot::AutoScale) && line_.Has(Slot::LayerScale)) return Wrong();
    if (line_.Has(Slot::AutoScale)) applet_.windowFlags |= display_option::autoScale;
    if (line_.Has(Slot::LayerScale)) applet_.windowFlags |= display_option::layerScale;
    clargs_.overwrite = line_.Has(Slot::Overwrite);
    clargs_.lockSettings = line_.Has(Slot::LockSettings);
    clargs_.slot51Flag = line_.Has(Slot::Reserved51);
    return {};
  }

  bool Scales() const {
    return (applet_.windowFlags & (display_option::autoScale | display_option::layerScale)) != 0;
  }

  Status Video() {
    const auto& target = line_[Slot::VideoFile];
    if (!target) return {};
    if (clargs_.compileRequested) return Wrong();
    TRY(MakeVideoFile(*target));
    if (!Scales()) applet_.windowFlags |= display_option::autoScale;
    if (const auto& rate = line_[Slot::VideoRate]) clargs_.videoRate = DecimalOf(*rate);
    if (const auto& quality = line_[Slot::VideoQuality]) clargs_.videoQuality = DecimalOf(*quality);
    clargs_.videoFlag = line_.Has(Slot::VideoFlag);
    return VideoMode();
  }

  Status MakeVideoFile(const std::string& target) {
    if (!clargs_.overwrite && LockName(host_, target)) {
      const std::string body =
          FormatMessage(host_.messages.Get(MessageId::AlreadyExists), {target});
      const int answer = ShowRequest(
          host_, body, {host_.messages.Get(MessageId::Yes), host_.messages.Get(MessageId::No)});
      if (answer == 0) return Fail(Error::UserAbort);
    }
    if (!OpenFile(host_, target, OpenMode::Write)) {
      return host_.errors.Fail(Error::CannotWriteFile, target);
    }
    clargs_.videoPath = target;
    if (const auto lock = LockName(host_, target)) {
      clargs_.videoPath = FullPathOfName(host_, *lock);
    }
    return {};
  }

  Status VideoMode() {
    std::uint32_t mode = 0;
    if (const auto& list = line_[Slot::VideoMode]) {
      for (const std::string_view name : SplitAtPlus(*list)) {
        const auto word = FindWord(videoWords, name);
        if (!word) return Fail(Error::UnknownVideoStrategy);
        const bool clashes =
            (*word == videoRaw && mode != 0) || (*word == videoWait && (mode & videoRaw) != 0);
        if (clashes) return Fail(Error::InvalidVideoStrategy);
        mode |= *word;
      }
    }
    if ((mode & (videoRaw | videoWait)) == 0) mode |= videoWait;
    clargs_.videoMode = mode;
    return {};
  }

  /// A size in pixels, or negated as a percentage.
  Status ScaleSize(Slot slot, std::int32_t& size) {
    const auto& text = line_[slot];
    if (!text) return {};
    const NumberArgument number = TRY(ParseNumberArgument(*text));
    const bool isPercentage = number.rest.starts_with('%');
    size = isPercentage ? static_cast<std::int32_t>(-std::int64_t{number.value}) : number.value;
    return {};
  }

  Status ScaleSizes() {
    if (!Scales()) return {};
    if (line_.Has(Slot::SmoothScale)) applet_.windowFlags |= display_option::smoothScale;
    TRY(ScaleSize(Slot::ScaleWidth, applet_.scaleWidth));
    return ScaleSize(Slot::ScaleHeight, applet_.scaleHeight);
  }

  Status ScreenNumber(Slot slot, std::int32_t& value, std::uint32_t bit) {
    if (line_.Has(slot)) applet_.overrideMask |= bit;
    return Number(slot, value);
  }

  Status Screen() {
    if (line_.Has(Slot::OwnScreen)) {
      if (line_.Has(Slot::FullScreen) || line_.Has(Slot::FakeFullScreen)) return Wrong();
      SetDisplayMode(ownScreenMode);
    }
    TRY(ScreenNumber(Slot::Depth, applet_.scrDepth, override_bit::screenDepth));
    TRY(ScreenNumber(Slot::ScrWidth, applet_.scrWidth, override_bit::screenWidth));
    return ScreenNumber(Slot::ScrHeight, applet_.scrHeight, override_bit::screenHeight);
  }

  Status CheckBackfill(BackfillKind kind) const {
    const bool hasBrush = line_.Has(Slot::Brush);
    const bool hasFile = line_.Has(Slot::BrushFile);
    const bool hasStart = line_.Has(Slot::StartColor);
    const bool needsPicture = kind == BackfillKind::Texture || kind == BackfillKind::Picture;
    const bool wrong =
        (hasBrush && hasFile) || (kind == BackfillKind::Color && !hasStart) ||
        (kind == BackfillKind::Gradient && (!hasStart || !line_.Has(Slot::EndColor))) ||
        (needsPicture && !hasBrush && !hasFile);
    if (wrong) return Fail(Error::WrongBackfill);
    return {};
  }

  Status Backfill() {
    const auto& name = line_[Slot::Backfill];
    if (!name) return {};
    const auto word = FindWord(backfillWords, *name);
    if (!word) return Fail(Error::WrongBackfill);
    const auto kind = static_cast<BackfillKind>(*word);
    TRY(CheckBackfill(kind));
    applet_.backfillMode = kind;
    applet_.overrideMask |= override_bit::backfill;
    TRY(Number(Slot::Brush, applet_.backfillBrush));
    applet_.backfillFile = TextOf(Slot::BrushFile);
    TRY(Number(Slot::StartColor, applet_.backfillStart));
    TRY(Number(Slot::EndColor, applet_.backfillEnd));
    applet_.pictureScaled = line_.Has(Slot::ScalePicture);
    TRY(Number(Slot::PicXPos, applet_.pictureX));
    TRY(Number(Slot::PicYPos, applet_.pictureY));
    return Number(Slot::PicTrans, applet_.pictureTrans);
  }

  Status SoundAndScreenName() {
    clargs_.quiet = line_.Has(Slot::Quiet);
    if (const auto& screen = line_[Slot::PubScreen]) {
      TRY(host_.Of<Platform>().windows().UsePublicScreen(*screen));
      SetDisplayMode(windowMode);
    }
    TRY(Number(Slot::MasterVolume, clargs_.masterVolume));
    clargs_.noSound = line_.Has(Slot::NoSound);
    return {};
  }

  Status ExecutableTypes() {
    const auto& list = line_[Slot::ExeType];
    if (!list) return {};
    std::uint32_t types = 0;
    for (const std::string_view name : SplitAtPlus(*list)) {
      const auto type = FindWord(executableTypes, name);
      if (!type) return Fail(Error::UnknownExecutableType);
      types |= *type;
    }
    clargs_.exeTypes = types;
    return {};
  }

  Status Texts() {
    clargs_.privatePath1 = TextOf(Slot::Private1);
    clargs_.privatePath2 = TextOf(Slot::Private2);
    clargs_.privatePath3 = TextOf(Slot::Private3);
    clargs_.scriptAlias = TextOf(Slot::ScriptAlias);
    if (clargs_.compileRequested) {
      if (const auto& list = line_[Slot::LinkFiles]) {
        clargs_.filesToLink = TRY(ReadNames(host_, *list));
      }
      if (const auto& list = line_[Slot::LinkFonts]) {
        clargs_.fontsToLink = TRY(ReadNames(host_, *list));
      }
    }
    if (const auto& device = line_[Slot::DebugDevice]) SetDebugDevice(host_, *device);
    clargs_.compress = line_.Has(Slot::Compress);
    for (std::size_t i = 0; i < clargs_.icons.size(); ++i) {
      clargs_.icons[i] = TextOf(static_cast<Slot>(static_cast<std::size_t>(Slot::Icon16) + i));
    }
    return {};
  }

  Status FullScreens() {
    if (line_.Has(Slot::FakeFullScreen)) {
      if (line_.Has(Slot::OwnScreen) || line_.Has(Slot::FullScreen)) return Wrong();
      SetDisplayMode(fakeFullScreenMode);
    } else if (line_.Has(Slot::FullScreen)) {
      if (line_.Has(Slot::OwnScreen)) return Wrong();
      SetDisplayMode(fullScreenMode);
    }
    return {};
  }

  Host& host_;
  const ArgumentLine& line_;
  bool appletIsAppended_;
  qmCLArgs& clargs_;
  qmAppletInfo& applet_;
};

}  // namespace

Status EvaluateCommandLine(Host& host, const ArgumentLine& line, bool appletIsAppended) {
  return Evaluation(host, line, appletIsAppended).Run();
}

void SetDebugDevice(Host& host, std::string device) {
  host.Of<FilesState>().clargs.debugDevice = device;
  host.debug.SetSink([&host, device = std::move(device)](std::string_view text) {
    host.Of<Platform>().locale().WriteDebug(device, text);
  });
}

}  // namespace quillmere
