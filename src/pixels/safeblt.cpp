#include "pixels/safeblt.h"

#include <algorithm>
#include <limits>

#include "pixels/blit.h"
#include "pixels/pixels_state.h"

namespace quillmere {
namespace {

/// The source planes of one call, after the clip region's shape has been put in. Masks and alpha
/// maps are read at their own corner, since a shaped one stands in a buffer at 0, 0.
struct SourcePlanes {
  const qmBitmap* bitmap;
  const qmMask* mask;
  const qmAlphaMap* alpha;
  /// What to add to source coordinates to get coordinates of mask and alpha.
  int planeX = 0;
  int planeY = 0;
};

/// One call, once it is known that something will be drawn.
class SafeBlitCall {
 public:
  SafeBlitCall(Host& host, BlitOutput& output, const SafeBlit& blit)
      : host_(host), pixels_(host.Of<PixelsState>()), output_(output), blit_(blit) {}

  void Run() {
    if (blit_.source == nullptr) return;
    area_ = Clip();
    if (area_.Empty()) return;
    if (GoesBeneathSprites()) return DrawBeneathSprites();
    source_ = {blit_.source, blit_.sourceMask, blit_.sourceAlpha};
    if (!ApplyClipShape()) return;
    Draw();
  }

 private:
  [[nodiscard]] bool Has(unsigned flag) const { return (blit_.flags & flag) != 0; }

  /// True when the call speaks to the display itself, and not to a bitmap or a selected object.
  [[nodiscard]] bool SpeaksToDisplay() const {
    return blit_.target == nullptr && output_.IsDisplay();
  }

  [[nodiscard]] bool WritesCanvas() const {
    if (Has(SAFEBLT_KEEPCANVAS)) return false;
    return Has(SAFEBLT_CANVAS) || (Has(SAFEBLT_PERMANENT) && !output_.LayersEnabled());
  }

  [[nodiscard]] bool Recomposes() const {
    return Has(SAFEBLT_RECOMPOSE) && output_.LayersEnabled();
  }

  [[nodiscard]] BlitArea Clip() const {
    BlitArea area = blit_.area;
    if (area.sx < 0 || area.sy < 0) return {};
    if (blit_.clip != nullptr && !Has(SAFEBLT_NOCLIP)) {
      area = ClipTarget(area, blit_.clip->area);
    }
    area = ClipTarget(area, {0, 0, blit_.targetWidth, blit_.targetHeight});
    area = ClipSource(area, {0, 0, blit_.sourceWidth, blit_.sourceHeight});
    return ClipSource(area, {0, 0, blit_.source->width, blit_.source->height});
  }

  [[nodiscard]] bool GoesBeneathSprites() const {
    return !Has(SAFEBLT_NOSPRITES) && blit_.target == nullptr &&
           output_.SpritesOverlap(area_.Target());
  }

  void DrawBeneathSprites() {
    const Area area = area_.Target();
    if (Recomposes()) {
      output_.Render(area, BlitOutput::Content::Scene);
    } else if (WritesCanvas()) {
      Repeat(output_.Canvas());
      output_.Render(area, BlitOutput::Content::Scene);
    } else {
      output_.Render(area, BlitOutput::Content::SceneWithoutSprites);
      Repeat(output_.Scratch());
      output_.Render(area, BlitOutput::Content::SpritesOnly);
    }
    ShowScratch(area);
  }

  /// The same call into a bitmap, sprites left out of account.
  void Repeat(qmBitmap* target) {
    if (target == nullptr) return;
    SafeBlit again = blit_;
    again.target = target;
    again.flags |= SAFEBLT_NOSPRITES;
    SafeBlitCall(host_, output_, again).Run();
  }

  void ShowScratch(const Area& area) {
    const qmBitmap* scratch = output_.Scratch();
    if (scratch == nullptr) return;
    SafeBlit show;
    show.source = scratch;
    show.area = {area.x, area.y, area.x, area.y, area.width, area.height};
    show.sourceWidth = scratch->width;
    show.sourceHeight = scratch->height;
    show.targetWidth = blit_.targetWidth;
    show.targetHeight = blit_.targetHeight;
    show.flags = SAFEBLT_NOCLIP | SAFEBLT_NOSPRITES;
    SafeBlitCall(host_, output_, show).Run();
  }

  /// Replaces the source's transparency by what of it lies in the region's shape; false when there
  /// is no memory for it.
  bool ApplyClipShape() {
    if (blit_.clip == nullptr || blit_.clip->mask == nullptr || Has(SAFEBLT_NOCLIP)) return true;
    const bool cutsAlpha = source_.alpha != nullptr && source_.mask == nullptr;
    if (!(cutsAlpha ? ShapeAlpha() : ShapeMask())) return false;
    source_.planeX = -area_.sx;
    source_.planeY = -area_.sy;
    return true;
  }

  bool ShapeAlpha() {
    if (!Grow(pixels_.clipAlpha, AllocAlphaMap)) return false;
    CopyAlphaThrough(*source_.alpha, area_.sx, area_.sy, *blit_.clip->mask, ShapeX(), ShapeY(),
                     *pixels_.clipAlpha, area_.width, area_.height);
    source_.alpha = pixels_.clipAlpha.get();
    return true;
  }

  bool ShapeMask() {
    if (!Grow(pixels_.clipMask, AllocMask)) return false;
    qmMask& shaped = *pixels_.clipMask;
    const qmMask& shape = *blit_.clip->mask;
    if (source_.mask != nullptr) {
      CopyMaskThrough(*source_.mask, area_.sx, area_.sy, shape, ShapeX(), ShapeY(), shaped,
                      area_.width, area_.height);
    } else {
      FillMask(shaped, {0, 0, area_.width, area_.height}, MASKINVISIBLE);
      CopyMask(shape, shaped, {ShapeX(), ShapeY(), 0, 0, area_.width, area_.height},
               MASKVANILLACOPY);
    }
    source_.mask = &shaped;
    return true;
  }

  /// Where the target rectangle begins in the region's mask.
  [[nodiscard]] int ShapeX() const { return area_.tx - blit_.clip->area.x; }
  [[nodiscard]] int ShapeY() const { return area_.ty - blit_.clip->area.y; }

  /// Makes a kept buffer at least as large as the rectangle.
  template <class Plane, class Alloc>
  bool Grow(std::shared_ptr<Plane>& buffer, Alloc alloc) {
    const int width = buffer ? buffer->width : 0;
    const int height = buffer ? buffer->height : 0;
    if (width >= area_.width && height >= area_.height) return true;
    auto larger = alloc(std::max(width, area_.width), std::max(height, area_.height), true);
    if (!larger) larger = alloc(area_.width, area_.height, true);
    if (!larger) return false;
    buffer = std::move(*larger);
    return true;
  }

  void Draw() {
    if (!SpeaksToDisplay()) {
      qmBitmap* target = blit_.target != nullptr ? blit_.target : output_.OutBitmap();
      DrawColors(target);
      DrawPlanes(target);
      return;
    }
    if (WritesCanvas()) {
      DrawColors(output_.Canvas());
      DrawPlanes(output_.Canvas());
      UpdateWindowFrom(output_.Canvas());
    } else if (Recomposes()) {
      output_.Render(area_.Target(), BlitOutput::Content::Scene);
      UpdateWindowFrom(output_.Scratch());
    } else if (source_.mask == nullptr && source_.alpha == nullptr) {
      output_.UpdateWindow(*source_.bitmap, area_);
    }
  }

  /// The rectangle of the target as it stands in a picture of the output's size.
  void UpdateWindowFrom(const qmBitmap* picture) {
    if (picture == nullptr) return;
    output_.UpdateWindow(*picture,
                         {area_.tx, area_.ty, area_.tx, area_.ty, area_.width, area_.height});
  }

  void DrawColors(qmBitmap* target) {
    if (target == nullptr) return;
    DrawColorsInto(*target);
    const bool isCanvas = target == output_.Canvas();
    if (isCanvas && output_.AutoScaling() && !Has(SAFEBLT_COLORONLY) &&
        output_.Scratch() != nullptr) {
      DrawColorsInto(*output_.Scratch());
    }
  }

  void DrawColorsInto(qmBitmap& target) {
    // With an alpha plane in the output the alpha travels along and is not applied here.
    const bool alphaTravels = !Has(SAFEBLT_COLORONLY) && output_.OutAlpha() != nullptr;
    if (source_.mask != nullptr) {
      BltThroughMask(target);
    } else if (source_.alpha != nullptr && !alphaTravels) {
      BltThroughAlpha(target);
    } else {
      BLTBITMAP(host_.debug, *source_.bitmap, &target, area_);
    }
  }

  /// A view of the part of the source that the rectangle shows, so that it and a shaped plane have
  /// the same corner.
  [[nodiscard]] qmBitmap AlignedSource() const {
    auto* corner = const_cast<std::uint32_t*>(  // NOLINT: a view that is only read
        source_.bitmap->Row(area_.sy) + area_.sx);
    return ViewBitmap(corner, source_.bitmap->pixelsPerRow, area_.width, area_.height);
  }

  [[nodiscard]] bool IsShaped() const { return source_.planeX != 0 || source_.planeY != 0; }

  [[nodiscard]] BlitArea AlignedArea() const {
    return {0, 0, area_.tx, area_.ty, area_.width, area_.height};
  }

  /// The rectangle in the coordinates of the source's mask or alpha map.
  [[nodiscard]] BlitArea PlaneArea() const {
    BlitArea area = area_;
    area.sx += source_.planeX;
    area.sy += source_.planeY;
    return area;
  }

  void BltThroughMask(qmBitmap& target) {
    if (IsShaped()) {
      BLTMASK(host_.debug, AlignedSource(), &target, AlignedArea(), *source_.mask);
    } else {
      BLTMASK(host_.debug, *source_.bitmap, &target, area_, *source_.mask);
    }
  }

  void BltThroughAlpha(qmBitmap& target) {
    if (IsShaped()) {
      BLTALPHABITMAP(host_.debug, AlignedSource(), &target, AlignedArea(), *source_.alpha);
    } else {
      BLTALPHABITMAP(host_.debug, *source_.bitmap, &target, area_, *source_.alpha);
    }
  }

  void DrawPlanes(const qmBitmap* colorTarget) {
    if (Has(SAFEBLT_COLORONLY)) return;
    const bool planesOnly = colorTarget == nullptr;
    if (qmMask* mask = output_.OutMask()) {
      DrawMask(*mask, planesOnly ? pixels_.maskMode : MASKVANILLACOPY);
    }
    if (qmAlphaMap* alpha = output_.OutAlpha()) {
      DrawAlpha(*alpha, planesOnly ? pixels_.alphaIntensity : VANILLACOPY);
    }
  }

  void DrawMask(qmMask& mask, MaskMode mode) {
    if (source_.mask != nullptr) {
      CopyMask(*source_.mask, mask, PlaneArea(), mode);
    } else if (source_.alpha != nullptr) {
      AlphaToMask(*source_.alpha, mask, PlaneArea(), mode);
    } else {
      FillMask(mask, area_.Target(), mode);
    }
  }

  void DrawAlpha(qmAlphaMap& alpha, int intensity) {
    const bool isPlain = intensity == VANILLACOPY;
    const auto value = static_cast<std::uint8_t>(isPlain ? 255 : intensity);
    if (source_.mask != nullptr) {
      MaskToAlpha(*source_.mask, alpha, PlaneArea(), value);
    } else if (source_.alpha != nullptr) {
      CopyAlpha(*source_.alpha, alpha, PlaneArea(),
                isPlain ? AlphaCopyMode::Copy : AlphaCopyMode::Value, value);
    } else {
      FillAlpha(alpha, area_.Target(), value);
    }
  }

  Host& host_;
  PixelsState& pixels_;
  BlitOutput& output_;
  SafeBlit blit_;
  BlitArea area_;
  SourcePlanes source_{};
};

}  // namespace

void SAFEBLT(Host& host, const SafeBlit& blit) {
  auto& pixels = host.Of<PixelsState>();
  if (pixels.output != nullptr) return SafeBlitCall(host, *pixels.output, blit).Run();
  const bool mayFallBack = blit.target != nullptr && (blit.flags & SAFEBLT_COLORONLY) != 0;
  if (mayFallBack && pixels.fallbackOutput != nullptr) {
    SafeBlit unsprited = blit;
    unsprited.flags |= SAFEBLT_NOSPRITES;
    return SafeBlitCall(host, *pixels.fallbackOutput, unsprited).Run();
  }
  host.debug.Write("ERROR! SAFEBLT() CALLED WITH DISPLAY=NULL!\n");
}

}  // namespace quillmere
