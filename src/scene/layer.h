// The records of the layer stack: what a background picture remembers of each thing that was drawn
// while layers were on. The operations on them stand in their own files.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "pixels/matrix.h"
#include "pixels/object_types.h"
#include "pixels/planes.h"
#include "scene/clip_region.h"
#include "vm/object_id.h"

namespace quillmere {

/// How a layer is scaled and turned, and around which point.
struct qmTransform {
  Matrix matrix;
  double scaleX = 1;
  double scaleY = 1;
  /// Target size; 0 means that the scale counts.
  std::int32_t width = 0;
  std::int32_t height = 0;
  /// Degrees.
  std::int32_t rotate = 0;
  /// A matrix that the script gave, when `hasGiven`.
  Matrix given;
  bool hasGiven = false;
  bool smooth = false;
  /// These three serve layers of text.
  bool textTransform = false;
  double fontScaleX = 1;
  double fontScaleY = 1;
  /// 0 to 1, as a share of the picture's size.
  double anchorX = 0;
  double anchorY = 0;
};

/// What a frame keeps for layers whose type has no picture object: text with its styles, a shape
/// with its parameters. The room that draws the type derives from it.
struct FrameData {
  virtual ~FrameData() = default;
  [[nodiscard]] virtual std::unique_ptr<FrameData> Clone() const = 0;
};

/// The geometry of a layer at one stage and, where needed, its rendered planes.
struct qmFrame {
  /// Planes of this stage; without a bitmap the object's own planes count.
  Planes planes;
  /// Planes that a running effect works in; while their bitmap is set they are what is shown.
  Planes live;
  /// The region of this stage, or null.
  qmClipRegion* clipRegion = nullptr;
  /// Owns `clipRegion` when the layer made it for itself.
  std::shared_ptr<qmClipRegion> ownRegion;
  /// Position as the script gave it, before the anchor.
  std::int32_t x = 0;
  std::int32_t y = 0;
  /// Size before transforming.
  std::int32_t width = 0;
  std::int32_t height = 0;
  /// Top left corner of the picture on the output.
  std::int32_t boxX = 0;
  std::int32_t boxY = 0;
  /// `x`, `y` less the anchor's offset.
  std::int32_t anchoredX = 0;
  std::int32_t anchoredY = 0;
  /// Size of the picture on the output.
  std::int32_t outWidth = 0;
  std::int32_t outHeight = 0;
  /// Distance between the picture's box and the shape's own geometry.
  std::int32_t insetLeft = 0;
  std::int32_t insetTop = 0;
  std::int32_t insetRight = 0;
  std::int32_t insetBottom = 0;
  /// Source offset of layers that show a part.
  std::int32_t partX = 0;
  std::int32_t partY = 0;
  /// The shown frame of an anim, from 0, their number, and the delay in milliseconds.
  std::int32_t frame = 0;
  std::int32_t frameCount = 0;
  std::int32_t frameDelay = 0;
  std::unique_ptr<FrameData> data;
};

/// One layer of a background picture's stack.
struct qmLayer {
  ObjectType type = ObjectType::NOOBJECT;
  /// The object shown; it changes when the object is freed or modified.
  ObjectId id;
  /// The identifier that the script gave.
  ObjectId originalId;
  bool hidden = false;
  /// Made while the displayed picture was selected with layers; not painted before the selection
  /// ends.
  bool leftOut = false;
  /// 0 (opaque) to 255.
  std::int32_t transparency = 0;
  /// 0 to 255.
  std::int32_t tint = 0;
  std::uint32_t tintColor = 0;
  /// Unique within the picture, empty for none.
  std::string name;
  std::string group;
  bool effectBusy = false;
  bool savedEffectState = false;
  /// The clip region is not transformed with the layer.
  bool noClipTransform = false;
  qmTransform transform;
  double anchorX = 0;
  double anchorY = 0;
  /// The layer as the script sees it, with its matrix, and on the window. All three are one record
  /// while there is neither a transform nor a scale engine.
  std::shared_ptr<qmFrame> logical;
  std::shared_ptr<qmFrame> transformed;
  std::shared_ptr<qmFrame> output;
};

/// Bottom layer first.
using LayerList = std::list<std::unique_ptr<qmLayer>>;

}  // namespace quillmere
