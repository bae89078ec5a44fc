#include "scene/display_options.h"

#include "base/numbers.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

constexpr std::size_t maxTitle = 255;

struct FlagOption {
  const char* name;
  DisplayFlag flag;
};

constexpr FlagOption flagOptions[] = {
    {"borderless", displayBorderless},
    {"sizeable", displaySizeable},
    {"fixed", displayFixed},
    {"nohide", displayNoHide},
    {"nomodeswitch", displayNoModeSwitch},
    {"smoothscale", displaySmoothScale},
    {"active", displayActive},
    {"hidepointer", displayHidePointer},
    {"usequartz", displayUseQuartz},
    {"noclose", displayNoClose},
    {"keepproportions", displayKeepProportions},
    {"fitscale", displayFitScale},
};

/// Reads one table of options; each step reads the keys that belong together.
class OptionReader {
 public:
  OptionReader(VmState& state, int index, DisplayOptions& options)
      : state_(state), index_(index), options_(options), settings_(options.settings) {}

  Status ReadPicture(const qmDisplay* self) {
    SceneState& scene = vmRoom<SceneState>(state_);
    ObjectId id;
    if (vmGetFieldId(state_, index_, "bgpic", id)) {
      options_.bgpic = TRY(FindBGPic(scene, id));
      const qmDisplay* owner = DisplayOf(scene, *options_.bgpic);
      if (owner != nullptr && owner != self) return Fail(Error::BGPicInUse);
    }
    const bool widthGiven = vmGetFieldInt(state_, index_, "width", settings_.width);
    const bool heightGiven = vmGetFieldInt(state_, index_, "height", settings_.height);
    options_.sizeGiven = widthGiven || heightGiven;
    if ((widthGiven && settings_.width < 1) || (heightGiven && settings_.height < 1)) {
      return Fail(Error::WrongUsage);
    }
    if (options_.bgpic != nullptr) {
      settings_.width = options_.bgpic->logicalWidth;
      settings_.height = options_.bgpic->logicalHeight;
    }
    return {};
  }

  Status ReadFill() {
    Fill& fill = settings_.fill;
    bool& isGiven = options_.fillGiven;
    if (vmGetFieldInt(state_, index_, "fillstyle", fill.style)) {
      isGiven = true;
      if (fill.style < FILLCOLOR || fill.style > FILLTEXTURE) return Fail(Error::WrongUsage);
    }
    if (fill.style == FILLCOLOR) isGiven |= ReadColor("color", fill.color);
    if (fill.style == FILLGRADIENT) {
      isGiven |= ReadColor("gradientstartcolor", fill.color);
      isGiven |= ReadColor("gradientendcolor", fill.endColor);
      isGiven |= vmGetFieldInt(state_, index_, "gradientangle", fill.angle);
    }
    if (fill.style == FILLTEXTURE) {
      if (vmGetFieldId(state_, index_, "texturebrush", fill.texture)) {
        fill.textureBitmap.reset();
        isGiven = true;
      }
      isGiven |= vmGetFieldInt(state_, index_, "texturex", fill.textureX);
      isGiven |= vmGetFieldInt(state_, index_, "texturey", fill.textureY);
    }
    return {};
  }

  Status ReadWindow() {
    options_.xGiven = vmGetFieldInt(state_, index_, "x", settings_.x);
    options_.yGiven = vmGetFieldInt(state_, index_, "y", settings_.y);
    vmGetFieldString(state_, index_, "title", settings_.title);
    if (settings_.title.size() > maxTitle) return Fail(Error::WrongUsage);
    for (const FlagOption& option : flagOptions) {
      bool value = false;
      if (vmGetFieldBool(state_, index_, option.name, value)) settings_.Set(option.flag, value);
    }
    TRY(ReadRegions("dragregion", settings_.dragRegionsRaw, settings_.dragRegionsGiven));
    return ReadRegions("sizeregion", settings_.sizeRegionsRaw, settings_.sizeRegionsGiven);
  }

  Status ReadScale() {
    std::int32_t mode = 0;
    options_.scaleModeGiven = vmGetFieldInt(state_, index_, "scalemode", mode);
    if (options_.scaleModeGiven) {
      if (mode < SCALEMODE_NONE || mode > SCALEMODE_LAYER) return Fail(Error::WrongUsage);
      settings_.Set(displayAutoScale, mode == SCALEMODE_AUTO);
      settings_.Set(displayLayerScale, mode == SCALEMODE_LAYER);
    }
    settings_.autoScale = settings_.Has(displayAutoScale);
    settings_.layerScale = settings_.Has(displayLayerScale);
    settings_.smoothScale = settings_.Has(displaySmoothScale);
    TRY(ReadScaleSize("scalewidth", settings_.scaleWidth, settings_.width));
    TRY(ReadScaleSize("scaleheight", settings_.scaleHeight, settings_.height));
    if (!settings_.HasEngine()) {
      settings_.scaleWidth = settings_.scaleHeight = 0;
      settings_.marginLeft = settings_.marginTop = 0;
      settings_.marginRight = settings_.marginBottom = 0;
    }
    return {};
  }

  void ReadCreateOnly() {
    bool hidden = false;
    if (vmGetFieldBool(state_, index_, "hidden", hidden)) settings_.Set(displayHidden, hidden);
    if (vmGetFieldBool(state_, index_, "layers", options_.layers)) {
      settings_.Set(displayLayers, options_.layers);
    }
    vmGetFieldInt(state_, index_, "private1", options_.private1);
    vmGetFieldInt(state_, index_, "private2", options_.private2);
    vmGetFieldInt(state_, index_, "private3", options_.private3);
  }

 private:
  bool ReadColor(const char* name, std::uint32_t& color) {
    return vmGetFieldUnsigned(state_, index_, name, color);
  }

  /// A negative size is a percentage of the display's.
  Status ReadScaleSize(const char* name, std::int32_t& size, std::int32_t whole) {
    std::int32_t value = 0;
    if (!vmGetFieldInt(state_, index_, name, value)) return {};
    options_.scaleSizeGiven = true;
    size =
        value < 0 ? ToInt32(static_cast<double>(whole) * -static_cast<double>(value) / 100) : value;
    if (size < 1) return Fail(Error::WrongUsage);
    return {};
  }

  Status ReadRegions(const char* name, std::vector<Rectangle>& regions, bool& isGiven) {
    if (!vmPushField(state_, index_, name)) return {};
    const int list = vmGetTop(state_);
    const Status status = ReadRegionList(list, regions);
    vmSetTop(state_, list - 1);
    isGiven = true;
    return status;
  }

  Status ReadRegionList(int list, std::vector<Rectangle>& regions) {
    if (vmType(state_, list) != VmType::Table) return Fail(Error::WrongUsage);
    std::vector<Rectangle> read;
    for (int i = 0;; ++i) {
      vmRawGetInt(state_, list, i);
      if (vmType(state_, -1) == VmType::Nil) break;
      if (read.size() == maxRegions) return Fail(Error::WrongUsage);
      read.push_back(TRY(ReadRegion(vmGetTop(state_))));
      vmPop(state_, 1);
    }
    regions = std::move(read);
    return {};
  }

  Result<Rectangle> ReadRegion(int entry) {
    if (vmType(state_, entry) != VmType::Table) return Fail(Error::WrongUsage);
    std::int32_t type = static_cast<std::int32_t>(ObjectType::BOX);
    vmGetFieldInt(state_, entry, "type", type);
    if (type != static_cast<std::int32_t>(ObjectType::BOX)) return Fail(Error::WrongUsage);
    Rectangle region;
    const bool isComplete = vmGetFieldInt(state_, entry, "x", region.x) &&
                            vmGetFieldInt(state_, entry, "y", region.y) &&
                            vmGetFieldInt(state_, entry, "width", region.width) &&
                            vmGetFieldInt(state_, entry, "height", region.height);
    if (!isComplete) return Fail(Error::NotEnoughArguments);
    if (region.x < 0 || region.y < 0 || region.width < 1 || region.height < 1) {
      return Fail(Error::WrongUsage);
    }
    return region;
  }

  VmState& state_;
  int index_;
  DisplayOptions& options_;
  DisplaySettings& settings_;
};

}  // namespace

Result<DisplayOptions> ReadDisplayOptions(VmState& state, int index, OptionScope scope,
                                          DisplaySettings settings, const qmDisplay* self) {
  DisplayOptions options;
  options.settings = std::move(settings);
  if (index == 0) return options;
  OptionReader reader(state, index, options);
  TRY(reader.ReadPicture(self));
  TRY(reader.ReadFill());
  if (scope == OptionScope::Recording) return options;
  TRY(reader.ReadWindow());
  TRY(reader.ReadScale());
  if (scope == OptionScope::Create) reader.ReadCreateOnly();
  return options;
}

}  // namespace quillmere
