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

namespace {

VmString* FindString(const VmString* bucket, std::string_view bytes, std::uint32_t hash) {
  for (const VmString* string = bucket; string != nullptr; string = string->next) {
    if (string->hash == hash && string->length == bytes.size() &&
        std::memcmp(string->Bytes(), bytes.data(), bytes.size()) == 0) {
      return const_cast<VmString*>(string);
    }
  }
  return nullptr;
}

void EnterString(VmState& state, VmString* string, std::uint32_t hash) {
  VmGlobals& globals = *state.globals;
  VmString*& bucket = globals.buckets[hash & (globals.buckets.size() - 1)];
  string->hash = hash;
  string->next = bucket;
  bucket = string;
  ++globals.stringCount;
  if (globals.stringCount > globals.buckets.size() && globals.buckets.size() < vmMaxStringBuckets) {
    ResizeStringTable(state, globals.buckets.size() * 2);
  }
}

}  // namespace

VmString* NewBlankString(VmState& state, std::size_t length) {
  if (length >= vmMaxBlock - sizeof(VmString) - 8) vmThrow(state, Error::OutOfMemory);
  auto* string = ::new (NewBlock<std::byte>(state, VmString::SizeOf(length))) VmString;
  string->kind = VmKind::String;
  string->length = static_cast<std::uint32_t>(length);
  string->Bytes()[length] = '\0';
  return string;
}

VmString* InternString(VmState& state, VmString* string) {
  const std::uint32_t hash = HashOf(string->View());
  const auto& buckets = state.globals->buckets;
  VmString* found = FindString(buckets[hash & (buckets.size() - 1)], string->View(), hash);
  if (found != nullptr) {
    FreeString(state, string);
    return found;
  }
  EnterString(state, string, hash);
  return string;
}

VmString* NewString(VmState& state, std::string_view bytes) {
  // A view of nothing may have no address, which memcmp must not be given.
  if (bytes.empty()) bytes = "";
  const std::uint32_t hash = HashOf(bytes);
  const auto& buckets = state.globals->buckets;
  VmString* string = FindString(buckets[hash & (buckets.size() - 1)], bytes, hash);
  if (string != nullptr) return string;
  string = NewBlankString(state, bytes.size());
  if (!bytes.empty()) std::memcpy(string->Bytes(), bytes.data(), bytes.size());
  EnterString(state, string, hash);
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
