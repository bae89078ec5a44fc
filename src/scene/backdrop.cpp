// The backdrop: a borderless window behind the displays. It is made by the script's own commands.
#include "pixels/blit.h"
#include "pixels/placement.h"
#include "scene/display_internal.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// Calls a command and keeps its one result, an identifier.
Result<ObjectId> CallForId(VmState& state, std::string_view command,
                           std::initializer_list<VmArgument> arguments) {
  const int top = vmGetTop(state);
  if (const int code = vmCallCommand(state, command, 1, arguments); code != 0) {
    vmSetTop(state, top);
    return Fail(static_cast<Error>(code));
  }
  const ObjectId id{0, reinterpret_cast<std::uintptr_t>(vmToUserdata(state, -1))};
  vmSetTop(state, top);
  return id;
}

Status CallPlain(VmState& state, std::string_view command,
                 std::initializer_list<VmArgument> arguments) {
  const int top = vmGetTop(state);
  const int code = vmCallCommand(state, command, 0, arguments);
  vmSetTop(state, top);
  if (code != 0) return Fail(static_cast<Error>(code));
  return {};
}

class BackdropBuilder {
 public:
  BackdropBuilder(VmState& state, SceneState& scene, const Rectangle& area)
      : state_(state), scene_(scene), settings_(scene.settings), area_(area) {}

  ~BackdropBuilder() {
    if (brush_) (void)scene_.brushes.FreeObject(*brush_, false);
  }
  BackdropBuilder(const BackdropBuilder&) = delete;
  BackdropBuilder& operator=(const BackdropBuilder&) = delete;

  Status Build() {
    const ObjectId picture = TRY(MakePicture());
    const Status made = MakeWindow(picture);
    if (!made) (void)FreeBGPicObject(scene_, picture, false);
    return made;
  }

 private:
  Result<ObjectId> MakePicture() {
    switch (settings_.backfillMode) {
      case BackfillKind::Gradient:
        return CallForId(state_, "CreateGradientBGPic",
                         {std::monostate{}, std::int32_t{0}, settings_.backfillStart,
                          settings_.backfillEnd, area_.width, area_.height});
      case BackfillKind::Texture:
        TRY(MakeBrush());
        return CallForId(state_, "CreateTexturedBGPic",
                         {std::monostate{}, *brush_, area_.width, area_.height});
      case BackfillKind::Picture:
        return MakePictureOfFile();
      default:
        return CallForId(state_, "CreateBGPic",
                         {std::monostate{}, area_.width, area_.height, settings_.backfillStart});
    }
  }

  /// The brush of a texture or picture: loaded from a file, or a copy of one of the applet's.
  Status MakeBrush() {
    if (!settings_.backfillFile.empty()) {
      const std::uint32_t transparency = static_cast<std::uint32_t>(settings_.pictureTrans);
      brush_ = TRY(
          CallForId(state_, "LoadBrush",
                    {std::monostate{}, std::string_view(settings_.backfillFile), transparency}));
    } else {
      brush_ = TRY(CallForId(state_, "CopyBrush", {settings_.backfillBrush, std::monostate{}}));
    }
    return {};
  }

  /// A picture on a ground of colour, or of a gradient when two colours were given.
  Result<ObjectId> MakePictureOfFile() {
    TRY(MakeBrush());
    if (settings_.pictureScaled) {
      TRY(CallPlain(state_, "ScaleBrush", {*brush_, area_.width, area_.height}));
    }
    const bool isFlat = settings_.backfillStart == settings_.backfillEnd;
    const ObjectId id =
        isFlat
            ? TRY(CallForId(state_, "CreateBGPic",
                            {std::monostate{}, area_.width, area_.height, settings_.backfillStart}))
            : TRY(CallForId(state_, "CreateGradientBGPic",
                            {std::monostate{}, std::int32_t{0}, settings_.backfillStart,
                             settings_.backfillEnd, area_.width, area_.height}));
    TRY(DrawBrushOn(id));
    return id;
  }

  Status DrawBrushOn(const ObjectId& id) {
    const qmBGPic* bgpic = TRY(FindBGPic(scene_, id));
    const qmBrush* brush = TRY(FindBrush(scene_, *brush_));
    const std::int32_t x = ResolveX(settings_.pictureX, brush->width, {0, area_.width});
    const std::int32_t y = ResolveY(settings_.pictureY, brush->height, {0, area_.height});
    const BlitArea area =
        ClipTarget({0, 0, x, y, brush->width, brush->height}, {0, 0, area_.width, area_.height});
    if (area.Empty()) return {};
    DebugOutput& debug = scene_.host.debug;
    qmBitmap* target = bgpic->base.bitmap.get();
    if (brush->planes.mask) {
      BLTMASK(debug, *brush->planes.bitmap, target, area, *brush->planes.mask);
    } else if (brush->planes.alpha) {
      BLTALPHABITMAP(debug, *brush->planes.bitmap, target, area, *brush->planes.alpha);
    } else {
      BLTBITMAP(debug, *brush->planes.bitmap, target, area);
    }
    return {};
  }

  Status MakeWindow(const ObjectId& picture) {
    const int top = vmGetTop(state_);
    vmNewTable(state_);
    vmSetFieldId(state_, "bgpic", picture);
    vmSetFieldInt(state_, "x", area_.x);
    vmSetFieldInt(state_, "y", area_.y);
    for (const char* flag : {"borderless", "fixed", "hidepointer", "private1"}) {
      vmSetFieldInt(state_, flag, 1);
    }
    const int code = vmCallCommandWith(state_, "CreateDisplay", 1, {std::monostate{}}, 1);
    vmSetTop(state_, top);
    if (code != 0) return Fail(static_cast<Error>(code));
    qmDisplay& display = *scene_.displays.All().begin();
    return OpenDisplayWindow(scene_, display, false);
  }

  VmState& state_;
  SceneState& scene_;
  const ScreenSettings& settings_;
  Rectangle area_;
  std::optional<ObjectId> brush_;
};

bool WantsBackdrop(const SceneState& scene) {
  const std::int32_t mode = scene.settings.displayMode;
  return scene.settings.backfillMode != BackfillKind::None || mode == displayModeFullScreen ||
         mode == displayModeFakeFullScreen;
}

}  // namespace

Status BuildBackdrop(VmState& state) {
  SceneState& scene = vmRoom<SceneState>(state);
  if (!WantsBackdrop(scene)) return {};
  Rectangle area = ScreenArea(scene);
  const bool hidesTitle = scene.fullScreen || scene.settings.hideTitleBar == 1 ||
                          scene.settings.displayMode == displayModeFakeFullScreen;
  if (!hidesTitle) {
    const int bar = scene.platform().windows().GetDesktopInfo().titleBarHeight;
    area.y += bar;
    area.height -= bar;
  }
  return BackdropBuilder(state, scene, area).Build();
}

void FreeBackdrop(SceneState& scene) {
  if (scene.displays.Empty()) return;
  qmDisplay& display = *scene.displays.All().begin();
  if (display.private1 == 0) return;
  const ObjectId picture = display.bgpic->Id();
  DestroyDisplay(scene, display);
  (void)FreeBGPicObject(scene, picture, false);
}

}  // namespace quillmere
