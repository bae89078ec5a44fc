#include "frame/preload.h"

#include <algorithm>
#include <unordered_map>

#include "base/fold.h"
#include "files/files_state.h"
#include "frame/command_call.h"
#include "platform/platform.h"

namespace quillmere {
namespace {

/// `MODE_READ` of the file commands.
constexpr std::int32_t modeRead = 1005;

constexpr const char* commandOfKind[objectKindCount] = {
    "LoadBGPic",     "LoadBrush",  "LoadAnim", "OpenMusic", "LoadSample",   "CreateButton",
    "CreateKeyDown", "LoadSprite", "OpenFile", "OpenFont",  "CreateDisplay"};

const char* CommandOf(const qmPreloadItem& item) {
  return commandOfKind[static_cast<std::size_t>(item.kind)];
}

void SetField(VmState& state, const char* name, double value) {
  vmSetFieldNumber(state, name, value);
}

// Each function here adds fields to the table on top of the stack.

void AddTransparency(VmState& state, const qmPreloadItem& item) {
  if (item.arg1 != -1) SetField(state, "transparency", static_cast<std::uint32_t>(item.arg1));
  SetField(state, "loadalpha", item.arg2);
}

void AddGradient(VmState& state, const FillStyle& fill) {
  SetField(state, "gradientstartcolor", fill.color);
  SetField(state, "gradientendcolor", fill.gradientEndColor);
  SetField(state, "gradientangle", fill.gradientAngle);
}

void AddTexture(VmState& state, const FillStyle& fill) {
  SetField(state, "texturebrush", fill.textureBrush);
  SetField(state, "texturex", fill.textureX);
  SetField(state, "texturey", fill.textureY);
}

/// The fields of a fill; `colorKey` names the colour of a plain one.
void AddFill(VmState& state, const FillStyle& fill, const char* colorKey) {
  switch (fill.style) {
    case 2:
      AddGradient(state, fill);
      break;
    case 3:
      AddTexture(state, fill);
      break;
    default:
      SetField(state, colorKey, fill.color);
  }
}

void AddBGPicFields(VmState& state, const qmPreloadItem& item) {
  AddTransparency(state, item);
  if (item.fill.style == 0) return;
  SetField(state, "fillstyle", item.fill.style);
  if (item.fill.style <= 3) AddFill(state, item.fill, "fillcolor");
}

bool HasFrames(const qmPreloadItem& item) {
  return item.geometry.frames > 0;
}

void AddGeometry(VmState& state, const qmPreloadItem& item) {
  const PictureGeometry& geometry = item.geometry;
  const auto add = [&](const char* name, std::int32_t value, std::int32_t least) {
    if (value >= least) SetField(state, name, value);
  };
  const bool isBrush = item.kind == ObjectKind::Brush;
  // An anim or a sprite without frames is no picture that is cut in a grid.
  if (isBrush || HasFrames(item)) {
    add("width", geometry.width, 1);
    add("height", geometry.height, 1);
    if (geometry.x != -1) SetField(state, "x", geometry.x);
    if (geometry.y != -1) SetField(state, "y", geometry.y);
  }
  if (geometry.globalAlpha != -1) SetField(state, "globalalpha", geometry.globalAlpha);
  if (!isBrush && HasFrames(item)) {
    SetField(state, "frames", geometry.frames);
    add("fpr", geometry.framesPerRow, 1);
  }
  if (item.kind == ObjectKind::Anim) SetField(state, "fromdisk", geometry.fromDisk ? 1 : 0);
}

void AddPictureFields(VmState& state, const qmPreloadItem& item) {
  AddTransparency(state, item);
  AddGeometry(state, item);
  // All items of one file find it in the cache under one name.
  const std::string cacheName = FoldLower(item.fileName);
  if (item.cache) {
    vmSetFieldString(state, "cache", cacheName);
    SetField(state, "cachealpha", item.cacheAlpha ? 1 : 0);
  }
  if (item.cachedLoad) vmSetFieldString(state, "cachedload", cacheName);
}

void AddFontFields(VmState& state, const qmPreloadItem& item) {
  const std::uint32_t engine = item.arg2 & fontEngineMask;
  if (engine != 0) SetField(state, "engine", engine);
  if ((item.arg2 & fontCacheOff) != 0) SetField(state, "cache", 0);
}

std::string FileOf(const FilesState& files, const qmPreloadItem& item) {
  if (item.linkSize != 0) {
    const std::string& container =
        item.container.empty() ? files.clargs.scriptPath : item.container;
    return MakeChunkName(item.fileName, item.linkOffset, item.linkSize, files.appletOffset,
                         container);
  }
  const bool isRelative = item.fileName.find(':') == std::string::npos;
  if (!item.basePath.empty() && isRelative) return AddPart(item.basePath, item.fileName);
  return item.fileName;
}

/// Pushes the arguments of the command that makes an item and returns their count.
int PushArguments(VmState& state, const qmPreloadItem& item) {
  vmPushNumber(state, item.id);
  if (item.kind == ObjectKind::Button) {
    for (const std::int32_t value : item.button) vmPushNumber(state, value);
    return 5;
  }
  if (item.kind == ObjectKind::Key) {
    vmPushBytes(state, item.fileName);
    return 2;
  }
  vmPushBytes(state, FileOf(vmRoom<FilesState>(state), item));
  switch (item.kind) {
    case ObjectKind::BGPic:
      vmNewTable(state);
      AddBGPicFields(state, item);
      return 3;
    case ObjectKind::Brush:
    case ObjectKind::Anim:
    case ObjectKind::Sprite:
      vmNewTable(state);
      AddPictureFields(state, item);
      return 3;
    case ObjectKind::File:
      vmPushNumber(state, modeRead);
      return 3;
    case ObjectKind::Font:
      vmPushNumber(state, item.arg1);
      vmNewTable(state);
      AddFontFields(state, item);
      return 4;
    default:
      return 2;
  }
}

bool IsShareable(const qmPreloadItem& item) {
  if (item.kind == ObjectKind::Brush) return !item.fileName.empty();
  const bool isGrid = item.kind == ObjectKind::Anim || item.kind == ObjectKind::Sprite;
  return isGrid && HasFrames(item) && !item.geometry.fromDisk && !item.fileName.empty();
}

struct OptionKey {
  std::uint32_t bit;
  const char* key;
  double value;
};

constexpr OptionKey optionKeys[] = {{display_option::hidden, "hidden", 1},
                                    {display_option::borderless, "borderless", 1},
                                    {display_option::sizeable, "sizeable", 1},
                                    {display_option::fixed, "fixed", 1},
                                    {display_option::noHide, "nohide", 1},
                                    {display_option::noModeSwitch, "nomodeswitch", 1},
                                    {display_option::autoScale, "scalemode", 1},
                                    {display_option::layerScale, "scalemode", 2},
                                    {display_option::smoothScale, "smoothscale", 1},
                                    {display_option::hidePointer, "hidepointer", 1},
                                    {display_option::layers, "layers", 1},
                                    {display_option::useQuartz, "usequartz", 1},
                                    {display_option::noClose, "noclose", 1},
                                    {display_option::keepProportions, "keepproportions", 1},
                                    {display_option::fitScale, "fitscale", 1}};

void AddRegions(VmState& state, const char* name, const std::vector<DisplayRegion>& regions) {
  if (regions.empty()) return;
  vmPushStringFast(state, name);
  vmNewTable(state);
  for (std::size_t i = 0; i < regions.size(); ++i) {
    vmNewTable(state);
    vmSetFieldInt(state, "type", regions[i].type);
    vmSetFieldInt(state, "x", regions[i].x);
    vmSetFieldInt(state, "y", regions[i].y);
    vmSetFieldInt(state, "width", regions[i].width);
    vmSetFieldInt(state, "height", regions[i].height);
    vmRawSetInt(state, -2, static_cast<int>(i));
  }
  vmRawSet(state, -3);
}

bool HasBGPicOne(const std::vector<qmPreloadItem>& items) {
  return std::ranges::any_of(items, [](const qmPreloadItem& item) {
    return item.kind == ObjectKind::BGPic && item.id == 1;
  });
}

/// The size and the fill of a display that is not made from a background picture.
void AddSizeAndFill(VmState& state, const DisplayDescription& display, bool coversDesktop) {
  std::int32_t width = display.width;
  std::int32_t height = display.height;
  if (coversDesktop) {
    const DesktopInfo desktop = vmRoom<Platform>(state).windows().GetDesktopInfo();
    width = desktop.width;
    height = desktop.height;
  }
  SetField(state, "width", width);
  SetField(state, "height", height);
  SetField(state, "fillstyle", display.fill.style);
  AddFill(state, display.fill, "color");
}

void AddDisplayFields(VmState& state, const qmPreloadItem& item, const qmAppletInfo& applet) {
  const DisplayDescription& display = item.display;
  const bool coversDesktop = applet.displayDesktop && item.id == 1;
  vmSetFieldString(state, "title", display.title);
  SetField(state, "x", display.x);
  SetField(state, "y", display.y);
  if (display.scaleWidth != 0) SetField(state, "scalewidth", display.scaleWidth);
  if (display.scaleHeight != 0) SetField(state, "scaleheight", display.scaleHeight);
  if ((display.options & display_option::active) != 0) SetField(state, "active", 1);
  if ((display.options & display_option::hasBGPic) != 0) {
    SetField(state, "bgpic", display.bgpic);
  } else if (item.id == 1 && HasBGPicOne(applet.preloadList)) {
    SetField(state, "bgpic", 1);
  } else {
    AddSizeAndFill(state, display, coversDesktop);
  }
  for (const OptionKey& option : optionKeys) {
    if ((display.options & option.bit) != 0) SetField(state, option.key, option.value);
  }
  if (coversDesktop) SetField(state, "private2", 1);
  AddRegions(state, "dragregion", display.dragRegions);
  AddRegions(state, "sizeregion", display.sizeRegions);
}

}  // namespace

void CompleteDisplays(qmAppletInfo& applet) {
  auto& items = applet.preloadList;
  const bool hasFirst = std::ranges::any_of(items, [](const qmPreloadItem& item) {
    return item.kind == ObjectKind::Display && item.id == 1;
  });
  if (!hasFirst) items.push_back(DefaultDisplayItem(applet));
  if (applet.settingsLocked) return;
  for (qmPreloadItem& item : items) {
    if (item.kind != ObjectKind::Display) continue;
    DisplayDescription& display = item.display;
    display.options |= applet.windowFlags & ~display.mask;
    if (display.scaleWidth == 0) display.scaleWidth = applet.scaleWidth;
    if (display.scaleHeight == 0) display.scaleHeight = applet.scaleHeight;
  }
}

void MarkSharedPictures(std::vector<qmPreloadItem>& items) {
  std::unordered_map<std::string, qmPreloadItem*> firstOfFile;
  for (qmPreloadItem& item : items) {
    if (!IsShareable(item)) continue;
    const auto [entry, isFirst] = firstOfFile.try_emplace(FoldLower(item.fileName), &item);
    if (isFirst) continue;
    qmPreloadItem& first = *entry->second;
    item.cachedLoad = true;
    first.cache = true;
    if (item.arg2 == 1 && first.arg2 == 0) first.cacheAlpha = true;
  }
}

Status PreloadObjects(VmState& state) {
  const auto& files = vmRoom<FilesState>(state);
  RunFlags& flags = vmHost(state).flags;
  const bool quietRun = files.clargs.isApplet || files.clargs.quiet;
  for (const qmPreloadItem& item : files.applet.preloadList) {
    if (item.kind == ObjectKind::Display) continue;
    flags.quiet = quietRun || item.quietItem;
    TRY(CallCommandAt(state, CommandOf(item), item.line,
                      [&item](VmState& machine) { return PushArguments(machine, item); }));
  }
  return {};
}

Status CreateDisplays(VmState& state) {
  const qmAppletInfo& applet = vmRoom<FilesState>(state).applet;
  for (const qmPreloadItem& item : applet.preloadList) {
    if (item.kind != ObjectKind::Display) continue;
    TRY(CallCommandAt(state, CommandOf(item), item.line, [&](VmState& machine) {
      vmPushNumber(machine, item.id);
      vmNewTable(machine);
      AddDisplayFields(machine, item, applet);
      return 2;
    }));
  }
  return {};
}

}  // namespace quillmere
