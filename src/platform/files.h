// Files, directories and paths of the system, other programs, and memory.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/time.h"

namespace quillmere {

/// An open file of the system with 64-bit positions. Closing is the destructor.
class PlatformFile {
 public:
  virtual ~PlatformFile() = default;
  /// Reads up to `bytes.size()` bytes; the count read, 0 at the end, nothing on an error.
  virtual std::optional<std::size_t> Read(std::span<std::uint8_t> bytes) = 0;
  /// Writes; the count written, less than asked when the system took no more.
  virtual std::size_t Write(std::span<const std::uint8_t> bytes) = 0;
  /// The same without the buffer; both forms may be mixed.
  virtual std::optional<std::size_t> ReadUnbuffered(std::span<std::uint8_t> bytes) = 0;
  virtual std::size_t WriteUnbuffered(std::span<const std::uint8_t> bytes) = 0;
  /// Moves to an absolute position; false when it is refused.
  virtual bool Seek(std::int64_t position) = 0;
  virtual std::int64_t Position() = 0;
  /// The length, -1 when it cannot be known (a pipe).
  virtual std::int64_t Size() = 0;
  virtual bool Flush() = 0;
};

enum class OpenMode { Read = 0, Write = 1, ReadWrite = 2 };

/// Protection bits of a file, a set bit allows: read 1, write 2, execute 4, delete 8, and the same
/// for group and others shifted up by 4 and 8.
using Protection = std::uint32_t;

/// What the system knows about a name.
struct FileInfo {
  std::string name{};  ///< last part of the path
  bool isDirectory = false;
  std::int64_t size = 0;
  LocalTime date{};
  Protection protection = 15;
  std::string comment{};
};

/// What the system knows about the volume that a path lies on.
struct VolumeInfo {
  std::string name{};  ///< the directory where the volume is mounted
  std::int64_t freeBytes = 0;
  std::int64_t usedBytes = 0;
};

class PlatformFiles {
 public:
  virtual ~PlatformFiles() = default;
  /// Opens a file; paths are POSIX paths, a volume prefix (`T:`, `PROGDIR:`, `FONTS:`) is mapped.
  /// Write makes the file or cuts it, ReadWrite makes it when absent. Null on every failure.
  virtual std::unique_ptr<PlatformFile> Open(std::string_view path, OpenMode mode) = 0;
  /// Facts about a file or directory; nothing when it does not exist.
  [[nodiscard]] virtual std::optional<FileInfo> Examine(std::string_view path) = 0;
  /// The entries of a directory, without "." and "..", in the system's order; nothing when it is no
  /// directory or cannot be read.
  virtual std::optional<std::vector<FileInfo>> ExamineDir(std::string_view path) = 0;
  [[nodiscard]] virtual std::optional<VolumeInfo> ExamineVolume(std::string_view path) = 0;
  virtual bool CreateDir(std::string_view path) = 0;
  virtual bool Delete(std::string_view path) = 0;
  virtual bool Rename(std::string_view from, std::string_view to) = 0;
  virtual bool SetProtection(std::string_view path, Protection protection) = 0;
  virtual bool SetComment(std::string_view path, std::string_view comment) = 0;
  virtual bool SetFileDate(std::string_view path, const LocalTime& date) = 0;
  /// The absolute path of a name, symbolic links followed; nothing when it does not exist.
  [[nodiscard]] virtual std::optional<std::string> FullPath(std::string_view path) = 0;
  [[nodiscard]] virtual std::string GetCurrentDir() = 0;
  virtual bool SetCurrentDir(std::string_view path) = 0;
  /// The path of the running executable.
  [[nodiscard]] virtual std::string ProgramPath() = 0;
  /// A directory for temporary files, without a closing slash.
  [[nodiscard]] virtual std::string TempDir() = 0;
  /// Makes an empty file with a fresh name in the temporary directory, ending in `suffix`, and
  /// gives its path; empty when that fails.
  [[nodiscard]] virtual std::string MakeTempFile(std::string_view suffix) = 0;
  /// Runs a program with its output thrown away; waits for its end when `wait` is set. `arguments`
  /// is read as a shell reads it. The result is its exit status, 0 when not waited for, nothing
  /// when it could not be started.
  virtual std::optional<int> Execute(std::string_view command, std::string_view arguments,
                                     bool wait) = 0;
  /// Free bytes of memory. Every kind is the same memory here.
  [[nodiscard]] virtual std::int64_t AvailMem(int kind) = 0;
};

/// Joins a directory and a name with exactly one separator; an absolute name replaces the
/// directory.
[[nodiscard]] std::string AddPart(std::string_view directory, std::string_view name);
/// What stands before the last part, without its separator (but with ":").
[[nodiscard]] std::string_view PathPart(std::string_view path);

}  // namespace quillmere
