// The files of a script and the numbering of lines over all of them.
//
// Includes are read in place, so the compiler counts lines through: line n of the compiled script
// may be any line of any file. The stretches say which, and travel in the applet so that the player
// can name the right file and line in a message.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"

namespace quillmere::qmc {

/// A place in a source file.
struct Position {
  std::uint32_t file = 0;
  /// Bytes from the start of the file.
  std::uint32_t offset = 0;
};

struct SourceFile {
  /// As messages show it.
  std::string name;
  std::filesystem::path path;
  std::string text;
};

/// Lines `first` to `last` of the compiled script are lines `base` + 1 and on of one file.
struct LineStretch {
  std::uint32_t first = 0;
  std::uint32_t last = 0;
  std::uint32_t base = 0;
  std::uint32_t file = 0;
};

/// A line and a column, both from 1, with the text of the line.
struct LinePlace {
  std::uint32_t line = 1;
  std::uint32_t column = 1;
  std::string_view text;
};

/// All files of one script.
class Sources {
 public:
  /// Adds a file whose text is at hand and returns its number.
  std::uint32_t Add(std::string name, std::filesystem::path path, std::string text);
  [[nodiscard]] const SourceFile& File(std::uint32_t file) const { return files_[file]; }
  [[nodiscard]] std::size_t FileCount() const { return files_.size(); }

  /// Line and column of a place; the column counts bytes.
  [[nodiscard]] LinePlace Find(Position position) const;

  std::vector<LineStretch> stretches;

 private:
  std::deque<SourceFile> files_;
};

/// Reads a whole file; `CannotReadFile` or `FileDoesNotExist` when it can't.
[[nodiscard]] Result<std::string> ReadWholeFile(const std::filesystem::path& path);

}  // namespace quillmere::qmc
