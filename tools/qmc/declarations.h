// The lines that begin with `@`: from their values to what an applet carries.
#pragma once

#include <set>
#include <string>
#include <utility>

#include "qmc/applet.h"
#include "qmc/byte_writer.h"
#include "qmc/compiler.h"
#include "qmc/linker.h"
#include "qmc/options.h"

namespace quillmere::qmc {

/// Turns the declarations of a parsed script into parts of an applet, reading the files that are
/// linked. Faults are reported at the values that cause them.
class Declarations {
 public:
  /// With `linkFiles` off the files that declarations name stay outside.
  Declarations(Compilation& compilation, Applet& applet, Linker& linker, bool linkFiles)
      : compilation_(compilation), applet_(applet), linker_(linker), linkFiles_(linkFiles) {}

  void Run();

  /// Whether there is a declaration of that name, given in lower case.
  [[nodiscard]] static bool Knows(std::string_view name);

 private:
  using Handler = void (Declarations::*)();
  struct Row {
    std::string_view name;
    Handler handler;
  };
  static const Row rows[];

  // One declaration each; `directive_` is the one at hand.
  void ReadDisplay();
  void ReadBGPic();
  void ReadBrush();
  void ReadAnim();
  void ReadSprite();
  void ReadMusic() { ReadSound(ObjectKind::Music); }
  void ReadSample() { ReadSound(ObjectKind::Sample); }
  void ReadSound(ObjectKind kind);
  void ReadFile();
  void ReadFont();
  void ReadButton();
  void ReadKey();
  void ReadLink();
  void ReadLinkFont();
  void ReadTitle();
  void ReadVersion() { ReadText(applet_.version); }
  void ReadCopyright() { ReadText(applet_.copyright); }
  void ReadAuthor() { ReadText(applet_.author); }
  void ReadDescription() { ReadText(applet_.description); }
  void ReadText(std::string& target);
  void ReadScreen();
  void ReadBackfill();
  void ReadLockSettings();
  void ReadRequire();

  // Parts of them.
  void DisplayOptions(Options& options, AppletObject& object);
  std::uint32_t DisplayFlags(Options& options, bool isFirst, std::uint32_t& mask);
  void DisplayFill(Options& options, std::uint32_t color, std::uint8_t style, ByteWriter& out);
  void Regions(Options& options, std::string_view key, ByteWriter& out);
  void Transparency(Options& options, AppletObject& object);
  void Frames(Options& options, ByteWriter& out);
  bool ReadPicture(AppletObject& object, Options& options);
  void LinkObject(AppletObject& object, Options& options, std::size_t nameArgument);

  // Arguments, counted from 0.
  [[nodiscard]] std::size_t Count() const { return directive_->arguments.size(); }
  [[nodiscard]] const Expr* Argument(std::size_t index);
  std::optional<double> NumberArgument(std::size_t index);
  std::optional<std::string> TextArgument(std::size_t index);
  std::optional<std::string> NameArgument(std::size_t index);
  /// The options at an index when there are any; more arguments are reported.
  Options OptionsArgument(std::size_t index);
  /// The object's number, which must be new; 0 when it is not.
  std::uint32_t NewId(ObjectKind kind);
  AppletObject NewObject(ObjectKind kind);
  bool CheckCount(std::size_t least, std::size_t most);
  [[nodiscard]] std::filesystem::path PathOf(const Position& position,
                                             const std::string& name) const;
  void Report(Position position, Error code, std::string argument = {}) {
    compilation_.diagnostics.Report(position, code, std::move(argument));
  }

  Compilation& compilation_;
  Applet& applet_;
  Linker& linker_;
  bool linkFiles_;
  const Directive* directive_ = nullptr;
  std::set<std::pair<ObjectKind, std::uint32_t>> ids_;
};

}  // namespace quillmere::qmc
