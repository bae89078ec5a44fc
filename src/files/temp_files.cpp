#include <algorithm>

#include "files/files_state.h"

namespace quillmere {

std::string MakeTempName(Host& host, std::string_view suffix) {
  std::string path = host.Of<Platform>().files().MakeTempFile(suffix);
  if (!path.empty()) host.Of<FilesState>().tempFiles.push_back(path);
  return path;
}

std::string GetTempFileName(Host& host, std::string_view name) {
  const std::string_view file = ShownFileName(name);
  const std::size_t dot = file.rfind('.');
  return MakeTempName(host, dot == std::string_view::npos ? std::string_view() : file.substr(dot));
}

void DeleteTempFile(Host& host, const std::string& path) {
  host.Of<Platform>().files().Delete(path);
  std::erase(host.Of<FilesState>().tempFiles, path);
}

}  // namespace quillmere
