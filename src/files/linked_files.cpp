#include "files/linked_files.h"

#include "base/fold.h"
#include "files/files_state.h"

namespace quillmere {
namespace {

bool EndsWithFolded(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && EqualsFolded(text.substr(text.size() - end.size()), end);
}

std::string ChunkOf(const FilesState& files, std::string_view name, const LinkedFile& linked) {
  const std::string& container =
      linked.container.empty() ? files.clargs.selfPath : linked.container;
  return MakeChunkName(name, linked.offset, linked.size, files.appletOffset, container);
}

}  // namespace

std::string ResolveLinkedFile(Host& host, std::string_view name, bool isFont,
                              bool* isFontResolved) {
  if (isFontResolved != nullptr) *isFontResolved = false;
  if (!host.Has(Room::files)) return std::string(name);
  const auto& files = host.Of<FilesState>();
  const std::string_view prefix = linkedFontPrefix;
  const bool wantsFont = isFont && !EndsWithFolded(name, ".ttf") && !EndsWithFolded(name, ".otf");
  std::string_view wanted = name;
  if (wantsFont && EndsWithFolded(wanted, ".font")) wanted.remove_suffix(5);

  for (const LinkedFile& linked : files.applet.linkedFiles) {
    std::string_view candidate = linked.name;
    const bool isLinkedFont = candidate.starts_with(prefix);
    if (isLinkedFont != wantsFont) continue;
    if (isLinkedFont) candidate.remove_prefix(prefix.size());
    if (!EqualsFolded(candidate, wanted)) continue;
    if (isFontResolved != nullptr) *isFontResolved = isFont;
    return ChunkOf(files, name, linked);
  }
  return std::string(name);
}

}  // namespace quillmere
