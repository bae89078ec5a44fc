#include "files/virtual_name.h"

#include <charconv>

#include "base/checked.h"
#include "files/files_state.h"
#include "files/virtual_file.h"

namespace quillmere {
namespace {

/// Takes a number and the character behind it off the front of `text`.
template <class T>
std::optional<T> TakeNumber(std::string_view& text, char end) {
  T value = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || rest == text.data() + text.size() || *rest != end) {
    return std::nullopt;
  }
  text.remove_prefix(static_cast<std::size_t>(rest - text.data()) + 1);
  return value;
}

}  // namespace

std::optional<ChunkName> ParseChunkName(std::string_view name) {
  if (!name.starts_with(chunkNamePrefix)) return std::nullopt;
  name.remove_prefix(chunkNamePrefix.size());
  ChunkName chunk;
  if (name.starts_with('S')) {
    chunk.inMemory = true;
    name.remove_prefix(1);
  }
  const auto base = TakeNumber<std::int64_t>(name, ':');
  const auto size = TakeNumber<std::int64_t>(name, '*');
  const std::size_t slash = name.find('/');
  if (!base || !size || *base < 0 || *size < 0 || slash == std::string_view::npos) {
    return std::nullopt;
  }
  if (!CheckedAdd(*base, *size)) return std::nullopt;
  chunk.base = chunk.inMemory ? 0 : *base;
  chunk.size = *size;
  chunk.displayName = name.substr(0, slash);
  chunk.container = name.substr(slash + 1);
  return chunk;
}

std::optional<MemoryName> ParseMemoryName(std::string_view name) {
  if (!name.starts_with(memoryNamePrefix)) return std::nullopt;
  name.remove_prefix(memoryNamePrefix.size());
  if (name.size() != 8) return std::nullopt;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(name.data());
  return MemoryName{LoadBig<std::uint32_t>(bytes), LoadBig<std::uint32_t>(bytes + 4)};
}

std::optional<std::uintptr_t> ParseAddress(std::string_view text) {
  std::uintptr_t address = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), address, 16);
  if (error != std::errc() || rest != text.data() + text.size()) return std::nullopt;
  return address;
}

std::string NormaliseName(std::string_view name) {
  std::string out(name);
  if (name.size() >= normalisedNameLimit) return out;
  for (char& c : out) {
    if (c == '\\') c = '/';
  }
  std::size_t at = 0;
  while ((at = out.find("./", at)) != std::string::npos) {
    if (at > 0 && out[at - 1] == '.') {
      at += 2;
    } else {
      out.erase(at, 2);
    }
  }
  return out;
}

std::string MakeChunkName(std::string_view fileName, std::int64_t offset, std::int64_t size,
                          std::int64_t appletBase, std::string_view containerPath) {
  std::string name(chunkNamePrefix);
  name += std::to_string(appletBase + offset) + ":" + std::to_string(size) + "*";
  name += ShownFileName(fileName);
  name += "/";
  name += containerPath;
  return name;
}

std::string DefineMemoryFile(Host& host, const SharedBytes& bytes, std::string_view fileName) {
  host.Of<FilesState>().memoryNames.Add(bytes);
  std::string name(chunkNamePrefix);
  name += "S0:" + std::to_string(bytes->size()) + "*";
  name += ShownFileName(fileName);
  char address[2 * sizeof(std::uintptr_t)];
  const auto end = std::to_chars(address, std::end(address),
                                 reinterpret_cast<std::uintptr_t>(bytes->data()), 16);
  return name + "/" + std::string(address, end.ptr);
}

std::string DefineDecoderMemory(Host& host, const SharedBytes& bytes) {
  std::string name(memoryNamePrefix);
  std::uint8_t words[8];
  StoreBig<std::uint32_t>(words, host.Of<FilesState>().memoryNames.Add(bytes));
  StoreBig<std::uint32_t>(words + 4, static_cast<std::uint32_t>(bytes->size()));
  name.append(reinterpret_cast<const char*>(words), sizeof words);
  return name;
}

bool IsVirtualName(std::string_view name) {
  return name.starts_with(":::");
}

}  // namespace quillmere
