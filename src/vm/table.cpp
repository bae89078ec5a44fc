#include "vm/table.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace quillmere {
namespace {

/// The number as a key of the array part, or 0 when it cannot be one.
int ArrayKey(double key) {
  std::int32_t index = 0;
  return ToExactInt(key, index) && index >= 1 && index <= 1 << vmMaxTableExponent ? index : 0;
}

std::uint32_t HashOfNumber(const VmTable& table, double key) {
  const auto bits = std::bit_cast<std::uint64_t>(key + 1.0);
  const std::uint32_t sum =
      static_cast<std::uint32_t>(bits) + static_cast<std::uint32_t>(bits >> 32);
  return sum % (table.nodeMask | 1);
}

VmNode* MainPosition(const VmTable& table, VmValue key) {
  if (key.IsString()) return table.nodes + (key.string()->hash & table.nodeMask);
  if (key.IsNumber()) return table.nodes + HashOfNumber(table, key.number());
  if (key.IsBoolean()) return table.nodes + (key.boolean() ? 1 & table.nodeMask : 0);
  return table.nodes + reinterpret_cast<std::uintptr_t>(key.pointer()) % (table.nodeMask | 1);
}

const VmValue& FindNumber(const VmTable& table, double key) {
  const VmNode* node = table.nodes + HashOfNumber(table, key);
  do {
    if (node->key.IsNumber() && node->key.number() == key) return node->value;
    node = node->next;
  } while (node != nullptr);
  return nilObject;
}

void SetArraySize(VmState& state, VmTable& table, int size) {
  const auto oldBytes = static_cast<std::size_t>(table.arraySize) * sizeof(VmValue);
  const auto newBytes = static_cast<std::size_t>(size) * sizeof(VmValue);
  table.array = static_cast<VmValue*>(vmRealloc(state, table.array, oldBytes, newBytes));
  for (int i = table.arraySize; i < size; ++i) table.array[i] = VmValue();
  table.arraySize = size;
}

/// Gives the table fresh nodes, or with 0 the shared empty one.
void SetNodes(VmState& state, VmTable& table, int log2NodeCount) {
  if (log2NodeCount > vmMaxTableExponent) vmRaise(state, Error::TableOverflow);
  if (log2NodeCount == 0) {
    table.nodes = &state.globals->dummyNode;
    table.nodeMask = 0;
  } else {
    const std::size_t count = std::size_t{1} << log2NodeCount;
    table.nodes = NewBlock<VmNode>(state, count);
    for (std::size_t i = 0; i < count; ++i) table.nodes[i] = VmNode();
    table.nodeMask = static_cast<std::uint32_t>(count - 1);
  }
  table.log2NodeCount = static_cast<std::uint8_t>(log2NodeCount);
  table.lastFree = table.nodeMask;
}

/// How many keys are in use, by powers of two.
struct KeyCount {
  int nums[vmMaxTableExponent + 1] = {};
  int integers = 0;
  int all = 0;

  void Add(VmValue key) {
    ++all;
    const int index = key.IsNumber() ? ArrayKey(key.number()) : 0;
    if (index == 0) return;
    ++integers;
    ++nums[std::bit_width(static_cast<unsigned>(index - 1))];
  }
};

/// The largest power of two n so that more than half of the keys 1 to n are in use; `inArray` takes
/// the number of keys that go there.
int BestArraySize(const KeyCount& count, int& inArray) {
  int sum = count.nums[0];
  int size = sum > 0 ? 1 : 0;
  inArray = sum;
  for (int i = 1; i <= vmMaxTableExponent; ++i) {
    sum += count.nums[i];
    if (count.nums[i] > 0 && sum >= 1 << (i - 1)) {
      size = 1 << i;
      inArray = sum;
    }
    if (sum >= count.integers || 1 << i > count.integers) break;
  }
  return size;
}

void Resize(VmState& state, VmTable& table, int arraySize, int hashKeys) {
  const int oldArraySize = table.arraySize;
  VmNode* const oldNodes = table.nodes;
  const bool hadNodes = table.HasNodes();
  const std::size_t oldCount = hadNodes ? table.NodeCount() : 0;
  const int exponent = hashKeys > 0 ? std::bit_width(static_cast<unsigned>(hashKeys)) : 0;
  if (exponent > vmMaxTableExponent) vmRaise(state, Error::TableOverflow);
  if (arraySize > oldArraySize) SetArraySize(state, table, arraySize);
  SetNodes(state, table, exponent);
  if (arraySize < oldArraySize) {
    table.arraySize = arraySize;
    for (int i = arraySize; i < oldArraySize; ++i) {
      if (!table.array[i].IsNil()) TableSetInt(state, table, i + 1) = table.array[i];
    }
    table.arraySize = oldArraySize;
    SetArraySize(state, table, arraySize);
  }
  for (std::size_t i = oldCount; i-- > 0;) {
    const VmNode& node = oldNodes[i];
    if (!node.value.IsNil()) TableSet(state, table, node.key) = node.value;
  }
  if (hadNodes) FreeBlock(state, oldNodes, oldCount);
}

KeyCount CountKeys(const VmTable& table) {
  KeyCount count;
  for (int i = 0; i < table.arraySize; ++i) {
    if (!table.array[i].IsNil()) count.Add(VmValue(static_cast<double>(i + 1)));
  }
  for (std::uint32_t i = 0; i < table.NodeCount(); ++i) {
    const VmNode& node = table.nodes[i];
    if (!node.value.IsNil()) count.Add(node.key);
  }
  return count;
}

void ResizeFor(VmState& state, VmTable& table, const KeyCount& count) {
  int inArray = 0;
  const int arraySize = BestArraySize(count, inArray);
  Resize(state, table, arraySize, count.all - inArray);
}

/// Puts a key into its chain; a key that is in the way and out of place is moved to the free node.
VmNode& PlaceKey(VmTable& table, VmValue key) {
  VmNode* main = MainPosition(table, key);
  if (!main->value.IsNil()) {
    VmNode* free = table.nodes + table.lastFree;
    VmNode* other = MainPosition(table, main->key);
    if (other != main) {
      while (other->next != main) other = other->next;
      other->next = free;
      *free = *main;
      main->next = nullptr;
      main->value.SetNil();
    } else {
      free->next = main->next;
      main->next = free;
      main = free;
    }
  }
  main->key = key;
  return *main;
}

/// Moves the mark down to a node that is free; false when none is left.
bool FindFreeNode(VmTable& table) {
  while (!table.nodes[table.lastFree].key.IsNil()) {
    if (table.lastFree == 0) return false;
    --table.lastFree;
  }
  return true;
}

/// The slot of a new key, which is neither nil nor NaN.
VmValue& Insert(VmState& state, VmTable& table, VmValue key) {
  if (table.HasNodes()) {
    VmNode& node = PlaceKey(table, key);
    if (FindFreeNode(table)) return node.value;
    // So that the new key counts.
    node.value = VmValue(1.0);
    ResizeFor(state, table, CountKeys(table));
  } else {
    // The shared node cannot take a key: the table gets nodes of its own first.
    KeyCount count = CountKeys(table);
    count.Add(key);
    ResizeFor(state, table, count);
    const VmValue& found = TableGet(table, key);
    if (&found == &nilObject) {
      VmNode& node = PlaceKey(table, key);
      FindFreeNode(table);
      return node.value;
    }
  }
  auto& slot = const_cast<VmValue&>(TableGet(table, key));
  slot.SetNil();
  return slot;
}

}  // namespace

const VmValue nilObject;

VmTable* NewTable(VmState& state, int arraySize, int log2NodeCount) {
  if (arraySize > 1 << vmMaxTableExponent) vmRaise(state, Error::TableOverflow);
  auto* table = ::new (NewCell(state, sizeof(VmTable))) VmTable;
  table->kind = VmKind::Table;
  table->metatable = state.globals->defaultMeta != nullptr ? state.globals->defaultMeta : table;
  table->nodes = &state.globals->dummyNode;
  if (arraySize > 0) SetArraySize(state, *table, arraySize);
  if (log2NodeCount > 0) SetNodes(state, *table, log2NodeCount);
  return table;
}

void FreeTable(VmState& state, VmTable& table) {
  if (table.HasNodes()) FreeBlock(state, table.nodes, table.NodeCount());
  FreeBlock(state, table.array, static_cast<std::size_t>(table.arraySize));
}

const VmValue& TableGetIntSlow(const VmTable& table, int key) {
  return FindNumber(table, static_cast<double>(key));
}

const VmValue& TableGet(const VmTable& table, VmValue key) {
  if (key.IsString()) return TableGetString(table, key.string());
  if (key.IsNumber()) {
    std::int32_t index = 0;
    if (ToExactInt(key.number(), index)) return TableGetInt(table, index);
    return FindNumber(table, key.number());
  }
  if (key.IsNil()) return FindNumber(table, 0);
  const VmNode* node = MainPosition(table, key);
  do {
    if (node->key == key) return node->value;
    node = node->next;
  } while (node != nullptr);
  return nilObject;
}

VmValue& TableSet(VmState& state, VmTable& table, VmValue key) {
  table.absentEvents = 0;
  const VmValue& found = TableGet(table, key);
  if (&found != &nilObject) return const_cast<VmValue&>(found);
  if (key.IsNil()) return Insert(state, table, VmValue(0.0));
  if (key.IsNumber() && std::isnan(key.number())) vmRaise(state, Error::TableIndexIsNaN);
  return Insert(state, table, key);
}

VmValue& TableSetInt(VmState& state, VmTable& table, int key) {
  table.absentEvents = 0;
  const VmValue& found = TableGetInt(table, key);
  if (&found != &nilObject) return const_cast<VmValue&>(found);
  return Insert(state, table, VmValue(static_cast<double>(key)));
}

VmValue& TableSetString(VmState& state, VmTable& table, VmString* key) {
  table.absentEvents = 0;
  const VmValue& found = TableGetString(table, key);
  if (&found != &nilObject) return const_cast<VmValue&>(found);
  return Insert(state, table, VmValue::String(key));
}

VmValue& TableAddString(VmState& state, VmTable& table, VmString* key) {
  table.absentEvents = 0;
  return Insert(state, table, VmValue::String(key));
}

bool TableNext(VmState& state, const VmTable& table, VmValue* slot) {
  std::size_t at = 0;
  const auto arraySize = static_cast<std::size_t>(table.arraySize);
  if (!slot->IsNil()) {
    const int index = slot->IsNumber() ? ArrayKey(slot->number()) : 0;
    if (index != 0 && index <= table.arraySize) {
      at = static_cast<std::size_t>(index);
    } else {
      const VmNode* node = MainPosition(table, *slot);
      while (node != nullptr && !EqualRaw(node->key, *slot)) node = node->next;
      if (node == nullptr) vmRaise(state, Error::InvalidNextKey);
      at = arraySize + static_cast<std::size_t>(node - table.nodes) + 1;
    }
  }
  for (; at < arraySize; ++at) {
    if (table.array[at].IsNil()) continue;
    slot[0] = VmValue(static_cast<double>(at + 1));
    slot[1] = table.array[at];
    return true;
  }
  for (std::size_t i = at - arraySize; i < table.NodeCount(); ++i) {
    if (table.nodes[i].value.IsNil()) continue;
    slot[0] = table.nodes[i].key;
    slot[1] = table.nodes[i].value;
    return true;
  }
  return false;
}

}  // namespace quillmere
