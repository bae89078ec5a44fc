// A machine with the scene's libraries on a headless platform, for tests that call commands and
// look at the screen.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "files/files_state.h"
#include "pixels/pixels_state.h"
#include "platform/headless/headless_platform.h"
#include "scene/scene_state.h"
#include "vm/vm.h"

namespace quillmere {

class Arg;

/// The fields of a table argument; fields without a name get the indices from 0.
struct TableArg {
  std::vector<std::pair<std::string, Arg>> fields;
};

/// An argument of a command: Nil, a number, a text, an identifier or a table.
class Arg {
 public:
  Arg() = default;
  Arg(int number) : value_(static_cast<double>(number)) {}
  Arg(unsigned number) : value_(static_cast<double>(number)) {}
  Arg(double number) : value_(number) {}
  Arg(const char* text) : value_(std::string(text)) {}
  Arg(std::string text) : value_(std::move(text)) {}
  Arg(ObjectId id) : value_(id) {}
  Arg(TableArg table) : value_(std::move(table)) {}

  void Push(VmState& state) const;

 private:
  std::variant<std::monostate, double, std::string, ObjectId, TableArg> value_;
};

/// A table with named fields, and one that is a list.
TableArg Fields(std::initializer_list<std::pair<std::string, Arg>> fields);
TableArg List(std::initializer_list<Arg> items);

struct StageOptions {
  int screenWidth = 800;
  int screenHeight = 600;
  /// Make display 1 (320 by 200) and open it.
  bool withDisplay = true;
  ScreenSettings settings;
  /// What the user does.
  InputScript input;
};

class Stage {
 public:
  explicit Stage(const StageOptions& options = {});
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  /// Calls a command and gives its code, 0 for success.
  int Call(std::string_view name, std::vector<Arg> arguments = {});
  /// Calls a command that gives an identifier.
  ObjectId Make(std::string_view name, std::vector<Arg> arguments);
  /// Calls a command and gives its n-th result as a number, -1 when it fails.
  double Number(std::string_view name, std::vector<Arg> arguments, int result = 1);

  /// The colour that the current display's window shows at a place of its inner area.
  [[nodiscard]] std::uint32_t Shown(int x, int y);
  [[nodiscard]] static std::uint32_t ShownIn(Platform& platform, const qmDisplay& display, int x,
                                             int y);
  /// The current display's window differs nowhere from its composed scene.
  [[nodiscard]] qmDisplay& Display() { return *scene->currentDisplay; }
  [[nodiscard]] qmDisplay& Display(int number);
  [[nodiscard]] qmBrush& Brush(int number);
  [[nodiscard]] qmBGPic& BGPic(int number);
  [[nodiscard]] VmState& State() { return *state_; }

  Host host;
  std::string reports;
  std::string debugText;
  std::unique_ptr<Platform> platform;
  std::unique_ptr<FilesState> files;
  PixelsState pixels;
  std::unique_ptr<SceneState> scene;

 private:
  VmState* state_ = nullptr;
};

/// A file name in the temporary directory that goes with the process.
std::string TempFileName(std::string_view name);

}  // namespace quillmere
