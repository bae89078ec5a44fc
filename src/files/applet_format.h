// The byte format of applets, as numbers: what the player reads and the authoring tool writes. All
// numbers of more than one byte are big-endian; strings end with a zero byte unless a length stands
// before them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace quillmere {

/// The first four bytes of an applet: "QMA" and a zero byte.
inline constexpr std::uint32_t appletMagic = 0x514D4100;
/// The first four bytes of an applet that is compressed as a whole: "QMZ" and a zero byte.
inline constexpr std::uint32_t compressedAppletMagic = 0x514D5A00;
/// The first four bytes of a compressed file: "QMPK".
inline constexpr std::uint32_t compressedFileMagic = 0x514D504B;
/// What stands behind the bytecode of a complete applet.
inline constexpr std::array<std::uint8_t, 4> appletTrailer = {0, 'E', 'O', 'F'};

/// A version of the format. It decides which fields are there.
struct AppletVersion {
  int major = 0;
  int minor = 0;

  friend constexpr auto operator<=>(const AppletVersion&, const AppletVersion&) = default;
};

/// The newest version that is read, and the one that is written.
inline constexpr AppletVersion newestAppletVersion{4, 8};
/// From here on an anim record tells whether its frames are loaded from disk.
inline constexpr AppletVersion versionOfAnimFromDisk{3, 0};
/// From here on the backfill picture tells whether it is scaled.
inline constexpr AppletVersion versionOfBackfillScale{3, 2};
/// From here on an anim record has size, frames and position.
inline constexpr AppletVersion versionOfAnimGeometry{4, 1};
/// From here on background pictures and displays have a fill style.
inline constexpr AppletVersion versionOfFillStyles{4, 7};

/// The tag byte of a section.
enum class AppletTag : std::uint8_t {
  Data = 0,                ///< u32 n, n bytes: the data of the objects; skipped
  Bytecode = 1,            ///< u32 n, n bytes: the main chunk; nothing is read behind it
  Objects = 2,             ///< u32 count, object records
  DisplaySize = 3,         ///< i16 width, i16 height
  DisplayTitle = 4,        ///< i16 n, n bytes
  DisplayColor = 5,        ///< u32
  DisplayPosition = 6,     ///< u32 x, u32 y
  DisplayDesktop = 7,      ///< nothing: the first display takes the size of the desktop
  LineTable = 8,           ///< u32 count, records of u32 first, last, base, string source
  Labels = 9,              ///< u32 count, records of u32 position, string name
  Version = 10,            ///< u8 major, u8 minor
  Title = 11,              ///< string of at most 255 characters
  VersionText = 12,        ///< string
  Copyright = 13,          ///< string
  Author = 14,             ///< string
  Description = 15,        ///< string
  DisplayMode = 16,        ///< u8
  Backfill = 17,           ///< u8 kind, fields by kind
  Borderless = 18,         ///< flag
  Fixed = 19,              ///< flag
  Sizeable = 20,           ///< flag
  HideTitleBar = 21,       ///< u8
  ScreenSize = 22,         ///< i16 width, i16 height
  ScreenDepth = 23,        ///< u8
  HidePointer = 24,        ///< flag
  NoModeSwitch = 25,       ///< flag
  LinkedFiles = 26,        ///< u32 count, u32 ignored, linked file records
  LineTableOfChunks = 27,  ///< as LineTable, each record with a string chunk behind it
  ScaleMode = 28,          ///< flag kind, u32 width, u32 height, flag smooth
  LockSettings = 29,       ///< nothing
  NoHide = 30,             ///< flag
  UserConstants = 31       ///< records of string name, value; an empty name ends the list
};
inline constexpr int appletTagCount = 32;

/// The first byte of an object record.
enum class ObjectKind : std::uint8_t {
  BGPic = 0,
  Brush = 1,
  Anim = 2,
  Music = 3,
  Sample = 4,
  Button = 5,
  Key = 6,
  Sprite = 7,
  File = 8,
  Font = 9,
  Display = 10
};
inline constexpr int objectKindCount = 11;

/// Bits of a display's option word, of its mask word, and of the window flags that the command line
/// sets.
namespace display_option {
inline constexpr std::uint32_t borderless = 0x1;
inline constexpr std::uint32_t sizeable = 0x2;
inline constexpr std::uint32_t fixed = 0x4;
inline constexpr std::uint32_t noModeSwitch = 0x8;
inline constexpr std::uint32_t hidePointer = 0x10;
inline constexpr std::uint32_t noHide = 0x20;
inline constexpr std::uint32_t autoScale = 0x40;
inline constexpr std::uint32_t smoothScale = 0x80;
inline constexpr std::uint32_t layerScale = 0x100;
inline constexpr std::uint32_t hasBGPic = 0x200;
inline constexpr std::uint32_t active = 0x400;
inline constexpr std::uint32_t hidden = 0x800;
inline constexpr std::uint32_t layers = 0x1000;
inline constexpr std::uint32_t useQuartz = 0x2000;
inline constexpr std::uint32_t noClose = 0x4000;
inline constexpr std::uint32_t keepProportions = 0x8000;
inline constexpr std::uint32_t fitScale = 0x10000;
}  // namespace display_option

/// Kinds of the backfill section.
enum class BackfillKind : std::uint8_t {
  None = 0,
  Color = 1,     ///< u32 colour
  Gradient = 2,  ///< u32 start colour, u32 end colour
  Texture = 3,   ///< u32 brush
  /// u32 brush, u32 x, u32 y, u32 start colour, u32 end colour, u8 scale flag
  Picture = 4
};

/// Names of linked fonts begin with this.
inline constexpr char linkedFontPrefix[] = "::font:";
/// A linked file record with this size holds the real size and an offset instead of the data.
inline constexpr std::uint32_t linkedDataElsewhere = 0xFFFFFFFF;
/// In the `loadAlpha` field of a font record: the engine in the low bits, and the cache switched
/// off.
inline constexpr std::uint32_t fontEngineMask = 0xFFFF;
inline constexpr std::uint32_t fontCacheOff = 0x10000;
/// The longest title that is kept, in bytes.
inline constexpr std::size_t appletTitleLimit = 255;

/// The block in the player's executable that tells where an appended applet begins: 32 bytes of
/// text, the u32 offset, the eight marker bytes, and a zero byte.
namespace player_marker {
inline constexpr std::size_t size = 45;
inline constexpr std::size_t textSize = 32;
inline constexpr std::size_t offsetAt = 32;
inline constexpr std::size_t keyAt = 36;
inline constexpr std::array<std::uint8_t, 8> key = {0xC0, 0xDE, 0xCA, 0xFE, 0xC0, 0xCA, 0xC0, 0x1A};
/// The offset of a player to which nothing is appended.
inline constexpr std::uint32_t nothingAppended = 0xDEADC0DE;
}  // namespace player_marker

}  // namespace quillmere
