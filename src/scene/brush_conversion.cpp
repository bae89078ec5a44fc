// Brushes made from other pictures: from every kind of object that has one, and from the screen.
#include <algorithm>
#include <utility>

#include "pixels/area.h"
#include "scene/brush_commands.h"
#include "scene/new_id.h"
#include "scene/redraw.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// Where a brush is to come from and go to.
struct Conversion {
  ObjectType type = ObjectType::BRUSH;
  /// The argument that names the source.
  int sourceIndex = 0;
  ObjectId target;
  /// From 1 on.
  std::int32_t frame = 1;
};

/// The planes of a source, still its own, and the transparent colour of the copy.
struct SourcePlanes {
  Planes planes;
  std::int32_t transparentColor = noTransparentColor;
};

Result<SourcePlanes> PlanesOfBGPic(VmState& state, const Conversion& conversion) {
  SceneState& scene = vmRoom<SceneState>(state);
  const qmBGPic* bgpic = TRY(FindBGPic(scene, vmArgId(state, conversion.sourceIndex)));
  return SourcePlanes{bgpic->scaled, bgpic->transparentColor};
}

Result<SourcePlanes> PlanesOfBrush(VmState& state, const Conversion& conversion) {
  const ObjectId source = vmArgId(state, conversion.sourceIndex);
  if (source == conversion.target) return Fail(Error::WrongUsage);
  const qmBrush* brush = TRY(FindBrush(vmRoom<SceneState>(state), source));
  return SourcePlanes{brush->planes, brush->transparentColor};
}

/// The picture of a kind whose objects live in a room above; the kind is unknown until that room is
/// there.
Result<SourcePlanes> PlanesOfOther(VmState& state, const Conversion& conversion) {
  SceneState& scene = vmRoom<SceneState>(state);
  const auto source = scene.pictureSources.find(conversion.type);
  if (source == scene.pictureSources.end()) return Fail(Error::WrongUsage);
  const bool hasFrames = conversion.type != ObjectType::TEXTOBJECT;
  if (hasFrames && conversion.frame < 1) return Fail(Error::SpecifiedAnimationFrameOutRange);
  const SourcePicture picture = TRY(source->second(vmArgId(state, conversion.sourceIndex),
                                                   hasFrames ? conversion.frame - 1 : 0, false));
  const std::int32_t transparent = hasFrames ? picture.transparentColor : noTransparentColor;
  return SourcePlanes{picture.planes, transparent};
}

Result<SourcePlanes> FindSource(VmState& state, const Conversion& conversion) {
  switch (conversion.type) {
    case ObjectType::BGPIC:
      return PlanesOfBGPic(state, conversion);
    case ObjectType::BRUSH:
      return PlanesOfBrush(state, conversion);
    case ObjectType::LAYER:
      if (!vmRoom<SceneState>(state).currentDisplay->layersEnabled) {
        return Fail(Error::LayersRequired);
      }
      return PlanesOfOther(state, conversion);
    case ObjectType::ANIM:
    case ObjectType::TEXTOBJECT:
    case ObjectType::SPRITE:
      return PlanesOfOther(state, conversion);
    default:
      return Fail(Error::WrongUsage);
  }
}

CommandResult Convert(VmState& state, const Conversion& conversion) {
  const SourcePlanes source = TRY(FindSource(state, conversion));
  Planes planes = TRY(CopyPlanes(source.planes));
  const ObjectId made = TRY(AddBrush(vmRoom<SceneState>(state), conversion.target,
                                     std::move(planes), source.transparentColor));
  return PushNewId(state, conversion.target, made);
}

/// The rectangle of the screen that the options ask for, cut to the screen.
Result<Rectangle> ReadGrabArea(VmState& state, int index, const DesktopInfo& desktop) {
  Rectangle area{0, 0, desktop.width, desktop.height};
  if (vmGetTop(state) >= index) {
    vmArgTable(state, index);
    vmGetFieldInt(state, index, "x", area.x);
    vmGetFieldInt(state, index, "y", area.y);
    vmGetFieldInt(state, index, "width", area.width);
    vmGetFieldInt(state, index, "height", area.height);
  }
  if (area.x < 0 || area.y < 0 || area.width < 0 || area.height < 0) {
    return Fail(Error::WrongUsage);
  }
  const Area cut =
      ClipArea({area.x, area.y, area.width, area.height}, desktop.width, desktop.height);
  if (cut.Empty()) return Fail(Error::WrongUsage);
  return Rectangle{cut.x, cut.y, cut.width, cut.height};
}

}  // namespace

CommandResult GetBrushLink(VmState& state) {
  vmCheckArgs(state, 3, 4);
  return Convert(state, {.type = static_cast<ObjectType>(vmArgInt(state, 2)),
                         .sourceIndex = 3,
                         .target = vmArgNewId(state, 1),
                         .frame = vmArgOptInt(state, 4, 1)});
}

CommandResult ConvertToBrush(VmState& state) {
  vmCheckArgs(state, 3, 4);
  return Convert(state, {.type = static_cast<ObjectType>(vmArgInt(state, 1)),
                         .sourceIndex = 2,
                         .target = vmArgNewId(state, 3),
                         .frame = vmArgOptInt(state, 4, 1)});
}

CommandResult GrabDesktop(VmState& state) {
  vmCheckArgs(state, 1, 2);
  SceneState& scene = vmRoom<SceneState>(state);
  const ObjectId id = vmArgNewId(state, 1);
  PlatformWindows& windows = scene.platform().windows();
  const Rectangle area = TRY(ReadGrabArea(state, 2, windows.GetDesktopInfo()));
  const auto picture = windows.GrabScreen(area);
  if (!picture) return Error::NotSupportedOnPlatform;
  Planes planes = TRY(
      ARGBToBitmap(picture->pixels, std::nullopt, picture->width, picture->height, picture->width));
  const ObjectId made = TRY(AddBrush(scene, id, std::move(planes), noTransparentColor));
  return PushNewId(state, id, made);
}

}  // namespace quillmere
