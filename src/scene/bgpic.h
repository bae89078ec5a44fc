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

  [[nodiscard]] bool IsShaped() const { return base.mask || base.alpha; }
};

using qmOutput = qmBGPic;

}  // namespace quillmere
