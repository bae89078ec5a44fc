// What a repaint costs: that of a small rectangle must not depend on the size of the display.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

#include "files/files_state.h"
#include "platform/headless/headless_platform.h"
#include "scene/libraries.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

constexpr int rounds = 200;
constexpr int repaintsInARound = 200;
constexpr int edge = 64;

/// A program with one open display.
class World {
 public:
  World(int width, int height) {
    host.flags.quiet = true;
    HeadlessSettings settings;
    settings.screenWidth = width + 100;
    settings.screenHeight = height + 100;
    platform_ = std::move(*OpenHeadlessPlatform(host, std::move(settings)));
    files_ = std::make_unique<FilesState>(host);
    host.Enter(pixels_);
    scene = std::make_unique<SceneState>(host);
    host.Enter(*scene);
    state_ = vmOpen(host);
    (void)OpenDisplayLibrary(*state_);
    vmNewTable(*state_);
    vmSetFieldInt(*state_, "width", width);
    vmSetFieldInt(*state_, "height", height);
    vmSetFieldInt(*state_, "active", 1);
    (void)MakeDisplay(*state_, {1, 0}, vmGetTop(*state_));
    if (!OpenDisplays(*state_, {}, {})) std::puts("cannot open the display");
  }
  ~World() {
    CloseDisplays(*scene);
    vmClose(state_);
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  /// Puts a brush layer of the rectangle's size where the repaints are.
  void AddLayer() {
    auto brush = std::make_unique<qmBrush>();
    brush->planes.bitmap = *AllocBitmap(edge, edge);
    brush->planes.alpha = *AllocAlphaMap(edge, edge, false);
    brush->width = brush->height = edge;
    const ObjectId id = scene->brushes.Append(std::move(brush), {0, 1}).Id();
    auto layer = std::make_unique<qmLayer>();
    layer->type = ObjectType::BRUSH;
    layer->id = id;
    layer->logical = layer->transformed = layer->output = std::make_shared<qmFrame>();
    layer->output->outWidth = layer->output->outHeight = edge;
    layer->output->boxX = layer->output->boxY = 100;
    scene->currentDisplay->bgpic->layers.push_back(std::move(layer));
  }

  void Repaint() {
    for (int i = 0; i < repaintsInARound; ++i) AddDirty(*scene, 100, 100, edge, edge);
  }

  Host host;
  std::unique_ptr<SceneState> scene;

 private:
  std::unique_ptr<Platform> platform_;
  std::unique_ptr<FilesState> files_;
  PixelsState pixels_;
  VmState* state_ = nullptr;
};

double Microseconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
             .count() /
         repaintsInARound;
}

void CompareSizes(const char* name, World& small, World& large) {
  double bestSmall = 1e9;
  double bestLarge = 1e9;
  for (int round = 0; round < rounds; ++round) {
    bestSmall = std::min(bestSmall, Microseconds([&] { small.Repaint(); }));
    bestLarge = std::min(bestLarge, Microseconds([&] { large.Repaint(); }));
  }
  const double ratio = bestLarge / bestSmall;
  std::printf("%-42s %6.2f x %-28s %8.3f us against %8.3f us   goal %.2f %s\n", name, ratio,
              "the cost on 320x200", bestLarge, bestSmall, 1.5, ratio <= 1.5 ? "" : " MISSED");
}

}  // namespace
}  // namespace quillmere

int main() {
  using namespace quillmere;
  World small(320, 200);
  World large(3840, 2160);
  CompareSizes("repaint 64x64 on 3840x2160", small, large);
  small.AddLayer();
  large.AddLayer();
  CompareSizes("repaint 64x64 with a layer on 3840x2160", small, large);
}
