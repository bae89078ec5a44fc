// The common path by which a picture object reaches the output: as pixels while layers are off, as
// a new layer while they are on.
#pragma once

#include <cstdint>
#include <string>

#include "base/error.h"
#include "pixels/area.h"
#include "pixels/matrix.h"
#include "pixels/object_types.h"
#include "pixels/planes.h"
#include "scene/layer.h"
#include "vm/vm.h"

namespace quillmere {

struct SceneState;
struct qmDisplay;

/// What the optional table of a display command says.
struct qmDrawTags {
  qmTransform transform;
  std::string name;
  bool hidden = false;
  /// Place in the stack counted from 1 at the bottom; 0 is the top.
  std::int32_t insertPos = 0;
  std::int32_t transparency = 0;
  std::int32_t tint = 0;
  std::uint32_t tintColor = 0;
  /// The new layer cannot simply be painted over what stands there.
  bool needsRedraw = false;
};

/// Reads the tags from the table at `index`. The matrix is built for a picture of the given size.
/// Errors: `WrongUsage`, `InvalidInsertPositionSpecified`, `SpecifiedNameTooLong`.
[[nodiscard]] Result<qmDrawTags> ReadDrawTags(VmState& state, int index, std::int32_t width,
                                              std::int32_t height);

/// One call of the display path.
struct DisplayRequest {
  /// `BRUSH`, `BRUSHPART`, `BGPICPART` or `ANIM`.
  ObjectType type = ObjectType::BRUSH;
  ObjectId id;
  /// For `BGPICPART`: the current background picture instead of `id`.
  bool currentBGPic = false;
  /// Frame of an anim, from 0.
  std::int32_t frame = 0;
  std::int32_t sourceX = 0;
  std::int32_t sourceY = 0;
  std::int32_t x = 0;
  std::int32_t y = 0;
  /// The target is the source position.
  bool takeSourceX = false;
  bool takeSourceY = false;
  /// Read for parts; a whole object has its own size.
  std::int32_t width = 0;
  std::int32_t height = 0;
  /// Stack index of the table argument; 0 when there is none.
  int tagsIndex = 0;
  /// For `BGPICPART`: draw the picture with its own layers and sprites.
  bool withLayers = false;
  /// Further bits for `AddLayer`.
  unsigned layerFlags = 0;
};

/// Draws a picture object on the current output. Errors: those of finding the object,
/// `SpecifiedAnimationFrameOutRange`, `SizeNotPositive`, `NegativeCoordinatesNotAllowedHere`,
/// `SpecifiedCoordinatesOutRange`, and those of the tags.
Status DisplayObject(VmState& state, DisplayRequest request);

/// A picture after a matrix.
struct TransformedPicture {
  Planes planes;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

/// A rectangle of a picture after a matrix. A pure scale keeps the kinds of planes; any other
/// matrix gives a mask or an alpha map for the corners. Where the factors are those of the current
/// display's layer scaling, a picture as large as the background picture fills the window exactly.
/// Error: `OutOfMemory`.
[[nodiscard]] Result<TransformedPicture> TransformedCopy(SceneState& scene, const Planes& planes,
                                                         const Area& source, const Matrix& matrix,
                                                         bool smooth);

/// What the layer stack is asked for by the display path; the parameters of `AddLayer`.
struct NewLayer {
  ObjectType type = ObjectType::BRUSH;
  ObjectId id;
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t boxX = 0;
  std::int32_t boxY = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  /// Planes that the layer shall keep; empty when the object's own count.
  Planes planes;
  const qmDrawTags* tags = nullptr;
  /// The frame with its type's data filled in.
  std::shared_ptr<qmFrame> frame;
  /// -1 is the top.
  std::int32_t position = -1;
  unsigned flags = 0;
};

/// Bits of `NewLayer::flags`.
enum AddLayerFlags : unsigned {
  addLayerHidden = 1,
  addLayerScale = 2,
  addLayerNoRepaint = 4,
  addLayerReplace = 8
};

}  // namespace quillmere
