// Background pictures: the stage of a display. A picture owns its layers, its sprites and buttons
// (through slots that the higher rooms fill) and the clip region in force on it. The same record
// describes every drawing target: `qmOutput` is a background picture, or a private record that
// stands for an off-screen selection.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "pixels/planes.h"
#include "pixels/registry.h"
#include "scene/brush.h"
#include "scene/clip_region.h"
#include "scene/layer.h"
#include "vm/object_id.h"

namespace quillmere {

struct SceneState;

inline constexpr std::int32_t FILLNONE = 0;
inline constexpr std::int32_t FILLCOLOR = 1;
inline constexpr std::int32_t FILLGRADIENT = 2;
inline constexpr std::int32_t FILLTEXTURE = 3;

inline constexpr std::int32_t SELMODE_NORMAL = 0;
inline constexpr std::int32_t SELMODE_COMBO = 1;
inline constexpr std::int32_t SELMODE_LAYERS = 2;

/// How an area is filled, at any size.
struct Fill {
  std::int32_t style = FILLNONE;
  /// The colour, or the start of the gradient, 0xRRGGBB.
  std::uint32_t color = 0;
  std::uint32_t endColor = 0;
  /// Degrees.
  std::int32_t angle = 0;
  ObjectId texture{};
  BitmapPtr textureBitmap{};
  std::int32_t textureX = 0;
  std::int32_t textureY = 0;
  std::int32_t textureWidth = 0;
  std::int32_t textureHeight = 0;
};

/// Something that a higher room hangs on a background picture; it dies with the picture.
struct BGPicAttachment {
  virtual ~BGPicAttachment() = default;
};

struct qmBGPic : RegistryRecord {
  /// The picture as it was read, while the program starts; its planes are made at the first use.
  std::optional<PendingPicture> pending;
  /// What goes to the window, at output size.
  Planes shown;
  /// At the size that the script sees.
  Planes scaled;
  /// As loaded or created; they keep their size for ever. The three may be the same planes.
  Planes base;
  std::int32_t outputWidth = 0;
  std::int32_t outputHeight = 0;
  std::int32_t logicalWidth = 0;
  std::int32_t logicalHeight = 0;
  std::int32_t baseWidth = 0;
  std::int32_t baseHeight = 0;
  /// -1, the key colour, or a marker that only says that there is a mask.
  std::int32_t transparentColor = -1;
  /// The colours 0xRRGGBB as the file gave them, or null.
  std::shared_ptr<const std::array<std::uint32_t, 256>> palette;
  LayerList layers;
  std::unique_ptr<BGPicAttachment> sprites;
  std::unique_ptr<BGPicAttachment> buttons;
  /// In a private record: the object type, the frame and the object that are selected.
  ObjectType selectType = ObjectType::NOOBJECT;
  std::int32_t selectFrame = 0;
  std::int32_t selectMode = SELMODE_NORMAL;
  ObjectId selectId;
  qmLayer* selectLayer = nullptr;
  /// Something was drawn into the selected object.
  bool selectDirty = false;
  /// Set by every change of the stack; the input side clears it.
  bool layersChanged = false;
  /// The region in force, or null; its registry owns it.
  qmClipRegion* clipRegion = nullptr;
  Fill fill;
  std::int32_t imageType = IMAGETYPE_RASTER;
  std::int32_t brushExtra = 0;
  /// The serial number of the display that made the picture for itself, else 0.
  std::uint64_t ownerSerial = 0;

  [[nodiscard]] bool IsShaped() const { return base.mask || base.alpha; }
};

using qmOutput = qmBGPic;

/// Finds a background picture under the rules of `flags` (bits of FindFlags) and makes its planes
/// when they are pending. Errors: `BGPicNotFound`, `ObjectNotFound`, `ObjectLocked`, `OutOfMemory`.
[[nodiscard]] Result<qmBGPic*> FindBGPic(SceneState& scene, const ObjectId& id, unsigned flags = 0);

/// An independent copy of the picture, whose planes are made, without layers, sprites and buttons.
[[nodiscard]] Result<std::unique_ptr<qmBGPic>> CloneBGPic(const qmBGPic& bgpic);

/// Makes a record all of whose planes are `planes`.
[[nodiscard]] std::unique_ptr<qmBGPic> MakeBGPic(Planes planes);

/// Makes a record that is rebuilt from its fill at any size, `width` by `height` at first.
[[nodiscard]] Result<std::unique_ptr<qmBGPic>> MakeFilledBGPic(SceneState& scene, Fill fill,
                                                               std::int32_t width,
                                                               std::int32_t height);

/// Enters a record; a picture that bears the number already is freed first. The identifier comes
/// back with its handle filled in.
Result<ObjectId> AddBGPic(SceneState& scene, const ObjectId& id, std::unique_ptr<qmBGPic> bgpic);

/// Frees a picture with all that lies on it, or hides it while something shows it. Errors:
/// `BGPicIsOutput`, `ObjectLocked`, and with `mustExist` those of the lookup.
Status FreeBGPicObject(SceneState& scene, const ObjectId& id, bool mustExist);

/// Makes the planes of a picture that was read while the program starts.
Status MakeBGPicPlanes(SceneState& scene, qmBGPic& bgpic);

/// The planes at another size, from the base planes or the fill.
[[nodiscard]] Result<Planes> BGPicPlanesAt(SceneState& scene, const qmBGPic& bgpic,
                                           std::int32_t width, std::int32_t height, bool smooth);

/// Gives the script another size of the picture; what is shown follows.
Status ScaleBGPicTo(SceneState& scene, qmBGPic& bgpic, std::int32_t width, std::int32_t height,
                    bool smooth);

/// Shows the picture at the size that the script sees.
void ShowUnscaled(qmBGPic& bgpic);

/// Makes the scaled and shown planes anew after the base planes were drawn into.
Status DeriveBGPicPlanes(SceneState& scene, qmBGPic& bgpic);

/// Frees hidden objects of all kinds that nothing shows any more.
void CollectHiddenObjects(SceneState& scene);

}  // namespace quillmere
