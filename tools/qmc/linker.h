// The files that go into an applet, each once.
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "base/error.h"
#include "qmc/applet.h"

namespace quillmere::qmc {

class Linker {
 public:
  explicit Linker(Applet& applet) : applet_(applet) {}

  /// Reads a file into the applet, unless it is there already, and returns the number of its data
  /// block.
  Result<std::size_t> Add(const std::filesystem::path& path);
  /// Links a file so that the script finds it under a name.
  Status Link(std::string name, const std::filesystem::path& path);
  /// Links an outline font so that `OpenFont` finds it under a name.
  /// `FontCannotLinkedBecauseWrong` for other files.
  Status LinkFont(const std::string& name, const std::filesystem::path& path);

 private:
  Applet& applet_;
  std::map<std::filesystem::path, std::size_t> known_;
};

}  // namespace quillmere::qmc
