#include "platform/posix/posix_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysinfo.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <memory>

#include "base/names.h"
#include "platform/posix/buffered_file.h"
#include "platform/posix/calendar.h"
#include "platform/posix/process.h"

namespace quillmere {
namespace {

constexpr const char* commentAttribute = "user.comment";

std::string ReadLink(const char* path) {
  char target[4096];
  const ssize_t length = readlink(path, target, sizeof(target));
  return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
}

std::string TempDirOfSystem() {
  const char* named = std::getenv("TMPDIR");
  std::string directory = named != nullptr && *named == '/' ? named : "/tmp";
  while (directory.size() > 1 && directory.ends_with('/')) directory.pop_back();
  return directory;
}

/// A class of users in both worlds: how far its bits are shifted.
struct UserClass {
  int ours;
  int system;
};
constexpr UserClass userClasses[] = {{0, 6}, {4, 3}, {8, 0}};

Protection ProtectionOfMode(mode_t mode) {
  Protection protection = 0;
  for (const auto [ours, system] : userClasses) {
    const mode_t bits = mode >> system & 7;
    // Who may write a file may delete it, as far as a single file can tell.
    protection |= ((bits & 4 ? 1U : 0U) | (bits & 2 ? 2U | 8U : 0U) | (bits & 1 ? 4U : 0U)) << ours;
  }
  return protection;
}

mode_t ModeOfProtection(Protection protection, mode_t old) {
  mode_t mode = old & ~static_cast<mode_t>(0777) & 07777;
  for (const auto [ours, system] : userClasses) {
    const Protection bits = protection >> ours & 15;
    mode |= ((bits & 1 ? 4U : 0U) | (bits & 2 ? 2U : 0U) | (bits & 4 ? 1U : 0U)) << system;
  }
  return mode;
}

std::string ReadComment(const std::string& path) {
  char text[longestComment];
  const ssize_t length = getxattr(path.c_str(), commentAttribute, text, sizeof(text));
  return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

std::optional<FileInfo> ExaminePath(const std::string& path) {
  struct stat info {};
  // A link that leads nowhere is still an entry of its directory.
  if (stat(path.c_str(), &info) != 0 && lstat(path.c_str(), &info) != 0) return std::nullopt;
  std::string_view name = path;
  while (name.size() > 1 && name.ends_with('/')) name.remove_suffix(1);
  if (const std::size_t slash = name.rfind('/'); slash + 1 < name.size()) {
    name.remove_prefix(slash + 1);
  }
  return FileInfo{.name = std::string(name),
                  .isDirectory = S_ISDIR(info.st_mode),
                  .size = S_ISDIR(info.st_mode) ? 0 : info.st_size,
                  .date = LocalTimeOf(info.st_mtime),
                  .protection = ProtectionOfMode(info.st_mode),
                  .comment = ReadComment(path)};
}

struct CloseDir {
  void operator()(DIR* directory) const { closedir(directory); }
};

/// Renames without ever replacing what is there.
bool RenameKeeping(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  if (access(to.c_str(), F_OK) == 0) return false;
  return rename(from.c_str(), to.c_str()) == 0;
}

/// The directory above at which another file system begins.
std::string MountPointOf(std::string path) {
  struct stat here {};
  if (stat(path.c_str(), &here) != 0) return "/";
  while (path.size() > 1) {
    const std::size_t slash = path.rfind('/');
    const std::string parent = slash == 0 ? "/" : path.substr(0, slash);
    struct stat above {};
    if (stat(parent.c_str(), &above) != 0 || above.st_dev != here.st_dev) break;
    path = parent;
  }
  return path;
}

}  // namespace

std::string ProgramDir() {
  const std::string program = ReadLink("/proc/self/exe");
  const std::size_t slash = program.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : program.substr(0, slash);
}

PosixFiles::PosixFiles()
    : programPath_(ReadLink("/proc/self/exe")),
      tempDir_(TempDirOfSystem()),
      volumes_(tempDir_, ProgramDir()) {}

PosixFiles::~PosixFiles() {
  CollectEnded(running_);
}

std::unique_ptr<PlatformFile> PosixFiles::Open(std::string_view path, OpenMode mode) {
  const auto name = volumes_.Map(path);
  if (!name || name->empty()) return nullptr;
  const int access = mode == OpenMode::Read    ? O_RDONLY
                     : mode == OpenMode::Write ? O_WRONLY | O_CREAT | O_TRUNC
                                               : O_RDWR | O_CREAT;
  const int descriptor = open(name->c_str(), access | O_CLOEXEC, 0666);
  if (descriptor < 0) return nullptr;
  struct stat info {};
  if (fstat(descriptor, &info) != 0 || S_ISDIR(info.st_mode)) {
    close(descriptor);
    return nullptr;
  }
  return std::make_unique<BufferedFile>(descriptor);
}

std::optional<FileInfo> PosixFiles::Examine(std::string_view path) {
  const auto name = volumes_.Map(path);
  return name && !name->empty() ? ExaminePath(*name) : std::nullopt;
}

std::optional<std::vector<FileInfo>> PosixFiles::ExamineDir(std::string_view path) {
  const auto name = volumes_.Map(path);
  if (!name) return std::nullopt;
  const std::unique_ptr<DIR, CloseDir> directory(opendir(name->empty() ? "." : name->c_str()));
  if (!directory) return std::nullopt;
  std::vector<FileInfo> entries;
  while (const dirent* entry = readdir(directory.get())) {
    const std::string_view last = entry->d_name;
    if (last == "." || last == "..") continue;
    if (auto info = ExaminePath(AddPart(*name, last))) {
      info->name = last;
      entries.push_back(std::move(*info));
    }
  }
  return entries;
}

std::optional<VolumeInfo> PosixFiles::ExamineVolume(std::string_view path) {
  const auto full = FullPath(path);
  struct statvfs info {};
  if (!full || statvfs(full->c_str(), &info) != 0) return std::nullopt;
  const auto block = static_cast<std::int64_t>(info.f_frsize);
  return VolumeInfo{.name = MountPointOf(*full),
                    .freeBytes = static_cast<std::int64_t>(info.f_bavail) * block,
                    .usedBytes = static_cast<std::int64_t>(info.f_blocks - info.f_bfree) * block};
}

bool PosixFiles::CreateDir(std::string_view path) {
  const auto name = volumes_.Map(path);
  return name && mkdir(name->c_str(), 0777) == 0;
}

bool PosixFiles::Delete(std::string_view path) {
  const auto name = volumes_.Map(path);
  return name && !name->empty() && remove(name->c_str()) == 0;
}

bool PosixFiles::Rename(std::string_view from, std::string_view to) {
  const auto oldName = volumes_.Map(from);
  const auto newName = volumes_.Map(to);
  return oldName && newName && RenameKeeping(*oldName, *newName);
}

bool PosixFiles::SetProtection(std::string_view path, Protection protection) {
  const auto name = volumes_.Map(path);
  struct stat info {};
  if (!name || stat(name->c_str(), &info) != 0) return false;
  return chmod(name->c_str(), ModeOfProtection(protection, info.st_mode)) == 0;
}

bool PosixFiles::SetComment(std::string_view path, std::string_view comment) {
  const auto name = volumes_.Map(path);
  if (!name || comment.size() > longestComment) return false;
  if (comment.empty()) {
    if (removexattr(name->c_str(), commentAttribute) == 0 || errno == ENODATA) return true;
    // Where there are no comments, none is what every file has.
    return errno == ENOTSUP;
  }
  return setxattr(name->c_str(), commentAttribute, comment.data(), comment.size(), 0) == 0;
}

bool PosixFiles::SetFileDate(std::string_view path, const LocalTime& date) {
  const auto name = volumes_.Map(path);
  if (!name) return false;
  const timespec times[] = {{0, UTIME_OMIT}, {SecondsOf(date), 0}};
  return utimensat(AT_FDCWD, name->c_str(), times, 0) == 0;
}

std::optional<std::string> PosixFiles::FullPath(std::string_view path) {
  const auto name = volumes_.Map(path);
  if (!name) return std::nullopt;
  struct Free {
    void operator()(char* text) const { free(text); }
  };
  const std::unique_ptr<char, Free> full(realpath(name->empty() ? "." : name->c_str(), nullptr));
  return full ? std::optional<std::string>(full.get()) : std::nullopt;
}

std::string PosixFiles::GetCurrentDir() {
  return FullPath("").value_or("/");
}

bool PosixFiles::SetCurrentDir(std::string_view path) {
  const auto name = volumes_.Map(path);
  return name && chdir(name->empty() ? "." : name->c_str()) == 0;
}

std::string PosixFiles::MakeTempFile(std::string_view suffix) {
  if (suffix.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos) return {};
  std::string name = tempDir_ + "/quillmere-XXXXXX" + std::string(suffix);
  const int descriptor = mkostemps(name.data(), static_cast<int>(suffix.size()), O_CLOEXEC);
  if (descriptor < 0) return {};
  close(descriptor);
  return name;
}

std::optional<int> PosixFiles::Execute(std::string_view command, std::string_view arguments,
                                       bool wait) {
  CollectEnded(running_);
  const auto name = volumes_.Map(command);
  const auto program = name ? FindProgram(*name) : std::nullopt;
  if (!program) return std::nullopt;
  // The shell reads the arguments, so that quotes and patterns mean what users expect.
  const auto process = StartProcess(
      {"/bin/sh", "-c", "exec \"$0\" " + std::string(arguments), *program}, Stream::Nothing);
  if (!process) return std::nullopt;
  if (wait) {
    if (beforeWait_) beforeWait_();
    return WaitForEnd(process->id);
  }
  running_.push_back(process->id);
  return 0;
}

std::int64_t PosixFiles::AvailMem(int /*kind*/) {
  std::ifstream report("/proc/meminfo");
  std::string key;
  std::int64_t kilobytes = 0;
  while (report >> key >> kilobytes) {
    if (key == "MemAvailable:") return kilobytes * 1024;
    report.ignore(64, '\n');
  }
  struct sysinfo info {};
  if (sysinfo(&info) != 0) return 0;
  return static_cast<std::int64_t>(info.freeram) * info.mem_unit;
}

}  // namespace quillmere
