// Changing the attributes of a display: window, scaling and the picture that is shown.
#include "pixels/placement.h"
#include "scene/display_internal.h"
#include "scene/display_options.h"
#include "scene/fill.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

constexpr std::uint32_t flagsThatReopen = displayBorderless | displaySizeable | displayFixed |
                                          displayNoHide | displayUseQuartz | displayNoClose |
                                          displayKeepProportions | displayFitScale;

/// One call of `SetDisplayAttributes`.
class AttributeChange {
 public:
  AttributeChange(VmState& state, SceneState& scene, qmDisplay& display)
      : state_(state), scene_(scene), display_(display) {}

  Status Run(int tableIndex, bool keepWindow) {
    TRY(ReadOptions(tableIndex));
    before_ = display_;
    const FrameSizes oldBorder = display_.border;
    const bool wasShaped = display_.bgpic->IsShaped();
    TRY(RequireLayerScaling());
    const Rectangle target = TargetSize();
    TRY(RequireTargetFits(target));
    StoreSettings();
    if (options_.bgpic != nullptr) {
      TRY(ShowPicture(target));
    } else {
      TRY(Resize(target));
    }
    UpdatePosition(oldBorder);
    UpdateRegions(display_);
    if (display_.state != DisplayState::Closed) TRY(UpdateWindow(wasShaped, keepWindow));
    CollectHiddenObjects(scene_);
    return {};
  }

 private:
  /// Reads over a copy of the present settings. A change from a scale engine to none brings the
  /// display to the picture's own size first.
  Status ReadOptions(int tableIndex) {
    options_ = TRY(Read(tableIndex));
    if (display_.HasEngine() && !options_.settings.HasEngine()) {
      TRY(LeaveEngine());
      options_ = TRY(Read(tableIndex));
    }
    DisplaySettings& settings = options_.settings;
    const bool engineChanges =
        settings.autoScale != display_.autoScale || settings.layerScale != display_.layerScale;
    if (settings.HasEngine() && engineChanges) {
      if (settings.scaleWidth == 0) settings.scaleWidth = display_.width;
      if (settings.scaleHeight == 0) settings.scaleHeight = display_.height;
    }
    fitChanges_ = engineChanges || options_.scaleSizeGiven ||
                  ((settings.flags ^ display_.flags) & (displayFitScale | displayKeepProportions));
    fitChanges_ = fitChanges_ && settings.HasEngine();
    return {};
  }

  Result<DisplayOptions> Read(int tableIndex) {
    const OptionScope scope =
        scene_.recorder.Recording() ? OptionScope::Recording : OptionScope::Change;
    DisplaySettings copy = display_;
    copy.width = display_.bgpic->logicalWidth;
    copy.height = display_.bgpic->logicalHeight;
    return ReadDisplayOptions(state_, tableIndex, scope, std::move(copy), &display_);
  }

  Status LeaveEngine() {
    qmBGPic& bgpic = *display_.bgpic;
    const bool wasLayerScaled = display_.layerScale;
    display_.autoScale = display_.layerScale = false;
    display_.Set(displayAutoScale, false);
    display_.Set(displayLayerScale, false);
    display_.scaleWidth = display_.scaleHeight = 0;
    display_.marginLeft = display_.marginTop = display_.marginRight = display_.marginBottom = 0;
    if (wasLayerScaled) TRY(LeaveLayerScaling());
    TRY(ApplyScaling(scene_, display_, false));
    return ResizeDisplay(scene_, display_,
                         {.width = bgpic.logicalWidth,
                          .height = bgpic.logicalHeight,
                          .origin = ResizeOrigin::Window,
                          .keepClosed = false});
  }

  /// The picture goes back to the size that the script sees.
  Status LeaveLayerScaling() {
    ReleaseBGPic(scene_, display_, *display_.bgpic);
    return MakeBuffers(display_);
  }

  /// Layer scaling needs layers: they must be switchable on.
  Status RequireLayerScaling() {
    if (!options_.settings.layerScale || display_.layersEnabled) return {};
    return RequireLayersSwitchable(scene_);
  }

  /// The inner size of the window after the change.
  Rectangle TargetSize() {
    const DisplaySettings& settings = options_.settings;
    if (settings.HasEngine()) {
      if (settings.Has(displayFitScale)) {
        return LargestInner(scene_, settings, display_.private1 != 0);
      }
      if (fitChanges_ && settings.HasScaleSize() && options_.scaleSizeGiven) {
        return {0, 0, settings.scaleWidth, settings.scaleHeight};
      }
      const bool isLogical = settings.layerScale && display_.HasScaleSize();
      if (options_.sizeGiven && options_.bgpic == nullptr && !isLogical) {
        return {0, 0, settings.width, settings.height};
      }
      return {0, 0, display_.width, display_.height};
    }
    return {0, 0, settings.width, settings.height};
  }

  Status RequireTargetFits(const Rectangle& target) {
    if (display_.state == DisplayState::Closed) return {};
    const std::uint32_t flags = display_.flags;
    display_.flags = options_.settings.flags;
    const Status fits = RequireFit(scene_, display_, target.width, target.height);
    display_.flags = flags;
    return fits;
  }

  void StoreSettings() {
    const std::int32_t width = display_.width;
    const std::int32_t height = display_.height;
    static_cast<DisplaySettings&>(display_) = options_.settings;
    display_.width = width;
    display_.height = height;
    display_.border = scene_.platform().windows().GetFrameSizes(display_.Has(displayBorderless));
    if (display_.layerScale) display_.layersEnabled = true;
  }

  void FitTo(const Rectangle& target, const DisplaySettings& wanted) {
    display_.width = target.width;
    display_.height = target.height;
    if (!display_.HasEngine()) return;
    const bool inBox = options_.scaleSizeGiven && wanted.HasScaleSize();
    FitPicture(display_, *display_.bgpic,
               inBox ? std::min(wanted.scaleWidth, target.width) : target.width,
               inBox ? std::min(wanted.scaleHeight, target.height) : target.height);
  }

  /// Puts another picture on the stage; on failure the old one comes back.
  Status ShowPicture(const Rectangle& target) {
    qmBGPic& old = *display_.bgpic;
    EndDoubleBuffering(scene_, display_);
    (void)EndSelection(scene_);
    if (scene_.sprites.removeAll) scene_.sprites.removeAll(old);
    if (scene_.asyncDraw.cancelAll) scene_.asyncDraw.cancelAll(display_);
    old.clipRegion = nullptr;
    ReleaseBGPic(scene_, display_, old);
    display_.bgpic = options_.bgpic;
    if (const Status shown = LayOutPicture(target); !shown) {
      display_.bgpic = &old;
      static_cast<DisplaySettings&>(display_) = before_;
      (void)ApplyScaling(scene_, display_, display_.smoothScale);
      scene_.SetCurrentOutput(display_.bgpic);
      return shown;
    }
    scene_.SetCurrentOutput(display_.bgpic);
    ResetTextMargins(display_);
    scene_.hooks.bgpicChanged.Call(display_, old);
    return {};
  }

  Status LayOutPicture(const Rectangle& target) {
    FitTo(target, options_.settings);
    TRY(ApplyScaling(scene_, display_, display_.smoothScale));
    return display_.layerScale ? Status{} : MakeBuffers(display_);
  }

  Status Resize(const Rectangle& target) {
    TRY(RebuildFill());
    if (before_.layerScale && !display_.layerScale) TRY(LeaveLayerScaling());
    if (fitChanges_ || (display_.HasEngine() && display_.Has(displayFitScale))) {
      FitTo(target, options_.settings);
      TRY(ApplyScaling(scene_, display_, display_.smoothScale));
    }
    const qmBGPic& bgpic = *display_.bgpic;
    const bool sizeChanges = options_.settings.width != bgpic.logicalWidth ||
                             options_.settings.height != bgpic.logicalHeight;
    if (!options_.sizeGiven || !sizeChanges) return {};
    return ResizeDisplay(scene_, display_,
                         {.width = options_.settings.width,
                          .height = options_.settings.height,
                          .origin = ResizeOrigin::Script,
                          .smooth = display_.smoothScale,
                          .keepClosed = true});
  }

  /// A display that shows its own picture fills it as it is told now.
  Status RebuildFill() {
    qmBGPic& bgpic = *display_.bgpic;
    if (!options_.fillGiven || bgpic.ownerSerial != display_.serial) return {};
    TRY(LoadTexture(scene_, display_.fill));
    Planes base = TRY(
        BuildFill(scene_.host.debug, {}, display_.fill, bgpic.logicalWidth, bgpic.logicalHeight));
    bgpic.fill = display_.fill;
    bgpic.base = bgpic.scaled = bgpic.shown = std::move(base);
    bgpic.baseWidth = bgpic.outputWidth = bgpic.logicalWidth;
    bgpic.baseHeight = bgpic.outputHeight = bgpic.logicalHeight;
    if (display_.layerScale) return ApplyScaling(scene_, display_, display_.smoothScale);
    return MakeBuffers(display_);
  }

  void UpdatePosition(const FrameSizes& oldBorder) {
    const bool borderChanges = before_.Has(displayBorderless) != display_.Has(displayBorderless);
    display_.x = PositionAfter(options_.xGiven, options_.settings.x, before_.x,
                               before_.width == display_.width);
    display_.y = PositionAfter(options_.yGiven, options_.settings.y, before_.y,
                               before_.height == display_.height);
    if (borderChanges && display_.x == before_.x && display_.y == before_.y) {
      display_.x = display_.windowX + oldBorder.left - display_.border.left;
      display_.y = display_.windowY + oldBorder.top - display_.border.top;
    }
    // A window that the user has moved stays where it is.
    const Rectangle place = ResolveWindowPosition(scene_, display_, display_.x, display_.y);
    if (options_.xGiven || display_.x != before_.x || before_.width != display_.width) {
      display_.windowX = place.x;
    }
    if (options_.yGiven || display_.y != before_.y || before_.height != display_.height) {
      display_.windowY = place.y;
    }
  }

  static std::int32_t PositionAfter(bool isGiven, std::int32_t given, std::int32_t old,
                                    bool sizeStays) {
    if (isGiven) return given;
    return sizeStays ? old : static_cast<std::int32_t>(CENTER);
  }

  Status UpdateWindow(bool wasShaped, bool keepWindow) {
    const bool flagsChange = ((before_.flags ^ display_.flags) & flagsThatReopen) != 0;
    const bool sizeChanges = before_.width != display_.width || before_.height != display_.height;
    const bool shapeChanges =
        (wasShaped || display_.bgpic->IsShaped()) && (options_.bgpic != nullptr || sizeChanges);
    if (flagsChange || shapeChanges) return ReopenDisplayWindow(scene_, display_);
    display_.window->MoveSize(display_.windowX, display_.windowY, display_.width, display_.height);
    UpdateRegions(display_);
    if (display_.title != before_.title) display_.window->SetTitle(display_.title);
    if (!keepWindow) RefreshDisplay(scene_, display_);
    return {};
  }

  VmState& state_;
  SceneState& scene_;
  qmDisplay& display_;
  DisplayOptions options_;
  DisplaySettings before_;
  bool fitChanges_ = false;
};

}  // namespace

Status RequireLayersSwitchable(SceneState& scene) {
  const qmDisplay& display = *scene.currentDisplay;
  if (scene.asyncDraw.any && scene.asyncDraw.any(display)) {
    return Fail(Error::CannotSwitchLayerModeWhile);
  }
  if (display.doubleBuffered || display.doubleBufferSuspended) {
    return Fail(Error::DoubleBufferingActive);
  }
  if (display.HasSelection()) return Fail(Error::LayersLockedOffScreen);
  if (scene.sprites.Any(*display.bgpic)) return Fail(Error::RemoveSpritesFirst);
  return {};
}

Status SetDisplayAttributes(VmState& state, int tableIndex, bool keepWindow) {
  SceneState& scene = vmRoom<SceneState>(state);
  return AttributeChange(state, scene, *scene.currentDisplay).Run(tableIndex, keepWindow);
}

}  // namespace quillmere
