// Tables: an array part for the keys 1 to n and a hash part for the rest. In the hash part every
// key lives in a chain that starts at its own main position; a key that is in the way of another is
// moved to a free node. The order in which entries are visited follows from that, and scripts see
// it, so that sizes and positions are fixed here to the last detail.
#pragma once

#include "vm/state.h"

namespace quillmere {

[[nodiscard]] VmTable* NewTable(VmState& state, int arraySize, int log2NodeCount);
/// Lets go of what the table owns; its cell is the heap's.
void FreeTable(VmState& state, VmTable& table);

/// The value of a key, or the nil object. A nil key is the key 0.
[[nodiscard]] const VmValue& TableGet(const VmTable& table, VmValue key);
[[nodiscard]] const VmValue& TableGetIntSlow(const VmTable& table, int key);

[[nodiscard]] inline const VmValue& TableGetInt(const VmTable& table, int key) {
  if (static_cast<unsigned>(key) - 1u < static_cast<unsigned>(table.arraySize)) {
    return table.array[key - 1];
  }
  return TableGetIntSlow(table, key);
}

/// The node of a large hash part with exactly these bits as its key, in the chain that starts at a
/// place; or null.
[[nodiscard]] inline VmNode* FindInChain(const VmTable& table, std::uint32_t place, VmValue key) {
  const std::uint32_t* const links = table.Links();
  while (table.nodes[place].key != key) {
    place = links[place];
    if (place-- == 0) return nullptr;
  }
  return table.nodes + place;
}

/// The node of a small hash part with exactly these bits as its key, or null. The key of a node
/// whose value has gone may be the address of an object that has gone too, and be taken for another
/// one; so a node with a value comes before one without.
[[nodiscard]] inline VmNode* FindAmongFew(const VmTable& table, VmValue key) {
  VmNode* found = nullptr;
  for (VmNode* node = table.nodes; node != table.nodes + table.nodeLimit; ++node) {
    if (node->key != key) continue;
    found = node;
    if (!node->value.IsNil()) break;
  }
  return found;
}

/// The node of a string key, or null; its value may be nil.
[[nodiscard]] inline VmNode* FindStringNode(const VmTable& table, VmString* key) {
  if (table.IsSmall()) return FindAmongFew(table, VmValue::String(key));
  return FindInChain(table, key->hash & (table.nodeLimit - 1), VmValue::String(key));
}

/// The node at a place of the hash part; null for one that was never used.
[[nodiscard]] const VmNode* NodeAt(const VmTable& table, std::uint32_t place);

[[nodiscard]] inline const VmValue& TableGetString(const VmTable& table, VmString* key) {
  const VmNode* node = FindStringNode(table, key);
  return node != nullptr ? node->value : nilObject;
}

/// The number as a 32-bit integer, when it is exactly one.
[[nodiscard]] inline bool ToExactInt(double number, std::int32_t& integer) {
  // Adding 3 times 2 to the 51 moves an integer into the low bits, whatever its sign.
  integer = static_cast<std::int32_t>(std::bit_cast<std::uint64_t>(number + 6755399441055744.0));
  return integer == number;
}

/// The slot of a key, made when it is not there. Forgets which events are absent. Raises
/// `TableIndexIsNaN`, `TableOverflow`.
[[nodiscard]] VmValue& TableSet(VmState& state, VmTable& table, VmValue key);
[[nodiscard]] VmValue& TableSetInt(VmState& state, VmTable& table, int key);
[[nodiscard]] VmValue& TableSetString(VmState& state, VmTable& table, VmString* key);
/// The slot of a string key that is not in the table.
[[nodiscard]] VmValue& TableAddString(VmState& state, VmTable& table, VmString* key);

/// Replaces the key in `slot` by the next one and puts its value behind it; false at the end. An
/// unknown key raises `InvalidNextKey`.
[[nodiscard]] bool TableNext(VmState& state, const VmTable& table, VmValue* slot);

}  // namespace quillmere
