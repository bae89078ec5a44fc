// Volume names in front of paths, and where they lie on this system.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillmere {

/// More directories than any system has fonts in; a bound for trees without an end.
inline constexpr std::size_t mostFontDirs = 4096;

/// Maps `T:`, `PROGDIR:` and `FONTS:` to directories, whatever their case. A name counts as a
/// volume when its first ":" stands before any "/".
class Volumes {
 public:
  /// Of each tree of font directories no more than `fontDirLimit` are looked at.
  Volumes(std::string tempDir, std::string programDir, std::size_t fontDirLimit = mostFontDirs);

  /// The path of the system. Of several font directories the first that holds the name is taken,
  /// else the first of all. Nothing for a volume that does not exist and for paths that hold a
  /// zero byte.
  [[nodiscard]] std::optional<std::string> Map(std::string_view path);

 private:
  [[nodiscard]] const std::vector<std::string>& FontDirs();

  std::string tempDir_;
  std::string programDir_;
  std::size_t fontDirLimit_;
  std::optional<std::vector<std::string>> fontDirs_;
};

}  // namespace quillmere
