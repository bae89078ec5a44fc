// Tables: an array part for the keys 1 to n and a hash part for the rest. In the hash part every
// key lives in a chain that starts at its own main position; a key that is in the way of another is
// moved to a free node. The order in which entries are visited follows from that, and scripts see
// it, so that sizes and positions are fixed here to the last detail.
#pragma once

#include "vm/state.h"

namespace quillmere {

[[nodiscard]] VmTable* NewTable(VmState& state, int arraySize, int log2NodeCount);
void FreeTable(VmState& state, VmTable* table);

/// The value of a key, or the nil object. A nil key is the key 0.
[[nodiscard]] const VmValue& TableGet(const VmTable& table, const VmValue& key);
[[nodiscard]] const VmValue& TableGetIntSlow(const VmTable& table, int key);

[[nodiscard]] inline const VmValue& TableGetInt(const VmTable& table, int key) {
  if (static_cast<unsigned>(key) - 1u < static_cast<unsigned>(table.arraySize)) {
    return table.array[key - 1];
  }
  return TableGetIntSlow(table, key);
}

[[nodiscard]] inline const VmValue& TableGetString(const VmTable& table, const VmString* key) {
  const VmNode* node = table.nodes + (key->hash & (table.NodeCount() - 1));
  do {
    if (node->key.object == key && node->key.tag == Tag::String) return node->value;
    node = node->next;
  } while (node != nullptr);
  return nilObject;
}

/// The slot of a key, made when it is not there. Forgets which events are absent. Raises
/// `TableIndexIsNaN`, `TableOverflow`.
[[nodiscard]] VmValue& TableSet(VmState& state, VmTable& table, const VmValue& key);
[[nodiscard]] VmValue& TableSetInt(VmState& state, VmTable& table, int key);
[[nodiscard]] VmValue& TableSetString(VmState& state, VmTable& table, VmString* key);

/// Replaces the key in `slot` by the next one and puts its value behind it; false at the end. An
/// unknown key raises `InvalidNextKey`.
[[nodiscard]] bool TableNext(VmState& state, const VmTable& table, VmValue* slot);

}  // namespace quillmere
