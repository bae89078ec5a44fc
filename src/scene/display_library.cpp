// The script library of displays.
#include "base/numbers.h"
#include "scene/display_commands.h"
#include "scene/display_internal.h"
#include "scene/libraries.h"
#include "scene/scene_state.h"
#include "scene/size_arguments.h"

namespace quillmere {
namespace {

constexpr std::size_t maxTitle = 255;

SceneState& Scene(VmState& state) {
  return vmRoom<SceneState>(state);
}

bool OptionalFlag(VmState& state, int index) {
  return vmArgOptNumber(state, index, 0) != 0;
}

/// The stack index of an optional table argument, 0 when it is not there.
int OptionalTable(VmState& state, int index) {
  if (vmType(state, index) == VmType::None || vmType(state, index) == VmType::Nil) return 0;
  vmArgTable(state, index);
  return index;
}

CommandResult CreateDisplay(VmState& state) {
  vmCheckArgs(state, 1, 2);
  const ObjectId id = vmArgNewId(state, 1);
  const ObjectId made = TRY(MakeDisplay(state, id, OptionalTable(state, 2)));
  if (!id.AsksForHandle()) return 0;
  vmPushId(state, made);
  return 1;
}

CommandResult OpenDisplay(VmState& state) {
  vmCheckArgs(state, 1, 2);
  SceneState& scene = Scene(state);
  TRY(RequireNotRecording(scene));
  qmDisplay* display = TRY(FindDisplay(scene, vmArgId(state, 1)));
  if (display->state != DisplayState::Closed) return Error::WrongUsage;
  const bool keepCurrent = OptionalFlag(state, 2);
  TRY(OpenDisplayWindow(scene, *display, !keepCurrent));
  if (!keepCurrent) SelectCurrentDisplay(scene, *display, true);
  return 0;
}

CommandResult CloseDisplay(VmState& state) {
  vmCheckArgs(state, 1, 1);
  SceneState& scene = Scene(state);
  TRY(RequireNotRecording(scene));
  qmDisplay* display = TRY(FindDisplay(scene, vmArgId(state, 1)));
  if (display->state == DisplayState::Closed) return Error::WrongUsage;
  CloseDisplayWindow(scene, *display);
  return 0;
}

CommandResult FreeDisplay(VmState& state) {
  vmCheckArgs(state, 1, 1);
  SceneState& scene = Scene(state);
  TRY(RequireNotRecording(scene));
  qmDisplay* display = TRY(FindDisplay(scene, vmArgId(state, 1)));
  TRY(RequireFreeable(scene, *display));
  DestroyDisplay(scene, *display);
  return 0;
}

CommandResult SelectDisplay(VmState& state) {
  vmCheckArgs(state, 1, 2);
  SceneState& scene = Scene(state);
  TRY(RequireNotRecording(scene));
  qmDisplay* display = TRY(FindDisplay(scene, vmArgId(state, 1)));
  SelectCurrentDisplay(scene, *display, !OptionalFlag(state, 2));
  return 0;
}

CommandResult ActivateDisplay(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmDisplay* display = TRY(FindDisplay(Scene(state), vmArgId(state, 1)));
  if (display->state != DisplayState::Open) return Error::WrongUsage;
  display->window->Activate();
  return 0;
}

CommandResult ShowDisplay(VmState& state) {
  vmCheckArgs(state, 0, 0);
  SceneState& scene = Scene(state);
  TRY(RequireNotRecording(scene));
  if (scene.currentDisplay->state != DisplayState::Minimized) return Error::WrongUsage;
  ShowDisplayWindow(scene, *scene.currentDisplay);
  return 0;
}

CommandResult HideDisplay(VmState& state) {
  vmCheckArgs(state, 0, 0);
  SceneState& scene = Scene(state);
  TRY(RequireNotRecording(scene));
  if (scene.currentDisplay->state != DisplayState::Open) return Error::WrongUsage;
  HideDisplayWindow(scene, *scene.currentDisplay);
  return 0;
}

CommandResult MoveDisplay(VmState& state) {
  vmCheckArgs(state, 2, 2);
  SceneState& scene = Scene(state);
  qmDisplay& display = *scene.currentDisplay;
  display.x = vmArgInt(state, 1);
  display.y = vmArgInt(state, 2);
  const Rectangle place = ResolveWindowPosition(scene, display, display.x, display.y);
  display.windowX = place.x;
  display.windowY = place.y;
  if (display.window) {
    display.window->MoveSize(place.x, place.y, display.width, display.height);
  }
  return 0;
}

CommandResult SetTitle(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const std::string_view title = vmArgString(state, 1);
  if (title.size() > maxTitle) return Error::WrongUsage;
  qmDisplay& display = *Scene(state).currentDisplay;
  display.title = title;
  if (display.window) display.window->SetTitle(display.title);
  return 0;
}

CommandResult ChangeDisplaySize(VmState& state) {
  vmCheckArgs(state, 2, 3);
  SceneState& scene = Scene(state);
  qmDisplay& display = *scene.currentDisplay;
  const PictureSizeArguments size =
      TRY(ReadSizeArguments(state, 1, display.bgpic->logicalWidth, display.bgpic->logicalHeight));
  ResizeRequest request{.x = CENTER,
                        .y = CENTER,
                        .width = size.width,
                        .height = size.height,
                        .origin = ResizeOrigin::Script};
  if (vmType(state, 3) == VmType::Table) {
    vmGetFieldInt(state, 3, "x", request.x);
    vmGetFieldInt(state, 3, "y", request.y);
    vmGetFieldBool(state, 3, "smooth", request.smooth);
  } else {
    request.smooth = OptionalFlag(state, 3);
  }
  return ResizeDisplay(scene, display, request);
}

CommandResult SetDisplayAttributesCommand(VmState& state) {
  vmCheckArgs(state, 1, 1);
  vmArgTable(state, 1);
  return SetDisplayAttributes(state, 1, false);
}

CommandResult ChangeDisplayMode(VmState& state) {
  vmCheckArgs(state, 1, 3);
  TRY(RequireNotRecording(Scene(state)));
  const std::int32_t mode = vmArgInt(state, 1);
  const std::int32_t width = vmArgOptInt(state, 2, 0);
  const std::int32_t height = vmArgOptInt(state, 3, 0);
  const bool isWindowed = mode == DISPMODE_WINDOWED && vmGetTop(state) == 1;
  const bool isFullScreen = mode == DISPMODE_FULLSCREEN && width >= 1 && height >= 1;
  if (!isWindowed && !isFullScreen) return Error::WrongUsage;
  return SwitchDisplayMode(state, mode, width, height);
}

constexpr VmCommandEntry commands[] = {
    {"CreateDisplay", CreateDisplay},
    {"OpenDisplay", OpenDisplay},
    {"CloseDisplay", CloseDisplay},
    {"FreeDisplay", FreeDisplay},
    {"SelectDisplay", SelectDisplay},
    {"ActivateDisplay", ActivateDisplay},
    {"ShowDisplay", ShowDisplay},
    {"HideDisplay", HideDisplay},
    {"MoveDisplay", MoveDisplay},
    {"SetTitle", SetTitle},
    {"ChangeDisplaySize", ChangeDisplaySize},
    {"SetDisplayAttributes", SetDisplayAttributesCommand},
    {"ChangeDisplayMode", ChangeDisplayMode},
};

constexpr VmConstantEntry constants[] = {
    {"DISPSTATE_OPEN", nullptr, 1},
    {"DISPSTATE_CLOSED", nullptr, 0},
    {"DISPSTATE_MINIMIZED", nullptr, 2},
    {"DISPMODE_FULLSCREEN", nullptr, DISPMODE_FULLSCREEN},
    {"DISPMODE_WINDOWED", nullptr, DISPMODE_WINDOWED},
    {"SCALEMODE_NONE", nullptr, SCALEMODE_NONE},
    {"SCALEMODE_AUTO", nullptr, SCALEMODE_AUTO},
    {"SCALEMODE_LAYER", nullptr, SCALEMODE_LAYER},
    {"KEEPPOSITION", nullptr, KEEPPOSITION},
};

}  // namespace

Status OpenDisplayLibrary(VmState& state) {
  vmOpenLibrary(state, "display", commands, constants);
  return {};
}

}  // namespace quillmere
