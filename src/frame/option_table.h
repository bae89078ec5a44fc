// The switches that the program knows. Every other switch belongs to the script.
#pragma once

#include <cstddef>
#include <string_view>

namespace quillmere {

/// Where an option's value is kept. The video slots, `Reserved51` and `VideoFlag` have no option
/// name, so that no command line sets them.
enum class Slot : std::size_t {
  Window = 1,
  Borderless,
  Sizeable,
  Backfill,
  HideTitleBar,
  Brush,
  StartColor,
  EndColor,
  Depth,
  Compile,
  Quiet,
  PubScreen,
  BrushFile,
  MasterVolume,
  Fixed,
  NoSound,
  ExeType,
  ScalePicture,
  PicXPos,
  PicYPos,
  PicTrans,
  FullScreen,
  Private1,
  Private2,
  UseQuartz,
  NoHide,
  OwnScreen,
  ScrWidth,
  ScrHeight,
  FakeFullScreen,
  HidePointer,
  NoModeSwitch,
  LinkFiles,
  DebugDevice,
  Compress,
  Overwrite,
  AutoScale,
  ScaleWidth,
  ScaleHeight,
  SmoothScale,
  LayerScale,
  UseWpa,
  WpaMode,
  VideoFile,
  VideoRate,
  VideoMode,
  VideoQuality,
  LockSettings,
  LinkFonts,
  Private3,
  Reserved51,
  ScriptAlias,
  Icon16,
  Icon24,
  Icon32,
  Icon48,
  Icon128,
  Icon256,
  Icon512,
  KeepProportions,
  FitScale,
  VideoFlag,
  count
};
static_assert(static_cast<int>(Slot::VideoFlag) == 62);

struct OptionRow {
  std::string_view name;
  Slot slot;
  bool takesArgument;
};

/// The row of an option, found without case; null for switches that the program does not know.
[[nodiscard]] const OptionRow* FindOption(std::string_view name);

}  // namespace quillmere
