// What an applet holds, as plain data, and its way into bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/error.h"
#include "files/applet_format.h"
#include "qmc/generator.h"
#include "qmc/source.h"

namespace quillmere::qmc {

/// An object that the player makes before the script runs.
struct AppletObject {
  ObjectKind kind = ObjectKind::Brush;
  std::uint32_t id = 0;
  /// The name of its file, the text of a key, or nothing.
  std::string name;
  /// Which of the applet's data blocks is its file; none when the file is not linked.
  std::optional<std::size_t> data;
  std::uint32_t transparency = 0xFFFFFFFF;
  std::uint32_t loadAlpha = 0;
  std::uint32_t line = 0;
  /// The fields of its kind in the form of the container.
  std::string attributes;
};

/// A file that takes the place of one on disk when the script runs.
struct AppletFile {
  std::string name;
  std::size_t data = 0;
};

/// A constant that `GetConstant` and text formats find at run time.
struct AppletConstant {
  std::string name;
  double number = 0;
  /// Not empty for a text.
  std::string text;
};

/// A line table record with the file's name.
struct AppletLines {
  std::uint32_t first = 0;
  std::uint32_t last = 0;
  std::uint32_t base = 0;
  std::string source;
};

struct Applet {
  std::string title;
  std::string version;
  std::string copyright;
  std::string author;
  std::string description;
  bool lockSettings = false;
  /// The first display takes the size of the desktop.
  bool desktop = false;
  std::optional<std::uint8_t> displayMode;
  std::optional<std::uint8_t> hideTitleBar;
  std::optional<std::uint8_t> screenDepth;
  /// Both or none.
  std::optional<std::pair<std::int32_t, std::int32_t>> screenSize;
  /// The body of the backfill section, empty for none.
  std::string backfill;
  std::vector<AppletObject> objects;
  std::vector<AppletFile> files;
  /// The bytes of all linked files, each once.
  std::vector<std::string> data;
  std::vector<AppletConstant> constants;
  std::vector<AppletLines> lines;
  std::vector<LabelPosition> labels;
  /// The bytecode image of the main chunk.
  std::string bytecode;
};

/// The bytes of an applet. Fails with `InternalLimit` when it would pass four gigabytes.
[[nodiscard]] Result<std::string> WriteApplet(const Applet& applet);

/// A whole applet in its compressed form.
[[nodiscard]] Result<std::string> CompressApplet(const std::string& applet);

/// A copy of a player with an applet behind it. An applet that is there already is replaced.
/// `MagicKeyNotFound` when the player has no marker block.
[[nodiscard]] Result<std::string> AppendToPlayer(std::string player, const std::string& applet);

}  // namespace quillmere::qmc
