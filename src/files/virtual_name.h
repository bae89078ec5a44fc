// Virtual names taken apart. Used by the file layer alone.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillmere {

inline constexpr std::string_view memoryNamePrefix = ":::memory";
inline constexpr std::string_view clipboardName = ":::clipboard";

/// The parts of a ":::chunk" name.
struct ChunkName {
  bool inMemory = false;
  std::int64_t base = 0;
  std::int64_t size = 0;
  std::string_view displayName;
  /// The path of the container; of the memory form the address as text.
  std::string_view container;
};

/// Takes a chunk name apart; nothing when it is malformed or its numbers do not fit together.
[[nodiscard]] std::optional<ChunkName> ParseChunkName(std::string_view name);

/// The number and the size in a ":::memory" name; nothing when it is malformed.
struct MemoryName {
  std::uint32_t number = 0;
  std::uint32_t size = 0;
};
[[nodiscard]] std::optional<MemoryName> ParseMemoryName(std::string_view name);

/// An address as the memory form writes it.
[[nodiscard]] std::optional<std::uintptr_t> ParseAddress(std::string_view text);

}  // namespace quillmere
