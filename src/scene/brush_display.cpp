// Drawing brushes, and drawing into them.
#include "scene/brush_commands.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// `SelectMask` and `SelectAlphaChannel`: id, type = BRUSH, frame = 0.
CommandResult SelectPlane(VmState& state, ObjectType kind) {
  vmCheckArgs(state, 1, 3);
  SelectionTarget target;
  target.id = vmArgId(state, 1);
  target.type = static_cast<ObjectType>(vmArgOptInt(state, 2, static_cast<int>(ObjectType::BRUSH)));
  target.kind = kind;
  target.frame = vmArgOptInt(state, 3, 0);
  if (target.type == ObjectType::ANIM && vmGetTop(state) == 2) return Error::NotEnoughArguments;
  if (target.type == ObjectType::BRUSH || target.type == ObjectType::BGPIC) target.frame = 0;
  return SelectOutput(vmRoom<SceneState>(state), target);
}

}  // namespace

CommandResult DisplayBrush(VmState& state) {
  vmCheckArgs(state, 3, 4);
  DisplayRequest request;
  request.type = ObjectType::BRUSH;
  request.id = vmArgId(state, 1);
  request.x = vmArgInt(state, 2);
  request.y = vmArgInt(state, 3);
  request.tagsIndex = 4;
  return DisplayObject(state, request);
}

CommandResult DisplayBrushPart(VmState& state) {
  vmCheckArgs(state, 7, 8);
  DisplayRequest request;
  request.type = ObjectType::BRUSHPART;
  request.id = vmArgId(state, 1);
  request.sourceX = vmArgInt(state, 2);
  request.sourceY = vmArgInt(state, 3);
  request.x = vmArgInt(state, 4);
  request.y = vmArgInt(state, 5);
  request.width = vmArgInt(state, 6);
  request.height = vmArgInt(state, 7);
  request.tagsIndex = 8;
  return DisplayObject(state, request);
}

CommandResult SelectBrush(VmState& state) {
  vmCheckArgs(state, 1, 2);
  SelectionTarget target;
  target.id = vmArgId(state, 1);
  target.mode = vmArgOptInt(state, 2, SELMODE_NORMAL);
  if (target.mode != SELMODE_NORMAL && target.mode != SELMODE_COMBO) return Error::WrongUsage;
  return SelectOutput(vmRoom<SceneState>(state), target);
}

CommandResult SelectMask(VmState& state) {
  return SelectPlane(state, ObjectType::MASK);
}

CommandResult SelectAlphaChannel(VmState& state) {
  return SelectPlane(state, ObjectType::ALPHACHANNEL);
}

}  // namespace quillmere
