#include "qmc/source.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace quillmere::qmc {

std::uint32_t Sources::Add(std::string name, std::filesystem::path path, std::string text) {
  files_.push_back({std::move(name), std::move(path), std::move(text)});
  return static_cast<std::uint32_t>(files_.size() - 1);
}

LinePlace Sources::Find(Position position) const {
  const std::string_view text = files_[position.file].text;
  const std::size_t at = std::min<std::size_t>(position.offset, text.size());
  const std::string_view before = text.substr(0, at);
  const std::size_t lineBreak = before.rfind('\n');
  const std::size_t start = lineBreak == std::string_view::npos ? 0 : lineBreak + 1;
  const std::size_t end = std::min(text.find('\n', start), text.size());
  LinePlace place;
  place.line = static_cast<std::uint32_t>(1 + std::ranges::count(before, '\n'));
  place.column = static_cast<std::uint32_t>(at - start + 1);
  place.text = text.substr(start, end - start);
  if (place.text.ends_with('\r')) place.text.remove_suffix(1);
  return place;
}

Result<std::string> ReadWholeFile(const std::filesystem::path& path) {
  std::error_code failure;
  if (!std::filesystem::exists(path, failure)) return Fail(Error::FileDoesNotExist);
  if (std::filesystem::is_directory(path, failure)) return Fail(Error::CannotReadFile);
  std::ifstream stream(path, std::ios::binary);
  if (!stream) return Fail(Error::CannotReadFile);
  std::string text{std::istreambuf_iterator<char>(stream), {}};
  if (stream.bad()) return Fail(Error::CannotReadFile);
  return text;
}

}  // namespace quillmere::qmc
