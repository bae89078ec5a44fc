// From a script on disk to an applet on disk.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "qmc/applet.h"
#include "qmc/compiler.h"

namespace quillmere::qmc {

/// What the command line asks for.
struct BuildOptions {
  std::filesystem::path script;
  std::filesystem::path output;
  /// Link the files that declarations name.
  bool linkFiles = true;
  /// Further files to link, under the names by which the script asks for them.
  std::vector<std::string> files;
  /// Outline fonts to link: `FILE`, found by the file's name without its ending, or `NAME=FILE`.
  std::vector<std::string> fonts;
  bool compress = false;
  /// Leave out lines and names.
  bool strip = false;
  bool bigEndian = false;
  /// A player to append the applet to; empty for none.
  std::filesystem::path player;
};

/// Compiles and links a script. Returns what went wrong, ready to print, or an empty text; then and
/// only then the output is there, complete.
[[nodiscard]] std::string BuildScript(const BuildOptions& options);

/// The applet of a script that compiled without faults, with its declarations applied and all files
/// linked. More faults may come up on the way: those with a place go to `compilation`, those of
/// files that the command line names are added to `plainFaults`, ready to print.
[[nodiscard]] Applet BuildApplet(Compilation& compilation, const BuildOptions& options,
                                 std::string& plainFaults);

/// Writes a file under another name first, so that a failure leaves what was there.
[[nodiscard]] Status WriteWholeFile(const std::filesystem::path& path, const std::string& bytes,
                                    bool isProgram);

}  // namespace quillmere::qmc
