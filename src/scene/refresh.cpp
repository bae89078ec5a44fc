// Repainting a whole display: after damage, after a change of size, when its window opens.
#include "pixels/blit.h"
#include "scene/redraw.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

void FillMargins(const qmDisplay& display) {
  PlatformWindow& window = *display.window;
  const int innerHeight = display.height - display.marginTop - display.marginBottom;
  const auto fill = [&](int x, int y, int width, int height) {
    if (width > 0 && height > 0) window.Fill(x, y, width, height, 0);
  };
  fill(0, 0, display.width, display.marginTop);
  fill(0, display.height - display.marginBottom, display.width, display.marginBottom);
  fill(0, display.marginTop, display.marginLeft, innerHeight);
  fill(display.width - display.marginRight, display.marginTop, display.marginRight, innerHeight);
}

/// The front picture, and from the canvas what the window shows beyond it.
void RefreshDoubleBuffered(SceneState& scene, qmDisplay& display, unsigned flags) {
  const qmBitmap& front = *display.doubleBufferFront;
  const bool isScaled = display.autoScale && display.HasScaleSize();
  const int areaWidth = isScaled ? display.scaleWidth : display.bgpic->outputWidth;
  const int areaHeight = isScaled ? display.scaleHeight : display.bgpic->outputHeight;
  const int width = std::min({front.width, display.width, areaWidth});
  const int height = std::min({front.height, display.height, areaHeight});
  WindowBlit(scene, front, 0, 0, display, 0, 0, width, height, flags & ~blitMayScale);
  if (isScaled || !display.canvas) return;
  const qmBitmap& canvas = *display.canvas;
  if (canvas.width > width) {
    WindowBlit(scene, canvas, width, 0, display, width, 0, canvas.width - width, canvas.height,
               flags & ~blitMayScale);
  }
  if (canvas.height > height) {
    WindowBlit(scene, canvas, 0, height, display, 0, height, width, canvas.height - height,
               flags & ~blitMayScale);
  }
}

}  // namespace

void RefreshDisplay(SceneState& scene, qmDisplay& display, unsigned flags) {
  if (display.state != DisplayState::Open || !display.window || !display.scratch) return;
  FillMargins(display);
  if ((display.doubleBuffered || display.doubleBufferSuspended) && display.doubleBufferFront) {
    RefreshDoubleBuffered(scene, display, flags);
    return;
  }
  const qmBGPic& bgpic = *display.bgpic;
  REDRAW(scene, display, *display.bgpic, display.scratch.get(), 0, 0, bgpic.outputWidth,
         bgpic.outputHeight, 0);
  WindowBlit(scene, *display.scratch, 0, 0, display, 0, 0, bgpic.outputWidth, bgpic.outputHeight,
             flags | blitMayScale | blitWhole);
}

BitmapPtr ComposedPicture(SceneState& scene, qmDisplay& display) {
  qmBGPic& bgpic = *display.bgpic;
  if (bgpic.layers.empty() && !scene.sprites.Any(bgpic)) return display.canvas;
  REDRAW(scene, display, bgpic, display.scratch.get(), 0, 0, bgpic.outputWidth, bgpic.outputHeight,
         redrawFromCanvas);
  return display.scratch;
}

}  // namespace quillmere
