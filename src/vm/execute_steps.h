// What single words of code do, apart from the loop that runs them: subroutines, labels, loops,
// closures, lists, tail calls, and the ways into a table that most reads and stores take.
#pragma once

#include <bit>

#include "vm/prepare.h"
#include "vm/state.h"
#include "vm/table.h"

namespace quillmere {

/// Runs the count hook when its count has run out.
void CountInstruction(VmState& state);
/// Runs the line hook; the pc has been saved.
void RunLineHook(VmState& state);

void PushSubroutine(VmState& state, VmCode* returnTo);
/// The word to go on with; a return address of another function is none.
[[nodiscard]] VmCode* PopSubroutine(VmState& state, const VmProto& proto);
/// Where the main chunk goes on after a native has asked for a jump to a label: behind the call,
/// when there is no such label.
[[nodiscard]] VmCode* JumpToLabel(VmState& state, const VmProto& proto, VmCode* pc, int request);

/// Makes numbers of a loop's limit and step, in place; its index has to be one.
void MakeLoopNumbers(VmState& state, VmValue* loop);
/// Makes a closure with the upvalues that the pseudo instructions from `word` on name.
void MakeClosure(VmState& state, VmClosure& running, VmProto* proto, VmValue* target, VmValue* base,
                 const VmInstruction* word);
/// Stores `count` values behind `list` from key `first` on. False when it is no table.
[[nodiscard]] bool StoreList(VmState& state, VmValue* list, int first, std::ptrdiff_t count);
/// Moves the frame of a tail call over the one that made it.
void ReuseFrame(VmState& state);

/// The field that a table inherits through events that are tables; nil when there is none, or when
/// it takes more to find out.
[[nodiscard]] VmValue InheritedField(VmState& state, const VmTable* table, VmValue key);

/// The slot of a number in the array part, or null.
[[nodiscard]] inline VmValue* ArraySlot(const VmTable& table, double key) {
  std::int32_t index = 0;
  const bool isInside = ToExactInt(key, index) && static_cast<std::uint32_t>(index) - 1 <
                                                      static_cast<std::uint32_t>(table.arraySize);
  return isInside ? table.array + index - 1 : nullptr;
}

/// The node of a constant string, or null. The guess saves the walk along the chain.
[[nodiscard]] inline VmNode* GuessedNode(const VmTable& table, VmValue key, std::uint16_t& guess) {
  if (guess < table.nodeLimit && table.nodes[guess].key == key) [[likely]]
    return table.nodes + guess;
  VmNode* node = FindStringNode(table, key.string());
  if (node != nullptr) guess = static_cast<std::uint16_t>(node - table.nodes);
  return node;
}

/// The field of a table, or nil, without events.
[[nodiscard]] inline VmValue FieldOf(const VmTable& table, VmValue key, std::uint16_t& guess) {
  const VmNode* node = GuessedNode(table, key, guess);
  return node != nullptr ? node->value : VmValue();
}

/// Whether a store into an entry that is nil has no event to ask.
[[nodiscard]] inline bool HasNoStoreEvent(const VmTable& table) {
  return (table.metatable->absentEvents & 1 << static_cast<int>(VmEvent::NewIndex)) != 0;
}

}  // namespace quillmere
