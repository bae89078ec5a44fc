// Memory that is handed out piece by piece and freed all at once: home of the syntax tree.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

namespace quillmere::qmc {

/// Hands out memory for objects that need no destructor; all of it goes with the arena.
class Arena {
 public:
  /// Makes an object that lives as long as the arena.
  template <class T, class... Arguments>
  T* Make(Arguments&&... arguments) {
    static_assert(std::is_trivially_destructible_v<T>);
    return new (Take(sizeof(T), alignof(T))) T{std::forward<Arguments>(arguments)...};
  }

  /// Copies a list into the arena.
  template <class T>
  std::span<T> Copy(std::span<const T> items) {
    static_assert(std::is_trivially_copyable_v<T>);
    if (items.empty()) return {};
    auto* block = static_cast<T*>(Take(items.size_bytes(), alignof(T)));
    std::memcpy(static_cast<void*>(block), items.data(), items.size_bytes());
    return {block, items.size()};
  }

 private:
  static constexpr std::size_t blockSize = 64 * 1024;

  void* Take(std::size_t size, std::size_t alignment) {
    std::size_t at = (used_ + alignment - 1) / alignment * alignment;
    if (blocks_.empty() || at + size > capacity_) {
      capacity_ = size > blockSize ? size : blockSize;
      blocks_.push_back(std::make_unique_for_overwrite<std::byte[]>(capacity_));
      at = 0;
    }
    used_ = at + size;
    return blocks_.back().get() + at;
  }

  std::vector<std::unique_ptr<std::byte[]>> blocks_;
  std::size_t capacity_ = 0;
  std::size_t used_ = 0;
};

}  // namespace quillmere::qmc
