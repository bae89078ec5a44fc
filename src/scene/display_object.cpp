#include "scene/display_object.h"

#include "base/numbers.h"
#include "pixels/placement.h"
#include "pixels/safeblt.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// The picture that a request shows.
struct ShownPicture {
  Planes planes;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t frameCount = 1;
  std::int32_t frameDelay = 0;
  ObjectId id;
  /// The planes were made for this call alone.
  bool isPrivate = false;
};

/// One call of the display path.
class DisplayCall {
 public:
  DisplayCall(VmState& state, DisplayRequest request)
      : state_(state),
        scene_(vmRoom<SceneState>(state)),
        display_(*scene_.currentDisplay),
        request_(request) {}

  Status Run() {
    TRY(EndOwnSelection());
    picture_ = TRY(FindPicture());
    if (request_.type == ObjectType::BRUSH || request_.type == ObjectType::ANIM) {
      request_.width = picture_.width;
      request_.height = picture_.height;
    }
    if (request_.width < 1 || request_.height < 1) return Fail(Error::SizeNotPositive);
    tags_ = TRY(ReadDrawTags(state_, TableIndex(), request_.width, request_.height));
    TRY(PlaceAndCut());
    TRY(PrepareOutput(scene_));
    return display_.layersEnabled ? ShowAsLayer() : ShowAsPixels();
  }

 private:
  /// A picture that is shown is no longer drawn into.
  Status EndOwnSelection() {
    const ObjectType type = request_.type == ObjectType::BRUSHPART   ? ObjectType::BRUSH
                            : request_.type == ObjectType::BGPICPART ? ObjectType::BGPIC
                                                                     : request_.type;
    const std::int32_t frame = type == ObjectType::ANIM ? request_.frame + 1 : -1;
    if (display_.outputType == ObjectType::BGPIC || request_.currentBGPic) return {};
    if (!IsSelectedOutput(scene_, type, request_.id, frame)) return {};
    return EndSelection(scene_);
  }

  Result<ShownPicture> FindPicture() {
    switch (request_.type) {
      case ObjectType::BRUSH:
      case ObjectType::BRUSHPART:
        return FindBrushPicture();
      case ObjectType::BGPICPART:
        return FindBGPicPicture();
      default:
        return FindSourcePicture();
    }
  }

  Result<ShownPicture> FindBrushPicture() {
    const bool isPart = request_.type == ObjectType::BRUSHPART;
    const qmBrush* brush = TRY(FindBrush(scene_, request_.id, isPart ? FIND_NO_VECTOR : 0u));
    if (display_.layersEnabled && brush->vectorTransformed) {
      return Fail(Error::CannotInsertVectorBrush);
    }
    return ShownPicture{
        .planes = brush->planes, .width = brush->width, .height = brush->height, .id = request_.id};
  }

  Result<ShownPicture> FindBGPicPicture() {
    qmBGPic* bgpic = request_.currentBGPic ? display_.bgpic : TRY(FindBGPic(scene_, request_.id));
    ShownPicture picture{.planes = bgpic->scaled,
                         .width = bgpic->logicalWidth,
                         .height = bgpic->logicalHeight,
                         .id = bgpic->Id()};
    if (!request_.withLayers) return picture;
    BitmapPtr composed = TRY(AllocBitmap(picture.width, picture.height));
    REDRAW(scene_, display_, *bgpic, composed.get(), 0, 0, picture.width, picture.height,
           redrawLogical);
    picture.planes.bitmap = std::move(composed);
    picture.isPrivate = true;
    return picture;
  }

  Result<ShownPicture> FindSourcePicture() {
    const auto source = scene_.pictureSources.find(request_.type);
    if (source == scene_.pictureSources.end()) return Fail(Error::WrongUsage);
    const SourcePicture found = TRY(source->second(request_.id, request_.frame, false));
    return ShownPicture{.planes = found.planes,
                        .width = found.width,
                        .height = found.height,
                        .frameCount = found.frameCount,
                        .frameDelay = found.frameDelay,
                        .id = request_.id};
  }

  int TableIndex() {
    const int index = request_.tagsIndex;
    if (index == 0 || vmType(state_, index) == VmType::None ||
        vmType(state_, index) == VmType::Nil) {
      return 0;
    }
    if (vmType(state_, index) == VmType::Number && request_.type == ObjectType::BGPICPART) {
      return 0;
    }
    vmArgTable(state_, index);
    return index;
  }

  Status PlaceAndCut() {
    const qmTransform& transform = tags_.transform;
    request_.sourceX = ResolveX(request_.sourceX, request_.width, {0, picture_.width});
    request_.sourceY = ResolveY(request_.sourceY, request_.height, {0, picture_.height});
    if (request_.takeSourceX) request_.x = request_.sourceX;
    if (request_.takeSourceY) request_.y = request_.sourceY;
    request_.x = PlaceX(scene_, request_.x, request_.width, transform.anchorX);
    request_.y = PlaceY(scene_, request_.y, request_.height, transform.anchorY);
    if (request_.sourceX < 0 || request_.sourceY < 0) {
      return Fail(Error::NegativeCoordinatesNotAllowedHere);
    }
    if (request_.sourceX >= picture_.width || request_.sourceY >= picture_.height) {
      return Fail(Error::SpecifiedCoordinatesOutRange);
    }
    request_.width = std::min(request_.width, picture_.width - request_.sourceX);
    request_.height = std::min(request_.height, picture_.height - request_.sourceY);
    return {};
  }

  [[nodiscard]] std::int32_t AnchorOffsetX() const {
    return ToInt32(request_.width * tags_.transform.anchorX);
  }
  [[nodiscard]] std::int32_t AnchorOffsetY() const {
    return ToInt32(request_.height * tags_.transform.anchorY);
  }

  Status ShowAsPixels() {
    const qmTransform& transform = tags_.transform;
    if (transform.matrix.IsIdentity()) {
      Paint(picture_.planes, request_.sourceX, request_.sourceY, request_.x, request_.y,
            request_.width, request_.height);
      return {};
    }
    const Area source{request_.sourceX, request_.sourceY, request_.width, request_.height};
    const TransformedPicture copy =
        TRY(TransformedCopy(scene_, picture_.planes, source, transform.matrix, transform.smooth));
    const PlacedBox box =
        AnchoredBox(request_.x, request_.y, request_.width, request_.height, transform.matrix,
                    request_.width * transform.anchorX, request_.height * transform.anchorY);
    Paint(copy.planes, 0, 0, box.x, box.y, copy.width, copy.height);
    return {};
  }

  Status ShowAsLayer() {
    if (!scene_.layerService.add) return Fail(Error::UnimplementedCommand);
    const bool isPlain = tags_.transform.matrix.IsIdentity() && !tags_.needsRedraw;
    TRY(scene_.layerService.add(MakeLayer(isPlain)));
    if (isPlain) {
      Paint(picture_.planes, request_.sourceX, request_.sourceY, request_.x, request_.y,
            request_.width, request_.height);
    }
    return {};
  }

  NewLayer MakeLayer(bool isPlain) {
    NewLayer layer;
    layer.type = request_.type;
    layer.id = picture_.id;
    layer.x = layer.boxX = request_.x;
    layer.y = layer.boxY = request_.y;
    layer.width = request_.width;
    layer.height = request_.height;
    if (picture_.isPrivate) layer.planes = picture_.planes;
    layer.tags = &tags_;
    layer.frame = std::make_shared<qmFrame>();
    layer.frame->partX = request_.sourceX;
    layer.frame->partY = request_.sourceY;
    layer.frame->frame = request_.frame;
    layer.frame->frameCount = picture_.frameCount;
    layer.frame->frameDelay = picture_.frameDelay;
    layer.position = tags_.insertPos > 0 ? tags_.insertPos : -1;
    layer.flags = request_.layerFlags | addLayerScale | (isPlain ? addLayerNoRepaint : 0u);
    return layer;
  }

  /// The last step: pixels on the output, or a rectangle of the stack composed anew.
  void Paint(const Planes& planes, std::int32_t sourceX, std::int32_t sourceY, std::int32_t x,
             std::int32_t y, std::int32_t width, std::int32_t height) {
    x -= AnchorOffsetX();
    y -= AnchorOffsetY();
    if (display_.outputType == ObjectType::BGPIC) {
      NoteRect(display_.dirtyRects, ToDirtyRect(x, y, width, height));
      return;
    }
    if (!display_.HasSelection() && display_.layerScale) return;
    const qmOutput& output = *scene_.currentOutput;
    ClipShape shape;
    if (const qmClipRegion* region = output.clipRegion) {
      shape = {{region->x, region->y, region->width, region->height}, region->mask.get()};
    }
    SafeBlit blit;
    blit.source = planes.bitmap.get();
    blit.sourceMask = planes.mask.get();
    blit.sourceAlpha = planes.alpha.get();
    blit.area = {sourceX, sourceY, x, y, width, height};
    blit.sourceWidth = planes.bitmap->width;
    blit.sourceHeight = planes.bitmap->height;
    blit.targetWidth = output.outputWidth;
    blit.targetHeight = output.outputHeight;
    blit.flags = SAFEBLT_PERMANENT | SAFEBLT_RECOMPOSE;
    blit.clip = output.clipRegion != nullptr ? &shape : nullptr;
    SAFEBLT(scene_.host, blit);
  }

  VmState& state_;
  SceneState& scene_;
  qmDisplay& display_;
  DisplayRequest request_;
  ShownPicture picture_;
  qmDrawTags tags_;
};

}  // namespace

Status DisplayObject(VmState& state, DisplayRequest request) {
  return DisplayCall(state, request).Run();
}

}  // namespace quillmere
