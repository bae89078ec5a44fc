// The files of the system.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/posix/volumes.h"

namespace quillmere {

/// The longest comment of a file, in bytes. A file system may allow less.
inline constexpr std::size_t longestComment = 4096;

class PosixFiles final : public PlatformFiles {
 public:
  PosixFiles();
  ~PosixFiles() override;

  std::unique_ptr<PlatformFile> Open(std::string_view path, OpenMode mode) override;
  std::optional<FileInfo> Examine(std::string_view path) override;
  std::optional<std::vector<FileInfo>> ExamineDir(std::string_view path) override;
  std::optional<VolumeInfo> ExamineVolume(std::string_view path) override;
  bool CreateDir(std::string_view path) override;
  bool Delete(std::string_view path) override;
  bool Rename(std::string_view from, std::string_view to) override;
  bool SetProtection(std::string_view path, Protection protection) override;
  bool SetComment(std::string_view path, std::string_view comment) override;
  bool SetFileDate(std::string_view path, const LocalTime& date) override;
  std::optional<std::string> FullPath(std::string_view path) override;
  std::string GetCurrentDir() override;
  bool SetCurrentDir(std::string_view path) override;
  std::string ProgramPath() override { return programPath_; }
  std::string TempDir() override { return tempDir_; }
  std::string MakeTempFile(std::string_view suffix) override;
  std::optional<int> Execute(std::string_view command, std::string_view arguments,
                             bool wait) override;
  std::int64_t AvailMem(int kind) override;
  /// Called before the main task stands still for another program.
  void SetBeforeWait(std::function<void()> beforeWait) { beforeWait_ = std::move(beforeWait); }

 private:
  std::string programPath_;
  std::string tempDir_;
  Volumes volumes_;
  /// Programs that nobody waits for; they are collected when they have ended.
  std::vector<int> running_;
  std::function<void()> beforeWait_;
};

/// Where font files lie and where catalogs are looked for: the directory of the executable.
[[nodiscard]] std::string ProgramDir();

}  // namespace quillmere
