// The current output: what drawing goes to. Normally it is the current display; a selection makes
// it an object's planes, double buffering a hidden picture.
#pragma once

#include <cstdint>

#include "base/error.h"
#include "pixels/object_types.h"
#include "pixels/planes.h"
#include "scene/bgpic.h"
#include "scene/geometry.h"

namespace quillmere {

struct SceneState;
struct qmDisplay;

/// What a selection is of.
struct SelectionTarget {
  /// `BRUSH`, `BGPIC`, `ANIM` or `LAYER`.
  ObjectType type = ObjectType::BRUSH;
  ObjectId id;
  qmLayer* layer = nullptr;
  /// `BRUSH` for the colours, `MASK` or `ALPHACHANNEL`.
  ObjectType kind = ObjectType::BRUSH;
  std::int32_t frame = 0;
  /// `SELMODE_NORMAL` or `SELMODE_COMBO`.
  std::int32_t mode = SELMODE_NORMAL;
};

/// The planes that a selection found.
struct SelectedPlanes {
  Planes planes;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

/// How kinds of objects that live above this room, or in the layer stack, take part in selections.
/// Their owner registers them in `SceneState::selectables`.
class Selectable {
 public:
  virtual ~Selectable() = default;
  /// Checks and finds the planes.
  virtual Result<SelectedPlanes> Resolve(SelectionTarget& target) = 0;
  /// Before the first drawing: detaches what must not change and gives the planes to draw into; a
  /// mask or alpha channel that is selected and missing is made here.
  virtual Result<SelectedPlanes> Prepare(const SelectionTarget& target) = 0;
  /// After a selection that was drawn into has ended.
  virtual void Finish(const SelectionTarget& target) = 0;
};

/// Selects an object's planes as the output of the current display. Errors: those of finding the
/// object and the refusals of its type.
Status SelectOutput(SceneState& scene, SelectionTarget target);

/// Selects a background picture for drawing with layers; a null `id` stands for the current one.
Status SelectBGPicLayers(SceneState& scene, const ObjectId* id);

/// Ends whatever is selected and paints or rebuilds what follows from it. Without a selection
/// nothing happens; double buffering is left alone.
Status EndSelection(SceneState& scene);

/// Makes the selected planes ready for the first drawing into them. Every drawing operation calls
/// it first; it costs nothing when the output is no selection or was drawn into before.
Status PrepareOutput(SceneState& scene);

/// True when the output of the current display is this object (of any frame when `frame` is -1).
[[nodiscard]] bool IsSelectedOutput(const SceneState& scene, ObjectType type, const ObjectId& id,
                                    std::int32_t frame = -1);

/// The refusal of commands that work on the display alone: the code that names what is selected.
/// Fine when nothing is.
[[nodiscard]] Status RequireNoSelection(const SceneState& scene);

/// Fills a private output record: all three plane triples are `planes`, the size is the given one,
/// and there are no layers.
void InitOutput(qmOutput& output, ObjectType type, std::int32_t frame, const Planes& planes,
                std::int32_t width, std::int32_t height);

/// The area that named places refer to: the current output, or the clip region in force on it.
[[nodiscard]] Area CurrentArea(const SceneState& scene);
/// A coordinate for an object of `size` pixels, with named places worked out in `CurrentArea`.
[[nodiscard]] std::int32_t PlaceX(const SceneState& scene, std::int32_t x, std::int32_t size,
                                  double anchor = 0);
[[nodiscard]] std::int32_t PlaceY(const SceneState& scene, std::int32_t y, std::int32_t size,
                                  double anchor = 0);

/// Parks the text cursor, the margins and the layer mode at the begin of a selection, once.
void ParkState(SceneState& scene, qmDisplay& display, bool keepLayers);
/// Brings them back.
void UnparkState(qmDisplay& display);

}  // namespace quillmere
