#include "files/files_state.h"

namespace quillmere {

std::uint32_t MemoryNames::Add(const SharedBytes& bytes) {
  const std::lock_guard guard(lock_);
  std::erase_if(known_, [](const auto& entry) { return entry.second.expired(); });
  for (const auto& [number, known] : known_) {
    if (known.lock() == bytes) return number;
  }
  known_.emplace(next_, bytes);
  return next_++;
}

SharedBytes MemoryNames::FindByAddress(std::uintptr_t address) {
  const std::lock_guard guard(lock_);
  for (const auto& [number, known] : known_) {
    SharedBytes bytes = known.lock();
    if (bytes && reinterpret_cast<std::uintptr_t>(bytes->data()) == address) return bytes;
  }
  return nullptr;
}

SharedBytes MemoryNames::FindByNumber(std::uint32_t number) {
  const std::lock_guard guard(lock_);
  const auto found = known_.find(number);
  return found == known_.end() ? nullptr : found->second.lock();
}

FilesState::FilesState(Host& owner) : host(owner) {
  host.Enter(*this);
}

FilesState::~FilesState() {
  for (const std::string& path : tempFiles) host.Of<Platform>().files().Delete(path);
  host.Leave(room);
}

}  // namespace quillmere
