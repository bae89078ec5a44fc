// The route from a bitmap to the window: margins, scaling, and what a recorder takes away.
#include "scene/redraw.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

PixelView ViewOf(const qmBitmap& bitmap) {
  return {bitmap.Row(0), bitmap.width, bitmap.height, bitmap.pixelsPerRow};
}

/// The buffer that scaled pictures are made in, kept from one update to the next.
qmBitmap* ScaledBuffer(SceneState& scene, std::int32_t width, std::int32_t height) {
  BitmapPtr& buffer = scene.scaledWindow;
  if (!buffer || buffer->width != width || buffer->height != height) {
    buffer.reset();
    auto made = AllocBitmap(width, height);
    if (!made) return nullptr;
    buffer = *made;
  }
  return buffer.get();
}

void ScaledUpdate(SceneState& scene, const qmBitmap& source, qmDisplay& display) {
  qmBitmap* target = ScaledBuffer(scene, display.scaleWidth, display.scaleHeight);
  if (target == nullptr) return;
  const Area whole{0, 0, source.width, source.height};
  if (!ScaleBitmapInto(scene.pixels().scaleTables, source, whole, *target, display.scaleWidth,
                       display.scaleHeight, display.smoothScale)) {
    return;
  }
  display.window->Update(ViewOf(*target), 0, 0, display.marginLeft, display.marginTop,
                         display.scaleWidth, display.scaleHeight);
}

}  // namespace

void WindowBlit(SceneState& scene, const qmBitmap& source, std::int32_t sourceX,
                std::int32_t sourceY, qmDisplay& display, std::int32_t x, std::int32_t y,
                std::int32_t width, std::int32_t height, unsigned flags) {
  const RecorderService& recorder = scene.recorder;
  const bool evenWhileRecording = (flags & (blitWhileRecording | blitFrame)) != 0;
  if (!evenWhileRecording && recorder.collectsFrames && recorder.collectsFrames()) {
    if (recorder.frameDirty) recorder.frameDirty();
    return;
  }
  const bool isScaled =
      (flags & blitMayScale) != 0 && display.HasScaleSize() &&
      (source.width != display.scaleWidth || source.height != display.scaleHeight);
  if (isScaled && recorder.Recording()) return;
  if (display.state != DisplayState::Open || !display.window) return;
  if (isScaled) {
    ScaledUpdate(scene, source, display);
  } else {
    display.window->Update(ViewOf(source), sourceX, sourceY, x + display.marginLeft,
                           y + display.marginTop, width, height);
  }
  scene.hooks.windowPainted.Call();
}

}  // namespace quillmere
