#include "frame/option_table.h"

#include <algorithm>

#include "base/fold.h"

namespace quillmere {
namespace {

constexpr OptionRow optionTable[] = {
    {"WINDOW", Slot::Window, false},
    {"BORDERLESS", Slot::Borderless, false},
    {"SIZEABLE", Slot::Sizeable, false},
    {"BACKFILL", Slot::Backfill, true},
    {"HIDETITLEBAR", Slot::HideTitleBar, false},
    {"BRUSH", Slot::Brush, true},
    {"STARTCOLOR", Slot::StartColor, true},
    {"ENDCOLOR", Slot::EndColor, true},
    {"DEPTH", Slot::Depth, true},
    {"COMPILE", Slot::Compile, true},
    {"QUIET", Slot::Quiet, false},
    {"PUBSCREEN", Slot::PubScreen, true},
    {"BRUSHFILE", Slot::BrushFile, true},
    {"MASTERVOLUME", Slot::MasterVolume, true},
    {"FIXED", Slot::Fixed, false},
    {"NOSOUND", Slot::NoSound, false},
    {"EXETYPE", Slot::ExeType, true},
    {"SCALEPICTURE", Slot::ScalePicture, false},
    {"PICXPOS", Slot::PicXPos, true},
    {"PICYPOS", Slot::PicYPos, true},
    {"PICTRANS", Slot::PicTrans, true},
    {"FULLSCREEN", Slot::FullScreen, false},
    {"PRIVATE1", Slot::Private1, true},
    {"PRIVATE2", Slot::Private2, true},
    {"USEQUARTZ", Slot::UseQuartz, false},
    {"NOHIDE", Slot::NoHide, false},
    {"OWNSCREEN", Slot::OwnScreen, false},
    {"SCRWIDTH", Slot::ScrWidth, true},
    {"SCRHEIGHT", Slot::ScrHeight, true},
    {"FAKEFULLSCREEN", Slot::FakeFullScreen, false},
    {"HIDEPOINTER", Slot::HidePointer, false},
    {"NOMODESWITCH", Slot::NoModeSwitch, false},
    {"LINKFILES", Slot::LinkFiles, true},
    {"DEBUGDEVICE", Slot::DebugDevice, true},
    {"COMPRESS", Slot::Compress, false},
    {"OVERWRITE", Slot::Overwrite, false},
    {"AUTOSCALE", Slot::AutoScale, false},
    {"SMOOTHSCALE", Slot::SmoothScale, false},
    {"SCALEWIDTH", Slot::ScaleWidth, true},
    {"SCALEHEIGHT", Slot::ScaleHeight, true},
    {"LAYERSCALE", Slot::LayerScale, false},
    {"USEWPA", Slot::UseWpa, false},
    {"WPAMODE", Slot::WpaMode, true},
    {"LOCKSETTINGS", Slot::LockSettings, false},
    {"LINKFONTS", Slot::LinkFonts, true},
    {"PRIVATE3", Slot::Private3, true},
    {"SCRIPTALIAS", Slot::ScriptAlias, true},
    {"ICON16X16", Slot::Icon16, true},
    {"ICON24X24", Slot::Icon24, true},
    {"ICON32X32", Slot::Icon32, true},
    {"ICON48X48", Slot::Icon48, true},
    {"ICON128X128", Slot::Icon128, true},
    {"ICON256X256", Slot::Icon256, true},
    {"ICON512X512", Slot::Icon512, true},
    {"KEEPPROPORTIONS", Slot::KeepProportions, false},
    {"FITSCALE", Slot::FitScale, false},
};

}  // namespace

const OptionRow* FindOption(std::string_view name) {
  const auto* row = std::ranges::find_if(optionTable, [name](const OptionRow& candidate) {
    return EqualsFolded(candidate.name, name);
  });
  return row == std::end(optionTable) ? nullptr : row;
}

}  // namespace quillmere
