#include "files/applet_parser.h"

#include <algorithm>
#include <bit>
#include <concepts>

namespace quillmere {
namespace {

constexpr std::int64_t magicSize = 4;
// The least that a record of each list takes in the file.
constexpr std::uint32_t leastObjectSize = 33;
constexpr std::uint32_t leastRegionSize = 20;
constexpr std::uint32_t leastLineRangeSize = 13;
constexpr std::uint32_t leastLabelSize = 5;
constexpr std::uint32_t leastLinkedFileSize = 5;

/// Reads the values that sections are made of; each fails with `UnexpectedEndOfFile`.
class Fields {
 public:
  explicit Fields(qmFile& file) : file_(file) {}

  template <std::unsigned_integral T>
  Result<T> Number() {
    const auto value = file_.ReadBig<T>();
    if (!value) return Fail(Error::UnexpectedEndOfFile);
    return *value;
  }
  Result<std::uint8_t> U8() { return Number<std::uint8_t>(); }
  Result<std::uint32_t> U32() { return Number<std::uint32_t>(); }
  Result<std::int32_t> I32() { return static_cast<std::int32_t>(TRY(U32())); }
  Result<std::int32_t> I16() { return static_cast<std::int16_t>(TRY(Number<std::uint16_t>())); }
  Result<double> Float() { return std::bit_cast<double>(TRY(Number<std::uint64_t>())); }

  /// A text up to its zero byte.
  Result<std::string> String() {
    std::string text;
    for (;;) {
      const int byte = file_.ReadByte();
      if (byte < 0) return Fail(Error::UnexpectedEndOfFile);
      if (byte == 0) return text;
      text.push_back(static_cast<char>(byte));
    }
  }

  /// A text of a given length; a zero byte at its end is no part of it.
  Result<std::string> Text(std::uint32_t size) {
    TRY(Has(size, 1));
    std::string text(size, '\0');
    if (!file_.ReadExactly({reinterpret_cast<std::uint8_t*>(text.data()), size})) {
      return Fail(Error::UnexpectedEndOfFile);
    }
    if (text.ends_with('\0')) text.pop_back();
    return text;
  }

  /// A text with a 16-bit length in front.
  Result<std::string> CountedText() {
    const std::uint16_t size = TRY(Number<std::uint16_t>());
    return Text(size);
  }

  /// Bytes with a 32-bit length in front.
  Result<std::vector<std::uint8_t>> Block() {
    const std::uint32_t size = TRY(U32());
    TRY(Has(size, 1));
    std::vector<std::uint8_t> bytes(size);
    if (!file_.ReadExactly(bytes)) return Fail(Error::UnexpectedEndOfFile);
    return bytes;
  }

  /// Whether the file can hold `count` more records of at least `leastSize` bytes.
  Status Has(std::uint32_t count, std::uint32_t leastSize) {
    const auto left = file_.Remaining();
    if (!left || *left / leastSize < count) return Fail(Error::UnexpectedEndOfFile);
    return {};
  }

  /// The count of a list of records.
  Result<std::uint32_t> Count(std::uint32_t leastSize) {
    const std::uint32_t count = TRY(U32());
    TRY(Has(count, leastSize));
    return count;
  }

  void Skip(std::uint32_t size) { file_.SeekFile(size, SeekMode::Current); }
  std::int64_t Position() const { return file_.Position(); }
  void GoTo(std::int64_t position) { file_.SeekFile(position, SeekMode::Start); }

 private:
  qmFile& file_;
};

/// Reads one applet. Each section has a function of its own.
class Parser {
 public:
  Parser(qmFile& file, std::int64_t origin, const std::string& path, qmAppletInfo& info,
         ErrorContext& errors)
      : in_(file), origin_(origin), path_(path), info_(info), errors_(errors) {}

  Status Run() {
    in_.GoTo(origin_ + magicSize);
    for (;;) {
      const std::uint8_t tag = TRY(in_.U8());
      if (tag >= appletTagCount) return Fail(Error::UnknownSection);
      TRY(Section(static_cast<AppletTag>(tag)));
      if (tag == static_cast<std::uint8_t>(AppletTag::Bytecode)) return {};
    }
  }

 private:
  Status Section(AppletTag tag) {
    switch (tag) {
      case AppletTag::Data:
        in_.Skip(TRY(in_.U32()));
        return {};
      case AppletTag::Bytecode:
        info_.bytecode = TRY(in_.Block());
        return {};
      case AppletTag::Objects:
        return Objects();
      case AppletTag::LineTable:
        return LineTable(false);
      case AppletTag::LineTableOfChunks:
        return LineTable(true);
      case AppletTag::Labels:
        return Labels();
      case AppletTag::Version:
        return Version();
      case AppletTag::LinkedFiles:
        return LinkedFiles();
      case AppletTag::UserConstants:
        return UserConstants();
      case AppletTag::LockSettings:
        static_cast<ScreenSettings&>(info_) = ScreenSettings{};
        info_.settingsLocked = true;
        return {};
      case AppletTag::Title:
      case AppletTag::VersionText:
      case AppletTag::Copyright:
      case AppletTag::Author:
      case AppletTag::Description:
        return InfoText(tag);
      case AppletTag::DisplayMode:
      case AppletTag::Backfill:
      case AppletTag::HideTitleBar:
      case AppletTag::ScreenSize:
      case AppletTag::ScreenDepth:
        return ScreenSetting(tag);
      default:
        return DisplaySetting(tag);
    }
  }

  Status Version() {
    info_.version.major = TRY(in_.U8());
    info_.version.minor = TRY(in_.U8());
    if (info_.version <= newestAppletVersion) return {};
    return errors_.Fail(Error::NewerPlayerRequired, std::to_string(info_.version.major) + "." +
                                                        std::to_string(info_.version.minor));
  }

  Status InfoText(AppletTag tag) {
    std::string text = TRY(in_.String());
    switch (tag) {
      case AppletTag::Title:
        info_.title = text.substr(0, appletTitleLimit);
        break;
      case AppletTag::VersionText:
        info_.versionText = std::move(text);
        break;
      case AppletTag::Copyright:
        info_.copyright = std::move(text);
        break;
      case AppletTag::Author:
        info_.author = std::move(text);
        break;
      default:
        info_.description = std::move(text);
    }
    return {};
  }

  /// Whether the command line has left a setting to the applet.
  bool Free(std::uint32_t bit) const { return (info_.overrideMask & bit) == 0; }

  Status ScreenSetting(AppletTag tag) {
    switch (tag) {
      case AppletTag::DisplayMode: {
        const int mode = TRY(in_.U8());
        if (Free(override_bit::displayMode)) info_.displayMode = mode;
        return {};
      }
      case AppletTag::HideTitleBar: {
        const int hide = TRY(in_.U8());
        if (Free(override_bit::titleBar)) info_.hideTitleBar = hide;
        return {};
      }
      case AppletTag::ScreenSize: {
        const std::int32_t width = TRY(in_.I16());
        const std::int32_t height = TRY(in_.I16());
        if (Free(override_bit::screenWidth)) info_.scrWidth = width;
        if (Free(override_bit::screenHeight)) info_.scrHeight = height;
        return {};
      }
      case AppletTag::ScreenDepth: {
        const int depth = TRY(in_.U8());
        if (Free(override_bit::screenDepth)) info_.scrDepth = depth;
        return {};
      }
      default:
        return Backfill();
    }
  }

  Status Backfill() {
    ScreenSettings settings = info_;
    const std::uint8_t kind = TRY(in_.U8());
    settings.backfillMode = static_cast<BackfillKind>(kind);
    switch (settings.backfillMode) {
      case BackfillKind::None:
        break;
      case BackfillKind::Color:
        settings.backfillStart = TRY(in_.U32());
        break;
      case BackfillKind::Gradient:
        settings.backfillStart = TRY(in_.U32());
        settings.backfillEnd = TRY(in_.U32());
        break;
      case BackfillKind::Texture:
        settings.backfillBrush = TRY(in_.I32());
        break;
      case BackfillKind::Picture:
        settings.backfillBrush = TRY(in_.I32());
        settings.pictureX = TRY(in_.I32());
        settings.pictureY = TRY(in_.I32());
        settings.backfillStart = TRY(in_.U32());
        settings.backfillEnd = TRY(in_.U32());
        if (info_.version >= versionOfBackfillScale) settings.pictureScaled = TRY(in_.U8()) != 0;
        settings.backfillFile.clear();
        break;
      default:
        return Fail(Error::UnknownSection);
    }
    if (Free(override_bit::backfill)) static_cast<ScreenSettings&>(info_) = settings;
    return {};
  }

  DisplayDescription& FirstDisplay() {
    const auto found =
        std::ranges::find(info_.preloadList, ObjectKind::Display, &qmPreloadItem::kind);
    if (found != info_.preloadList.end()) return found->display;
    return info_.preloadList.emplace_back(DefaultDisplayItem(info_)).display;
  }

  Status DisplayFlag(std::uint32_t bit) {
    const bool on = TRY(in_.U8()) != 0;
    DisplayDescription& display = FirstDisplay();
    if (on) display.options |= bit;
    display.mask |= bit;
    return {};
  }

  Status DisplaySetting(AppletTag tag) {
    switch (tag) {
      case AppletTag::DisplaySize: {
        const std::int32_t width = TRY(in_.I16());
        const std::int32_t height = TRY(in_.I16());
        FirstDisplay().width = width;
        FirstDisplay().height = height;
        return {};
      }
      case AppletTag::DisplayTitle:
        info_.displayTitle = TRY(in_.CountedText());
        return {};
      case AppletTag::DisplayColor:
        FirstDisplay().fill.color = TRY(in_.U32());
        return {};
      case AppletTag::DisplayPosition: {
        const std::int32_t x = TRY(in_.I32());
        const std::int32_t y = TRY(in_.I32());
        FirstDisplay().x = x;
        FirstDisplay().y = y;
        return {};
      }
      case AppletTag::DisplayDesktop:
        info_.displayDesktop = true;
        return {};
      case AppletTag::Borderless:
        return DisplayFlag(display_option::borderless);
      case AppletTag::Fixed:
        return DisplayFlag(display_option::fixed);
      case AppletTag::Sizeable:
        return DisplayFlag(display_option::sizeable);
      case AppletTag::HidePointer:
        return DisplayFlag(display_option::hidePointer);
      case AppletTag::NoModeSwitch:
        return DisplayFlag(display_option::noModeSwitch);
      case AppletTag::NoHide:
        return DisplayFlag(display_option::noHide);
      case AppletTag::ScaleMode:
        return ScaleMode();
      default:
        return Fail(Error::UnknownSection);
    }
  }

  Status ScaleMode() {
    const bool layerScale = TRY(in_.U8()) != 0;
    const std::int32_t width = TRY(in_.I32());
    const std::int32_t height = TRY(in_.I32());
    const bool smooth = TRY(in_.U8()) != 0;
    DisplayDescription& display = FirstDisplay();
    display.options |= layerScale ? display_option::layerScale : display_option::autoScale;
    if (smooth) display.options |= display_option::smoothScale;
    display.mask |=
        display_option::autoScale | display_option::layerScale | display_option::smoothScale;
    display.scaleWidth = width;
    display.scaleHeight = height;
    return {};
  }

  Status Objects() {
    const std::uint32_t count = TRY(in_.Count(leastObjectSize));
    for (std::uint32_t i = 0; i < count; ++i) info_.preloadList.push_back(TRY(Object()));
    return {};
  }

  Result<qmPreloadItem> Object() {
    qmPreloadItem item;
    const std::uint8_t kind = TRY(in_.U8());
    if (kind >= objectKindCount) return Fail(Error::UnknownSection);
    item.kind = static_cast<ObjectKind>(kind);
    item.id = TRY(in_.I32());
    const std::uint32_t nameOffset = TRY(in_.U32());
    const std::uint32_t nameSize = TRY(in_.U32());
    if (nameSize > 0) item.fileName = TRY(NameAt(nameOffset, nameSize));
    item.linkOffset = TRY(in_.U32());
    item.linkSize = TRY(in_.U32());
    item.arg1 = TRY(in_.I32());
    item.arg2 = TRY(in_.U32());
    item.line = TRY(in_.I32());
    item.container = path_;
    TRY(Attributes(item));
    return item;
  }

  Result<std::string> NameAt(std::uint32_t offset, std::uint32_t size) {
    if (size > objectNameLimit) return Fail(Error::InternalLimit);
    const std::int64_t here = in_.Position();
    in_.GoTo(origin_ + offset);
    std::string name = TRY(in_.Text(size));
    in_.GoTo(here);
    name.resize(std::min(name.find('\0'), name.size()));
    return name;
  }

  Status Attributes(qmPreloadItem& item) {
    switch (item.kind) {
      case ObjectKind::BGPic:
        if (info_.version < versionOfFillStyles) return {};
        item.fill.style = TRY(in_.U8());
        item.fill.color = TRY(in_.U32());
        return RestOfFill(item.fill);
      case ObjectKind::Brush:
        return BrushAttributes(item.geometry);
      case ObjectKind::Anim:
        return AnimAttributes(item.geometry);
      case ObjectKind::Sprite:
        return Frames(item.geometry);
      case ObjectKind::Button:
        for (std::int32_t& value : item.button) value = TRY(in_.I16());
        return {};
      case ObjectKind::Display:
        return Display(item.display);
      default:
        return {};
    }
  }

  /// What follows the colour of a fill.
  Status RestOfFill(FillStyle& fill) {
    fill.gradientEndColor = TRY(in_.U32());
    fill.gradientAngle = TRY(in_.I16());
    fill.textureBrush = TRY(in_.I32());
    fill.textureX = TRY(in_.I32());
    fill.textureY = TRY(in_.I32());
    return {};
  }

  Status BrushAttributes(PictureGeometry& geometry) {
    geometry.width = TRY(in_.I16());
    geometry.height = TRY(in_.I16());
    geometry.x = TRY(in_.I16());
    geometry.y = TRY(in_.I16());
    geometry.globalAlpha = TRY(in_.I16());
    return {};
  }

  Status AnimAttributes(PictureGeometry& geometry) {
    if (info_.version < versionOfAnimFromDisk) return {};
    geometry.fromDisk = TRY(in_.U8()) != 0;
    if (info_.version < versionOfAnimGeometry) return {};
    return Frames(geometry);
  }

  Status Frames(PictureGeometry& geometry) {
    geometry.width = TRY(in_.I16());
    geometry.height = TRY(in_.I16());
    geometry.frames = TRY(in_.I16());
    geometry.framesPerRow = TRY(in_.I16());
    geometry.x = TRY(in_.I16());
    geometry.y = TRY(in_.I16());
    return {};
  }

  Status Display(DisplayDescription& display) {
    display.bgpic = TRY(in_.I32());
    display.x = TRY(in_.I32());
    display.y = TRY(in_.I32());
    display.width = TRY(in_.I32());
    display.height = TRY(in_.I32());
    display.fill.color = TRY(in_.U32());
    display.options = TRY(in_.U32());
    display.mask = TRY(in_.U32());
    display.scaleWidth = TRY(in_.I32());
    display.scaleHeight = TRY(in_.I32());
    TRY(Regions(display.dragRegions));
    TRY(Regions(display.sizeRegions));
    display.title = TRY(in_.CountedText());
    if (info_.version < versionOfFillStyles) return {};
    display.fill.style = TRY(in_.U8());
    return RestOfFill(display.fill);
  }

  Status Regions(std::vector<DisplayRegion>& regions) {
    const std::uint32_t count = TRY(in_.Count(leastRegionSize));
    regions.resize(count);
    for (DisplayRegion& region : regions) {
      region.type = TRY(in_.I32());
      region.x = TRY(in_.I32());
      region.y = TRY(in_.I32());
      region.width = TRY(in_.I32());
      region.height = TRY(in_.I32());
    }
    return {};
  }

  Status LineTable(bool hasChunks) {
    const std::uint32_t count = TRY(in_.Count(leastLineRangeSize + (hasChunks ? 1 : 0)));
    for (std::uint32_t i = 0; i < count; ++i) {
      IncludeRange range;
      range.first = TRY(in_.I32());
      range.last = TRY(in_.I32());
      range.base = TRY(in_.I32());
      range.source = TRY(in_.String());
      if (hasChunks) range.chunk = TRY(in_.String());
      info_.includeRanges.push_back(std::move(range));
    }
    return {};
  }

  Status Labels() {
    const std::uint32_t count = TRY(in_.Count(leastLabelSize));
    info_.labels.clear();
    for (std::uint32_t i = 0; i < count; ++i) {
      AppletLabel label;
      label.position = TRY(in_.U32());
      label.name = TRY(in_.String());
      info_.labels.push_back(std::move(label));
    }
    return {};
  }

  Status LinkedFiles() {
    const std::uint32_t count = TRY(in_.U32());
    TRY(in_.U32());
    TRY(in_.Has(count, leastLinkedFileSize));
    for (std::uint32_t i = 0; i < count; ++i) {
      LinkedFile linked;
      linked.name = TRY(in_.String());
      linked.container = path_;
      const std::uint32_t size = TRY(in_.U32());
      if (size == linkedDataElsewhere) {
        linked.size = TRY(in_.U32());
        linked.offset = TRY(in_.U32());
      } else {
        linked.size = size;
        linked.offset = in_.Position() - origin_;
        in_.Skip(size);
      }
      info_.linkedFiles.push_back(std::move(linked));
    }
    return {};
  }

  Status UserConstants() {
    for (;;) {
      UserConstant constant;
      constant.name = TRY(in_.String());
      if (constant.name.empty()) return {};
      const std::uint8_t first = TRY(in_.U8());
      if (first != 0) {
        constant.text = static_cast<char>(first) + TRY(in_.String());
      } else {
        constant.number = TRY(in_.Float());
      }
      info_.userConstants.push_back(std::move(constant));
    }
  }

  Fields in_;
  std::int64_t origin_;
  const std::string& path_;
  qmAppletInfo& info_;
  ErrorContext& errors_;
};

}  // namespace

Status ParseApplet(qmFile& file, std::int64_t origin, const std::string& path, qmAppletInfo& info,
                   ErrorContext& errors) {
  return Parser(file, origin, path, info, errors).Run();
}

}  // namespace quillmere
