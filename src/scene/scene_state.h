// What the scene remembers: displays, pictures, brushes and regions, which display is current and
// what drawing goes to, and the doors through which other rooms take part.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/host.h"
#include "files/run_info.h"
#include "pixels/pixels_state.h"
#include "pixels/registry.h"
#include "platform/platform.h"
#include "scene/bgpic.h"
#include "scene/brush.h"
#include "scene/clip_region.h"
#include "scene/display.h"
#include "scene/display_object.h"
#include "scene/output.h"
#include "scene/picture_loader.h"
#include "scene/redraw.h"
#include "vm/object_list.h"

namespace quillmere {

/// Functions that other rooms add and that are called one after the other.
template <class... Arguments>
class HookList {
 public:
  void Join(std::function<void(Arguments...)> function) {
    functions_.push_back(std::move(function));
  }
  void Call(Arguments... arguments) const {
    for (const auto& function : functions_) function(arguments...);
  }

 private:
  std::vector<std::function<void(Arguments...)>> functions_;
};

/// What other rooms want to hear of.
struct SceneHooks {
  /// A window has been opened.
  HookList<qmDisplay&> displayOpened;
  /// A window has been closed, by the script or because its display goes away.
  HookList<qmDisplay&> displayClosed;
  /// A display is about to be freed: whatever belongs to it must go.
  HookList<qmDisplay&> displayFreed;
  /// A display shows another background picture than before; the second one is the old one.
  HookList<qmDisplay&, qmBGPic&> bgpicChanged;
  /// A layer is about to go: its button must go too.
  HookList<qmBGPic&, qmLayer&> layerGone;
  /// A layer takes the place of another (old, new): its button passes over.
  HookList<qmBGPic&, qmLayer&, qmLayer&> layerReplaced;
  /// The current output or its clip region has changed.
  HookList<> outputChanged;
  /// A window has got another picture, which the user is to see soon.
  HookList<> windowPainted;
};

/// The layer stack, as the rest of the scene needs it. Its owner fills the functions in; while they
/// are empty, layers cannot be made.
struct LayerService {
  /// `AddLayer`.
  std::function<Status(NewLayer layer)> add;
  /// Renders all layers of a picture anew for the display's scale factors; with `toLogical` they go
  /// back to their logical frames.
  std::function<Status(qmDisplay& display, qmBGPic& bgpic, bool toLogical)> rebuildAll;
};

/// The sprites of a background picture, as the redraw route needs them.
struct SpriteService {
  [[nodiscard]] bool Any(const qmBGPic& bgpic) const { return any && any(bgpic); }

  std::function<bool(const qmBGPic& bgpic)> any;
  std::function<bool(const qmBGPic& bgpic, const Area& area)> overlap;
  /// Draws the sprites that touch a rectangle, cut to it.
  std::function<void(const qmBGPic& bgpic, qmBitmap& target, const Area& area)> draw;
  /// Takes all off, without painting.
  std::function<void(qmBGPic& bgpic)> removeAll;
};

/// Asynchronous draw objects.
struct AsyncDrawService {
  std::function<bool(const qmDisplay& display)> any;
  std::function<void(qmDisplay& display)> cancelAll;
  /// Whether one of them uses this layer.
  std::function<bool(const qmLayer& layer)> usesLayer;
};

/// The video recorder.
struct RecorderService {
  [[nodiscard]] bool Recording() const { return recording && recording(); }

  std::function<bool()> recording;
  /// Whether frames are collected from the window.
  std::function<bool()> collectsFrames;
  /// Something that would have gone to the window has changed.
  std::function<void()> frameDirty;
};

/// One picture of an object that lives above this room: a frame of an anim, a text object.
struct SourcePicture {
  Planes planes;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t frameCount = 1;
  /// Milliseconds.
  std::int32_t frameDelay = 0;
  std::int32_t transparentColor = -1;
  RegistryRecord* record = nullptr;
};

/// Finds the picture of an object, hidden ones included on request; frames count from 0. Errors:
/// those of the lookup, `SpecifiedAnimationFrameOutRange`.
using PictureSource =
    std::function<Result<SourcePicture>(const ObjectId& id, std::int32_t frame, bool hiddenToo)>;

/// The speed limit of scripts.
struct FramePacing {
  bool limited = false;
  /// Frames a second.
  std::int32_t fpsLimit = 60;
};

class CurrentDisplayOutput;
class SceneLayerLinks;

struct SceneState {
  static constexpr Room room = Room::scene;

  /// The platform, the pixels room and the files room must have been entered in the host.
  explicit SceneState(Host& host);
  ~SceneState();
  SceneState(const SceneState&) = delete;
  SceneState& operator=(const SceneState&) = delete;

  [[nodiscard]] Platform& platform() const { return host.Of<Platform>(); }
  [[nodiscard]] PixelsState& pixels() const { return host.Of<PixelsState>(); }

  Host& host;

  SceneHooks hooks;
  LayerService layerService;
  SpriteService sprites;
  AsyncDrawService asyncDraw;
  RecorderService recorder;
  /// By object type: `ANIM`, `TEXTOBJECT`.
  std::map<ObjectType, PictureSource> pictureSources;
  /// By object type: `ANIM`, `LAYER`.
  std::map<ObjectType, Selectable*> selectables;

  Registry<qmClipRegion> clipRegions;
  Registry<qmBrush> brushes;
  Registry<qmBGPic> bgpics;

  /// Pictures that loads with the key `cache` have kept.
  std::vector<CachedPicture> pictureCache;

  /// In creation order; the backdrop stands first. Changed under `displayLock`.
  ObjectList<qmDisplay> displays;
  std::uint64_t nextDisplaySerial = 1;
  mutable std::recursive_mutex displayLock;
  /// Never null once the displays have been opened.
  qmDisplay* currentDisplay = nullptr;
  /// What drawing goes to: the current display's picture, or a private record.
  qmOutput* currentOutput = nullptr;

  bool fullScreen = false;
  /// The size of the own screen while there is one.
  std::int32_t screenWidth = 0;
  std::int32_t screenHeight = 0;
  /// The start-up settings, from which the backdrop is built anew.
  ScreenSettings settings;
  std::string privatePath;

  FramePacing pacing;
  /// The table of the graphics library, which gathers commands of several rooms.
  std::vector<VmCommandEntry> graphicsCommands;
  /// Rectangles noted by a command that touches several layers.
  std::vector<DirtyRect> batchRects;
  /// What stands for the windows on the desktop, above all for hidden ones; empty for the
  /// desktop's choice.
  PixelImage windowIcon;
  /// The scaled picture of the last window update, kept for the next.
  BitmapPtr scaledWindow;

  /// Makes `display` (or none) current, with its output.
  void SetCurrentDisplay(qmDisplay* display);
  void SetCurrentOutput(qmOutput* output);

 private:
  std::unique_ptr<CurrentDisplayOutput> blitOutput_;
  std::unique_ptr<SceneLayerLinks> layerLinks_;
};

}  // namespace quillmere
