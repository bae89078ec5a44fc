#include "files/virtual_file.h"
#include "files/virtual_name.h"

namespace quillmere {
namespace {

/// The date of all chunks.
constexpr LocalTime chunkDate{.year = 1982, .month = 9, .day = 16, .weekday = 4};

}  // namespace

std::optional<NameLock> LockName(Host& host, std::string_view name) {
  if (name.starts_with(chunkNamePrefix)) return NameLock{std::string(name), true};
  std::string path = NormaliseName(name);
  if (!host.Of<Platform>().files().Examine(path)) return std::nullopt;
  return NameLock{std::move(path), false};
}

std::optional<FileInfo> ExamineName(Host& host, const NameLock& lock) {
  if (!lock.isChunk) return host.Of<Platform>().files().Examine(lock.name);
  FileInfo info;
  info.name = DisplayNameOfChunk(lock.name);
  if (const auto chunk = ParseChunkName(lock.name)) info.size = chunk->size;
  info.date = chunkDate;
  return info;
}

std::string FullPathOfName(Host& host, const NameLock& lock) {
  PlatformFiles& files = host.Of<Platform>().files();
  if (!lock.isChunk) return files.FullPath(lock.name).value_or(lock.name);
  const std::string_view displayName = DisplayNameOfChunk(lock.name);
  if (displayName.empty()) return "unknown";
  return AddPart(files.GetCurrentDir(), displayName);
}

}  // namespace quillmere
