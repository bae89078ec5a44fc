#include <cstring>
#include <new>

#include "vm/state.h"

namespace quillmere {
namespace {

std::uint32_t HashOf(std::string_view bytes) {
  const std::size_t step = (bytes.size() >> 5) + 1;
  auto hash = static_cast<std::uint32_t>(bytes.size());
  for (std::size_t i = bytes.size(); i >= step; i -= step) {
    hash ^= (hash << 5) + (hash >> 2) + static_cast<unsigned char>(bytes[i - 1]);
  }
  return hash;
}

}  // namespace

void ResizeStringTable(VmState& state, std::size_t size) {
  VmGlobals& globals = *state.globals;
  std::vector<VmString*> buckets(size, nullptr);
  for (VmString* chain : globals.buckets) {
    while (chain != nullptr) {
      VmString* next = chain->next;
      VmString*& bucket = buckets[chain->hash & (size - 1)];
      chain->next = bucket;
      bucket = chain;
      chain = next;
    }
  }
  globals.buckets = std::move(buckets);
}

VmString* NewString(VmState& state, std::string_view bytes) {
  VmGlobals& globals = *state.globals;
  const std::uint32_t hash = HashOf(bytes);
  VmString** bucket = &globals.buckets[hash & (globals.buckets.size() - 1)];
  for (VmString* string = *bucket; string != nullptr; string = string->next) {
    if (string->hash == hash && std::string_view(string->Bytes(), string->length) == bytes) {
      return string;
    }
  }
  if (bytes.size() >= vmMaxBlock - sizeof(VmString) - 8) vmThrow(state, Error::OutOfMemory);
  void* block = vmRealloc(state, nullptr, 0, VmString::SizeOf(bytes.size()));
  auto* string = ::new (block) VmString;
  string->kind = VmKind::String;
  string->hash = hash;
  string->length = static_cast<std::uint32_t>(bytes.size());
  if (!bytes.empty()) std::memcpy(string->Bytes(), bytes.data(), bytes.size());
  string->Bytes()[bytes.size()] = '\0';
  string->next = *bucket;
  *bucket = string;
  ++globals.stringCount;
  if (globals.stringCount > globals.buckets.size() && globals.buckets.size() < vmMaxStringBuckets) {
    ResizeStringTable(state, globals.buckets.size() * 2);
  }
  return string;
}

int CompareStrings(const VmString& a, const VmString& b) {
  const std::size_t shared = std::min(a.length, b.length);
  if (shared != 0) {
    const int order = std::memcmp(a.Bytes(), b.Bytes(), shared);
    if (order != 0) return order;
  }
  return a.length < b.length ? -1 : a.length > b.length ? 1 : 0;
}

}  // namespace quillmere
