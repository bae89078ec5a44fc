// The redraw route: any rectangle of the scene is composed from the background, the layers and the
// sprites and goes to the window. There is no render loop; a command repaints what it changed
// before it returns.
#pragma once

#include <cstdint>
#include <vector>

#include "base/error.h"
#include "pixels/planes.h"
#include "scene/bgpic.h"
#include "scene/geometry.h"

namespace quillmere {

struct SceneState;
struct qmDisplay;

/// Bits of the flags of `REDRAW`.
enum RedrawFlags : unsigned {
  redrawNoSprites = 1,
  /// Neither background nor layers.
  redrawSpritesOnly = 2,
  /// The background is the display's canvas.
  redrawFromCanvas = 4,
  /// The background is the picture's shown planes.
  redrawFromShown = 8,
  /// At the size that the script sees: scaled planes and transformed frames.
  redrawLogical = 16
};

/// Composes a rectangle of the scene at the same place of `target`, cut to the picture's size. A
/// missing target, an empty size or a negative corner writes a line to the debug output and draws
/// nothing. A layer for which memory is out is left out.
void REDRAW(SceneState& scene, qmDisplay& display, qmBGPic& bgpic, qmBitmap* target, std::int32_t x,
            std::int32_t y, std::int32_t width, std::int32_t height, unsigned flags);

/// Repaints a rectangle of the current display at once; while a picture is selected with layers it
/// is only noted, and for other outputs nothing happens.
void AddDirty(SceneState& scene, std::int32_t x, std::int32_t y, std::int32_t width,
              std::int32_t height);

/// Joins overlapping rectangles in one pass and paints what is left, each once. The list is empty
/// afterwards.
void MergeAndPaint(SceneState& scene, std::vector<DirtyRect>& rects);

/// Adds a rectangle to a list; when memory is out it is dropped.
void NoteRect(std::vector<DirtyRect>& rects, const DirtyRect& rect);

/// Bits of the flags of `WindowBlit`.
enum BlitFlags : unsigned {
  blitMayScale = 1,
  /// Painted even while a video is recorded.
  blitWhileRecording = 2,
  blitFrame = 4,
  blitWhole = 8
};

/// The one route from a picture to the window. A window that is not open gets nothing. With
/// `blitMayScale` on a display with a scale size a source of another size is scaled whole.
void WindowBlit(SceneState& scene, const qmBitmap& source, std::int32_t sourceX,
                std::int32_t sourceY, qmDisplay& display, std::int32_t x, std::int32_t y,
                std::int32_t width, std::int32_t height, unsigned flags);

/// Repaints the whole display, margins included: for a window that lost its picture and after a
/// change of size.
void RefreshDisplay(SceneState& scene, qmDisplay& display, unsigned flags = 0);

/// A picture that shows the whole scene at output size: the canvas, or the scene composed in
/// `scratch`.
[[nodiscard]] BitmapPtr ComposedPicture(SceneState& scene, qmDisplay& display);

/// Waits for the next vertical blank, and for the frame limit when there is one.
void FrameWait(SceneState& scene, qmDisplay& display);

/// The planes of a layer's picture at one stage.
struct LayerPicture {
  Planes planes;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

/// The picture of a layer at the stage `frame`: the live planes when they are preferred and there,
/// else the frame's own, else the object's. `frameNumber` -1 is the frame's own anim frame. Error:
/// `WrongUsage` for types without a picture.
[[nodiscard]] Result<LayerPicture> LayerPlanes(SceneState& scene, const qmLayer& layer,
                                               const qmFrame& frame, bool preferLive,
                                               std::int32_t frameNumber);

}  // namespace quillmere
