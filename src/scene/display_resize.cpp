// Changing the size of a display, by the user or by the script.
#include "pixels/placement.h"
#include "scene/display_internal.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// Layer scaling by the script: the window stays, the picture gets another logical size.
Status ResizeLogical(SceneState& scene, qmDisplay& display, const ResizeRequest& request) {
  qmBGPic& bgpic = *display.bgpic;
  if (request.width == bgpic.logicalWidth && request.height == bgpic.logicalHeight) return {};
  TRY(ScaleBGPicTo(scene, bgpic, request.width, request.height, request.smooth));
  TRY(ApplyScaling(scene, display, request.smooth));
  if (!request.keepClosed) RefreshDisplay(scene, display);
  return {};
}

void StorePosition(qmDisplay& display, const ResizeRequest& request) {
  if (request.x != KEEPPOSITION) display.x = request.x;
  if (request.y != KEEPPOSITION) display.y = request.y;
}

/// The size and position words of the record, before any window is touched.
void StoreRequest(SceneState& scene, qmDisplay& display, const ResizeRequest& request) {
  const bool isUser = request.origin == ResizeOrigin::Window;
  display.width = request.width;
  display.height = request.height;
  if (display.HasEngine() && (isUser || display.autoScale)) {
    FitPicture(display, *display.bgpic, request.width, request.height);
  }
  if (isUser) return;
  StorePosition(display, request);
  const Rectangle place = ResolveWindowPosition(scene, display, display.x, display.y);
  if (request.x != KEEPPOSITION) display.windowX = place.x;
  if (request.y != KEEPPOSITION) display.windowY = place.y;
}

/// Brings the picture and its buffers to the new size.
Status ResizePicture(SceneState& scene, qmDisplay& display, const ResizeRequest& request) {
  if (display.HasEngine()) {
    const bool isUser = request.origin == ResizeOrigin::Window;
    return ApplyScaling(scene, display, isUser ? display.smoothScale : request.smooth);
  }
  qmBGPic& bgpic = *display.bgpic;
  if (request.width == bgpic.logicalWidth && request.height == bgpic.logicalHeight) return {};
  TRY(ScaleBGPicTo(scene, bgpic, request.width, request.height, request.smooth));
  return MakeBuffers(display);
}

Status UpdateWindow(SceneState& scene, qmDisplay& display) {
  if (display.state == DisplayState::Closed) return {};
  if (display.bgpic->IsShaped()) return ReopenDisplayWindow(scene, display);
  display.window->MoveSize(display.windowX, display.windowY, display.width, display.height);
  UpdateRegions(display);
  RefreshDisplay(scene, display, blitMayScale | blitWhole);
  return {};
}

}  // namespace

Status ResizeDisplay(SceneState& scene, qmDisplay& display, const ResizeRequest& request) {
  if (request.width < 1 || request.height < 1) return Fail(Error::SizeNotPositive);
  const bool isScript = request.origin == ResizeOrigin::Script;
  TRY(scene.bgpics.DetachLayers(*display.bgpic));
  if (isScript && display.layerScale && display.HasScaleSize()) {
    TRY(ResizeLogical(scene, display, request));
    ResetTextMargins(display);
    return {};
  }
  const bool hasWindow = display.state != DisplayState::Closed && !request.keepClosed;
  if (hasWindow && isScript) TRY(RequireFit(scene, display, request.width, request.height));

  const DisplaySettings before = display;
  const Rectangle placeBefore{display.windowX, display.windowY, 0, 0};
  StoreRequest(scene, display, request);
  if (const Status resized = ResizePicture(scene, display, request); !resized) {
    static_cast<DisplaySettings&>(display) = before;
    display.windowX = placeBefore.x;
    display.windowY = placeBefore.y;
    return resized;
  }
  UpdateRegions(display);
  if (hasWindow) TRY(UpdateWindow(scene, display));
  ResetTextMargins(display);
  return {};
}

}  // namespace quillmere
