#include "platform/files.h"

namespace quillmere {

std::string AddPart(std::string_view directory, std::string_view name) {
  const std::size_t separator = name.find_first_of(":/");
  const bool absolute =
      separator != std::string_view::npos && (name[separator] == ':' || separator == 0);
  if (directory.empty() || absolute) return std::string(name);
  std::string path(directory);
  if (name.empty()) return path;
  if (!path.ends_with('/') && !path.ends_with(':')) path += '/';
  return path.append(name);
}

std::string_view PathPart(std::string_view path) {
  const std::size_t separator = path.find_last_of("/\\:");
  if (separator == std::string_view::npos) return {};
  const bool keep = path[separator] == ':' || separator == 0;
  return path.substr(0, separator + (keep ? 1 : 0));
}

}  // namespace quillmere
