#include "platform/posix/volumes.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "base/fold.h"

namespace quillmere {
namespace {

namespace fs = std::filesystem;

std::string Join(const std::string& directory, std::string_view rest) {
  while (rest.starts_with('/')) rest.remove_prefix(1);
  if (rest.empty()) return directory;
  return directory + (directory.ends_with('/') ? "" : "/") + std::string(rest);
}

void AddWithSubdirectories(const std::string& root, std::size_t limit,
                           std::vector<std::string>& dirs) {
  std::error_code failure;
  if (!fs::is_directory(root, failure)) return;
  std::vector<std::string> found = {root};
  const auto options = fs::directory_options::skip_permission_denied;
  for (fs::recursive_directory_iterator entry(root, options, failure), end;
       !failure && entry != end && found.size() < limit; entry.increment(failure)) {
    if (entry->is_directory(failure)) found.push_back(entry->path().string());
  }
  std::ranges::sort(found);
  dirs.insert(dirs.end(), found.begin(), found.end());
}

}  // namespace

Volumes::Volumes(std::string tempDir, std::string programDir, std::size_t fontDirLimit)
    : tempDir_(std::move(tempDir)),
      programDir_(std::move(programDir)),
      fontDirLimit_(fontDirLimit) {}

std::optional<std::string> Volumes::Map(std::string_view path) {
  if (path.find('\0') != std::string_view::npos) return std::nullopt;
  const std::size_t colon = path.find_first_of(":/");
  if (colon == std::string_view::npos || path[colon] == '/') return std::string(path);
  const std::string_view volume = path.substr(0, colon);
  const std::string_view rest = path.substr(colon + 1);
  if (EqualsFolded(volume, "t")) return Join(tempDir_, rest);
  if (EqualsFolded(volume, "progdir")) return Join(programDir_, rest);
  if (!EqualsFolded(volume, "fonts")) return std::nullopt;
  for (const std::string& directory : FontDirs()) {
    const std::string candidate = Join(directory, rest);
    if (access(candidate.c_str(), F_OK) == 0) return candidate;
  }
  return Join(FontDirs().front(), rest);
}

const std::vector<std::string>& Volumes::FontDirs() {
  if (fontDirs_) return *fontDirs_;
  std::vector<std::string>& dirs = fontDirs_.emplace();
  const auto add = [&](const std::string& root) {
    AddWithSubdirectories(root, fontDirLimit_, dirs);
  };
  add(Join(programDir_, "Fonts"));
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    add(Join(home, ".local/share/fonts"));
    add(Join(home, ".fonts"));
  }
  add("/usr/local/share/fonts");
  add("/usr/share/fonts");
  if (dirs.empty()) dirs.push_back("/usr/share/fonts");
  return dirs;
}

}  // namespace quillmere
