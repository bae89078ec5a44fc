#include "base/names.h"

namespace quillmere {

std::string_view NamePart(std::string_view path) {
  const std::size_t separator = path.find_last_of("/\\:");
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::string_view DisplayNameOfChunk(std::string_view name) {
  if (!name.starts_with(chunkNamePrefix)) return name;
  const std::size_t star = name.find('*');
  if (star == std::string_view::npos) return name;
  const std::size_t slash = name.find('/', star);
  return name.substr(star + 1, slash == std::string_view::npos ? slash : slash - star - 1);
}

std::string_view ShownFileName(std::string_view name) {
  return name.starts_with(chunkNamePrefix) ? DisplayNameOfChunk(name) : NamePart(name);
}

}  // namespace quillmere
