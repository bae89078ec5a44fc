// SAFEBLT: the one clipped way to put a picture on the output. It finds out where the pixels go
// (canvas, window, or the planes of a selected object), keeps sprites on top, cuts to the clip
// region and writes up to three planes.
//
// The output belongs to the scene, which stands above this room. It joins through `BlitOutput`.
#pragma once

#include "base/host.h"
#include "pixels/area.h"
#include "pixels/mask_ops.h"
#include "pixels/planes.h"

namespace quillmere {

/// A display as SAFEBLT sees it. Coordinates are those of the unscaled output.
class BlitOutput {
 public:
  virtual ~BlitOutput() = default;

  /// True when drawing goes to the display itself, false while an off-screen output is selected.
  [[nodiscard]] virtual bool IsDisplay() const = 0;
  [[nodiscard]] virtual bool LayersEnabled() const = 0;
  [[nodiscard]] virtual bool AutoScaling() const = 0;
  /// The planes of the selected output; null where it has none, all null for the display.
  [[nodiscard]] virtual qmBitmap* OutBitmap() = 0;
  [[nodiscard]] virtual qmMask* OutMask() = 0;
  [[nodiscard]] virtual qmAlphaMap* OutAlpha() = 0;
  /// The permanent picture.
  [[nodiscard]] virtual qmBitmap* Canvas() = 0;
  /// The target of composition.
  [[nodiscard]] virtual qmBitmap* Scratch() = 0;
  /// Whether a sprite on the output's picture overlaps the rectangle.
  [[nodiscard]] virtual bool SpritesOverlap(const Area& area) const = 0;

  /// What `Render` puts into the scratch picture.
  enum class Content { Scene, SceneWithoutSprites, SpritesOnly };
  /// Composes a rectangle of the scene into the scratch picture (REDRAW with flags 0, 1 or 2).
  virtual void Render(const Area& area, Content content) = 0;
  /// The way to the window (`WindowBlit` with flag 1): the rectangle of the source at sx, sy
  /// appears at tx, ty.
  virtual void UpdateWindow(const qmBitmap& source, const BlitArea& area) = 0;
};

/// A clip region: a rectangle in output coordinates and, when it has a shape, a mask of its size.
struct ClipShape {
  Area area;
  const qmMask* mask = nullptr;
};

/// Flags of SAFEBLT.
enum SafeBlitFlags : unsigned {
  /// The clip region is ignored.
  SAFEBLT_NOCLIP = 1,
  SAFEBLT_NOSPRITES = 2,
  /// Part of the permanent picture: with layers off, into the canvas too.
  SAFEBLT_PERMANENT = 4,
  /// With layers on: recompose the rectangle from the stack, which holds the object already.
  SAFEBLT_RECOMPOSE = 8,
  /// The output's mask and alpha planes are not touched.
  SAFEBLT_COLORONLY = 16,
  /// With SAFEBLT_PERMANENT or SAFEBLT_CANVAS: leave the canvas alone.
  SAFEBLT_KEEPCANVAS = 32,
  /// As SAFEBLT_PERMANENT, whether layers are on or off.
  SAFEBLT_CANVAS = 64
};

struct SafeBlit {
  const qmBitmap* source = nullptr;
  const qmMask* sourceMask = nullptr;
  const qmAlphaMap* sourceAlpha = nullptr;
  /// Null stands for the current output of the current display.
  qmBitmap* target = nullptr;
  BlitArea area;
  /// Sizes to clip against.
  int sourceWidth = 0;
  int sourceHeight = 0;
  int targetWidth = 0;
  int targetHeight = 0;
  unsigned flags = 0;
  const ClipShape* clip = nullptr;
};

/// Draws on the current output. Without a current display, a call with a target and
/// SAFEBLT_COLORONLY works on the fallback display; any other leaves a line on the debug output.
void SAFEBLT(Host& host, const SafeBlit& blit);

}  // namespace quillmere
