// The two blocks that live for a whole run: what the command line decided, and what the applet
// declares. The command line writes into the second block first, so that the applet's reader can
// leave alone what the user has asked for.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "files/applet_format.h"

namespace quillmere {

/// The coordinate that stands for a centred position.
inline constexpr std::int32_t centeredPosition = -100000;

/// A switch that the program does not know and the script may ask for.
struct UserArgument {
  std::string name;
  std::optional<std::string> value;
};

/// What the command line decided.
struct qmCLArgs {
  /// Set by the reader when the file begins with the magic of an applet.
  bool isApplet = false;
  /// The file to run, made absolute by the reader.
  std::string scriptPath;
  /// The path of the running executable.
  std::string selfPath;
  std::string compileTarget;
  std::string videoPath;
  /// Shown instead of `scriptPath` while the script is opened.
  std::string scriptAlias;
  bool quiet = false;
  bool noSound = false;
  std::int32_t masterVolume = 30;
  bool compileRequested = false;
  /// Bits of the kinds of executable.
  std::uint32_t exeTypes = 4;
  bool compress = false;
  bool overwrite = false;
  std::int32_t videoRate = 50;
  /// Bit 0 raw, bit 1 wait, bit 2 verbose.
  std::uint32_t videoMode = 0;
  std::int32_t videoQuality = 90;
  bool videoFlag = false;
  std::vector<UserArgument> userArgs;
  bool lockSettings = false;
  bool slot51Flag = false;
  /// File names for the list of commands, the list of constants, and for the displays.
  std::string privatePath1;
  std::string privatePath2;
  std::string privatePath3;
  /// Where debug output goes; empty is the console.
  std::string debugDevice;
  /// Pictures of 16, 24, 32, 48, 128, 256 and 512 pixels for the icon of a compiled program.
  std::array<std::string, 7> icons;
  /// Names of the files and fonts that a compiled program would hold.
  std::vector<std::string> filesToLink;
  std::vector<std::string> fontsToLink;
};

/// A fill of a background picture or a display.
struct FillStyle {
  std::uint8_t style = 0;
  std::uint32_t color = 0;
  std::uint32_t gradientEndColor = 0;
  std::int32_t gradientAngle = 0;
  std::int32_t textureBrush = 0;
  std::int32_t textureX = 0;
  std::int32_t textureY = 0;
};

/// A part of a borderless window by which the user moves or resizes it.
struct DisplayRegion {
  std::int32_t type = 0;
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

/// A display as the applet describes it. `fill.color` is its colour.
struct DisplayDescription {
  std::string title;
  std::int32_t bgpic = 0;
  std::int32_t x = centeredPosition;
  std::int32_t y = centeredPosition;
  std::int32_t width = 640;
  std::int32_t height = 480;
  /// Bits of `display_option`.
  std::uint32_t options = display_option::active;
  /// The bits of `options` that the applet fixes.
  std::uint32_t mask = 0;
  std::int32_t scaleWidth = 0;
  std::int32_t scaleHeight = 0;
  std::vector<DisplayRegion> dragRegions;
  std::vector<DisplayRegion> sizeRegions;
  FillStyle fill{.style = 1};
};

/// The part of a picture that makes a brush, and the grid of frames that makes an anim or a sprite.
/// -1 is what was not given.
struct PictureGeometry {
  std::int32_t width = -1;
  std::int32_t height = -1;
  std::int32_t frames = -1;
  std::int32_t framesPerRow = -1;
  std::int32_t x = -1;
  std::int32_t y = -1;
  std::int32_t globalAlpha = -1;
  bool fromDisk = false;
};

/// An object to make before the script's first instruction.
struct qmPreloadItem {
  ObjectKind kind = ObjectKind::BGPic;
  std::int32_t id = 0;
  std::string fileName;
  /// Position in the applet, counted from the applet's begin, and size of linked data; size 0 means
  /// that the name is a path.
  std::uint32_t linkOffset = 0;
  std::uint32_t linkSize = 0;
  /// Transparent colour, -1 for none; for fonts the size.
  std::int32_t arg1 = -1;
  /// Whether the alpha channel is loaded; for fonts engine and cache.
  std::uint32_t arg2 = 0;
  /// The line of the declaration, in the compiled numbering.
  std::int32_t line = 0;

  FillStyle fill;               ///< background pictures
  PictureGeometry geometry;     ///< brushes, anims, sprites
  std::int32_t button[4] = {};  ///< buttons
  DisplayDescription display;   ///< displays

  /// A file to take the link from; empty means the applet.
  std::string container;
  /// Joined in front of a file name that has no ":".
  std::string basePath;
  bool quietItem = false;
  /// Set while the items are compared: a later item takes the file's pixels from the cache, or this
  /// one puts them there.
  bool cachedLoad = false;
  bool cache = false;
  bool cacheAlpha = false;
};

/// A stretch of lines that came from one source file.
struct IncludeRange {
  std::int32_t first = 0;
  std::int32_t last = 0;
  /// Lines of the same source that came earlier.
  std::int32_t base = 0;
  /// The source file that users know.
  std::string source;
  /// The chunk whose lines are meant; empty for the main chunk.
  std::string chunk;
};

struct LinkedFile {
  std::string name;
  /// Counted from the applet's begin.
  std::int64_t offset = 0;
  std::int64_t size = 0;
  /// The file that holds the data; empty means the running executable.
  std::string container;
};

/// A label of the main chunk.
struct AppletLabel {
  std::string name;
  std::uint32_t position = 0;
};

struct UserConstant {
  std::string name;
  /// Nothing for a number.
  std::optional<std::string> text;
  double number = 0;
};

/// Bits of `qmAppletInfo::overrideMask`.
namespace override_bit {
inline constexpr std::uint32_t screenWidth = 1;
inline constexpr std::uint32_t screenHeight = 2;
inline constexpr std::uint32_t screenDepth = 4;
inline constexpr std::uint32_t backfill = 8;
inline constexpr std::uint32_t displayMode = 16;
inline constexpr std::uint32_t titleBar = 32;
}  // namespace override_bit

/// The settings of an applet that the command line can set too.
struct ScreenSettings {
  /// Bits of `display_option`.
  std::uint32_t windowFlags = 0;
  std::int32_t scrWidth = -1;
  std::int32_t scrHeight = -1;
  std::int32_t scrDepth = -1;
  /// A negative value is a percentage.
  std::int32_t scaleWidth = 0;
  std::int32_t scaleHeight = 0;
  BackfillKind backfillMode = BackfillKind::None;
  std::int32_t backfillBrush = 0;
  std::uint32_t backfillStart = 0;
  std::uint32_t backfillEnd = 0;
  std::string backfillFile;
  bool pictureScaled = false;
  std::int32_t pictureX = centeredPosition;
  std::int32_t pictureY = centeredPosition;
  std::int32_t pictureTrans = -1;
  /// 1 window, 2 full screen, 5 own screen, 6 fake full screen; 0 is not set.
  std::int32_t displayMode = 0;
  /// -1 is not set.
  std::int32_t hideTitleBar = -1;
  /// Bits of `override_bit`: what the command line has set.
  std::uint32_t overrideMask = 0;
};

/// What the applet declares.
struct qmAppletInfo : ScreenSettings {
  std::vector<std::uint8_t> bytecode;
  std::vector<qmPreloadItem> preloadList;
  std::vector<IncludeRange> includeRanges;
  std::vector<LinkedFile> linkedFiles;
  std::vector<AppletLabel> labels;
  std::vector<UserConstant> userConstants;
  AppletVersion version;
  std::string title;
  std::string versionText;
  std::string copyright;
  std::string author;
  std::string description;
  /// The title of the default display.
  std::string displayTitle = "Quillmere";
  /// The applet's own settings stand; the command line's do not count.
  bool settingsLocked = false;
  /// The first display takes the size of the desktop.
  bool displayDesktop = false;
};

/// The display that is made when an applet describes none.
[[nodiscard]] inline qmPreloadItem DefaultDisplayItem(const qmAppletInfo& applet) {
  qmPreloadItem item;
  item.kind = ObjectKind::Display;
  item.id = 1;
  item.display.title = applet.displayTitle;
  return item;
}

}  // namespace quillmere
