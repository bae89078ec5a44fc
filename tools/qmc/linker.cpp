#include "qmc/linker.h"

#include <algorithm>
#include <array>

#include "base/fold.h"

namespace quillmere::qmc {
namespace {

/// The first bytes of font files of the outline kind.
bool IsOutlineFont(std::string_view bytes) {
  using namespace std::string_view_literals;
  constexpr std::array starts = {"\0\1\0\0"sv, "OTTO"sv, "true"sv, "ttcf"sv};
  return std::ranges::any_of(starts,
                             [=](std::string_view start) { return bytes.starts_with(start); });
}

}  // namespace

Result<std::size_t> Linker::Add(const std::filesystem::path& path) {
  std::error_code failure;
  std::filesystem::path key = std::filesystem::weakly_canonical(path, failure);
  if (failure) key = path;
  if (const auto found = known_.find(key); found != known_.end()) return found->second;
  applet_.data.push_back(TRY(ReadWholeFile(path)));
  return known_[key] = applet_.data.size() - 1;
}

Status Linker::Link(std::string name, const std::filesystem::path& path) {
  const std::size_t data = TRY(Add(path));
  const auto isSame = [&](const AppletFile& file) { return EqualsFolded(file.name, name); };
  if (std::ranges::none_of(applet_.files, isSame)) applet_.files.push_back({std::move(name), data});
  return {};
}

Status Linker::LinkFont(const std::string& name, const std::filesystem::path& path) {
  const std::size_t data = TRY(Add(path));
  if (!IsOutlineFont(applet_.data[data])) return Fail(Error::FontCannotLinkedBecauseWrong);
  return Link(linkedFontPrefix + name, path);
}

}  // namespace quillmere::qmc
