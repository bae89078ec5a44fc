#include "unit/scene/stage.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "base/fold.h"
#include "scene/libraries.h"

namespace quillmere {

void Arg::Push(VmState& state) const {
  if (const auto* number = std::get_if<double>(&value_)) {
    vmPushNumber(state, *number);
  } else if (const auto* text = std::get_if<std::string>(&value_)) {
    vmPushBytes(state, *text);
  } else if (const auto* id = std::get_if<ObjectId>(&value_)) {
    vmPushId(state, *id);
  } else if (const auto* table = std::get_if<TableArg>(&value_)) {
    vmNewTable(state);
    int index = 0;
    for (const auto& [name, field] : table->fields) {
      if (name.empty()) {
        vmPushNumber(state, index++);
      } else {
        vmPushBytes(state, name);
      }
      field.Push(state);
      vmRawSet(state, -3);
    }
  } else {
    vmPushNil(state);
  }
}

TableArg Fields(std::initializer_list<std::pair<std::string, Arg>> fields) {
  return {std::vector<std::pair<std::string, Arg>>(fields)};
}

TableArg List(std::initializer_list<Arg> items) {
  TableArg table;
  for (const Arg& item : items) table.fields.emplace_back("", item);
  return table;
}

Stage::Stage(const StageOptions& options) {
  host.flags.quiet = true;
  host.debug.SetSink([this](std::string_view text) { debugText += text; });
  HeadlessSettings headless;
  headless.screenWidth = options.screenWidth;
  headless.screenHeight = options.screenHeight;
  headless.input = options.input;
  headless.report = [this](std::string_view text) { reports += text; };
  platform = std::move(*OpenHeadlessPlatform(host, std::move(headless)));
  files = std::make_unique<FilesState>(host);
  host.Enter(pixels);
  scene = std::make_unique<SceneState>(host);
  host.Enter(*scene);
  state_ = vmOpen(host);
  (void)OpenGraphicsLibrary(*state_);
  (void)OpenDisplayLibrary(*state_);
  (void)OpenBrushLibrary(*state_);
  (void)OpenBGPicLibrary(*state_);
  if (!options.withDisplay) return;
  EXPECT_EQ(Call("CreateDisplay", {1, Fields({{"width", 320}, {"height", 200}, {"active", 1}})}),
            0);
  EXPECT_TRUE(OpenDisplays(*state_, options.settings, {}));
}

Stage::~Stage() {
  CloseDisplays(*scene);
  vmClose(state_);
}

int Stage::Call(std::string_view name, std::vector<Arg> arguments) {
  vmSetTop(*state_, 0);
  vmPushBytes(*state_, FoldLower(name));
  vmRawGet(*state_, vmGlobalsIndex);
  for (const Arg& argument : arguments) argument.Push(*state_);
  return vmPCall(*state_, static_cast<int>(arguments.size()), vmMultipleResults);
}

ObjectId Stage::Make(std::string_view name, std::vector<Arg> arguments) {
  EXPECT_EQ(Call(name, std::move(arguments)), 0) << name;
  return {0, reinterpret_cast<std::uintptr_t>(vmToUserdata(*state_, 1))};
}

double Stage::Number(std::string_view name, std::vector<Arg> arguments, int result) {
  if (Call(name, std::move(arguments)) != 0) return -1;
  return vmToNumber(*state_, result);
}

std::uint32_t Stage::Shown(int x, int y) {
  return ShownIn(*platform, Display(), x, y);
}

std::uint32_t Stage::ShownIn(Platform& platform, const qmDisplay& display, int x, int y) {
  const auto grabbed = platform.windows().GrabScreen(
      {display.windowX + display.border.left + x, display.windowY + display.border.top + y, 1, 1});
  EXPECT_TRUE(grabbed && !grabbed->pixels.empty());
  return grabbed && !grabbed->pixels.empty() ? grabbed->pixels[0] & 0xFFFFFF : 0xDEADBEEF;
}

qmDisplay& Stage::Display(int number) {
  return **scene->displays.Find({number, 0});
}

qmBrush& Stage::Brush(int number) {
  return **scene->brushes.Find({number, 0});
}

qmBGPic& Stage::BGPic(int number) {
  return **scene->bgpics.Find({number, 0});
}

std::string TempFileName(std::string_view name) {
  static const std::filesystem::path directory = [] {
    auto path =
        std::filesystem::temp_directory_path() / ("quillmere-scene-" + std::to_string(getpid()));
    std::filesystem::create_directories(path);
    return path;
  }();
  return directory / name;
}

}  // namespace quillmere
