// Sizes of a display: how its picture fits the window, and the buffers, planes and regions that
// follow from that.
#include <cmath>

#include "base/numbers.h"
#include "pixels/blit.h"
#include "pixels/scale.h"
#include "scene/display_internal.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

constexpr std::int32_t defaultDragHeight = 15;
constexpr std::int32_t defaultSizeEdge = 10;

Result<BitmapPtr> CopyOf(const qmBitmap& bitmap) {
  BitmapPtr copy = TRY(AllocBitmap(bitmap.width, bitmap.height));
  for (int y = 0; y < bitmap.height; ++y) {
    std::copy_n(bitmap.Row(y), bitmap.width, copy->Row(y));
  }
  return copy;
}

/// Layer scaling: the shown planes take the size that the picture has in the window.
Status ScaleLayers(SceneState& scene, qmDisplay& display, bool smooth) {
  qmBGPic& bgpic = *display.bgpic;
  const std::int32_t width = display.HasScaleSize() ? display.scaleWidth : display.width;
  const std::int32_t height = display.HasScaleSize() ? display.scaleHeight : display.height;
  const bool isPlain = width == bgpic.logicalWidth && height == bgpic.logicalHeight;
  Planes planes = isPlain ? bgpic.scaled : TRY(BGPicPlanesAt(scene, bgpic, width, height, smooth));
  bgpic.shown = std::move(planes);
  bgpic.outputWidth = width;
  bgpic.outputHeight = height;
  display.scaleFactorX = static_cast<double>(width) / bgpic.logicalWidth;
  display.scaleFactorY = static_cast<double>(height) / bgpic.logicalHeight;
  TRY(MakeBuffers(display));
  if (!bgpic.layers.empty() && scene.layerService.rebuildAll) {
    TRY(scene.layerService.rebuildAll(display, bgpic, isPlain));
  }
  return {};
}

Rectangle Clamped(Rectangle region, std::int32_t width, std::int32_t height) {
  region.x = std::clamp(region.x, 0, width - 1);
  region.y = std::clamp(region.y, 0, height - 1);
  region.width = std::max(1, std::min(region.width, width - region.x));
  region.height = std::max(1, std::min(region.height, height - region.y));
  return region;
}

std::int32_t ScaledEdge(std::int64_t value, double factor) {
  return ToInt32(std::nearbyint(static_cast<double>(value) * factor));
}

Rectangle Scaled(const Rectangle& region, double factorX, double factorY) {
  const std::int32_t left = ScaledEdge(region.x, factorX);
  const std::int32_t top = ScaledEdge(region.y, factorY);
  const std::int64_t lastX = static_cast<std::int64_t>(region.x) + region.width - 1;
  const std::int64_t lastY = static_cast<std::int64_t>(region.y) + region.height - 1;
  return {left, top, ToInt32(static_cast<double>(ScaledEdge(lastX, factorX)) - left + 1),
          ToInt32(static_cast<double>(ScaledEdge(lastY, factorY)) - top + 1)};
}

std::vector<Rectangle> Regions(const qmDisplay& display, const std::vector<Rectangle>& raw,
                               bool isGiven, const Rectangle& fallback) {
  std::vector<Rectangle> regions = isGiven ? raw : std::vector<Rectangle>{fallback};
  for (Rectangle& region : regions) {
    if (isGiven && display.HasEngine()) {
      region = Scaled(region, display.scaleFactorX, display.scaleFactorY);
    }
    region = Clamped(region, display.width, display.height);
  }
  return regions;
}

}  // namespace

void FitPicture(DisplaySettings& settings, const qmBGPic& bgpic, std::int32_t boxWidth,
                std::int32_t boxHeight) {
  settings.scaleWidth = settings.width;
  settings.scaleHeight = settings.height;
  settings.marginLeft = settings.marginTop = settings.marginRight = settings.marginBottom = 0;
  if (!settings.Has(displayKeepProportions) || bgpic.IsShaped()) return;
  const double pictureWidth = bgpic.logicalWidth;
  const double pictureHeight = bgpic.logicalHeight;
  std::int32_t width = boxWidth;
  std::int32_t height = ToInt32(pictureHeight / pictureWidth * boxWidth);
  if (height > boxHeight) {
    height = boxHeight;
    width = ToInt32(pictureWidth / pictureHeight * boxHeight);
  }
  settings.scaleWidth = std::max(width, 1);
  settings.scaleHeight = std::max(height, 1);
  settings.marginLeft = (settings.width - settings.scaleWidth) / 2;
  settings.marginRight = settings.width - settings.scaleWidth - settings.marginLeft;
  settings.marginTop = (settings.height - settings.scaleHeight) / 2;
  settings.marginBottom = settings.height - settings.scaleHeight - settings.marginTop;
}

Rectangle LargestInner(SceneState& scene, const DisplaySettings& settings, bool isBackdrop) {
  const bool isBorderless = settings.Has(displayBorderless);
  const FrameSizes frame = scene.platform().windows().GetFrameSizes(isBorderless);
  const Rectangle area = isBorderless && isBackdrop ? ScreenArea(scene) : UsableArea(scene);
  return {0, 0, std::max(1, area.width - frame.left - frame.right),
          std::max(1, area.height - frame.top - frame.bottom)};
}

Status MakeBuffers(qmDisplay& display) {
  const qmBitmap& picture = *display.bgpic->shown.bitmap;
  BitmapPtr canvas = TRY(CopyOf(picture));
  BitmapPtr scratch = TRY(CopyOf(picture));
  display.canvas = std::move(canvas);
  display.scratch = std::move(scratch);
  return {};
}

Status UpdateShape(SceneState& scene, qmDisplay& display) {
  display.shapeMask.reset();
  display.shapeAlpha.reset();
  const qmBGPic& bgpic = *display.bgpic;
  if (!bgpic.IsShaped() || !display.autoScale || !display.HasScaleSize()) return {};
  const Planes shape{.bitmap = {}, .mask = bgpic.shown.mask, .alpha = bgpic.shown.alpha};
  Planes scaled = TRY(ScalePlanes(scene.pixels().scaleTables, shape,
                                  {0, 0, bgpic.outputWidth, bgpic.outputHeight}, display.scaleWidth,
                                  display.scaleHeight, false));
  display.shapeMask = std::move(scaled.mask);
  display.shapeAlpha = std::move(scaled.alpha);
  return {};
}

Status ApplyScaling(SceneState& scene, qmDisplay& display, bool smooth) {
  qmBGPic& bgpic = *display.bgpic;
  if (display.layerScale) {
    TRY(ScaleLayers(scene, display, smooth));
    return UpdateShape(scene, display);
  }
  if (display.autoScale && display.HasScaleSize()) {
    display.scaleFactorX = static_cast<double>(display.scaleWidth) / bgpic.logicalWidth;
    display.scaleFactorY = static_cast<double>(display.scaleHeight) / bgpic.logicalHeight;
  } else {
    display.scaleFactorX = display.scaleFactorY = 1;
  }
  return UpdateShape(scene, display);
}

void UpdateRegions(qmDisplay& display) {
  const Rectangle title{0, 0, display.width, defaultDragHeight};
  const Rectangle corner{display.width - defaultSizeEdge, display.height - defaultSizeEdge,
                         defaultSizeEdge, defaultSizeEdge};
  display.dragRegions = Regions(display, display.dragRegionsRaw, display.dragRegionsGiven, title);
  display.sizeRegions = Regions(display, display.sizeRegionsRaw, display.sizeRegionsGiven, corner);
  if (!display.window || !display.Has(displayBorderless)) return;
  const std::span<const Rectangle> none;
  display.window->SetRegions(display.Has(displayFixed) ? none : display.dragRegions,
                             display.Has(displaySizeable) ? display.sizeRegions : none);
}

Status PrepareBuffers(SceneState& scene, qmDisplay& display) {
  TRY(MakeBuffers(display));
  if (!display.HasEngine()) return {};
  std::int32_t boxWidth = display.scaleWidth;
  std::int32_t boxHeight = display.scaleHeight;
  const bool hadScaleSize = display.HasScaleSize();
  if (display.Has(displayFitScale)) {
    const Rectangle inner = LargestInner(scene, display, display.private1 != 0);
    display.width = inner.width;
    display.height = inner.height;
    boxWidth = hadScaleSize ? std::min(boxWidth, display.width) : display.width;
    boxHeight = hadScaleSize ? std::min(boxHeight, display.height) : display.height;
  }
  if (hadScaleSize || display.Has(displayFitScale)) {
    FitPicture(display, *display.bgpic, boxWidth, boxHeight);
  }
  return ApplyScaling(scene, display, display.smoothScale);
}

void ReleaseBGPic(SceneState& scene, qmDisplay& display, qmBGPic& bgpic) {
  const bool wasScaled = bgpic.shown.bitmap != bgpic.scaled.bitmap;
  ShowUnscaled(bgpic);
  if (wasScaled && !bgpic.layers.empty() && scene.layerService.rebuildAll) {
    (void)scene.layerService.rebuildAll(display, bgpic, true);
  }
}

void ResetTextMargins(qmDisplay& display) {
  const std::int32_t right = display.bgpic->logicalWidth - 1;
  std::int32_t& leftMargin =
      display.parked ? display.parked->marginTextLeft : display.marginTextLeft;
  std::int32_t& rightMargin =
      display.parked ? display.parked->marginTextRight : display.marginTextRight;
  leftMargin = 0;
  rightMargin = right;
}

}  // namespace quillmere
