#include "vm/table.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace quillmere {
namespace {

/// The number as a key of the array part, or 0 when it cannot be one.
int ArrayKey(double key) {
  if (!(key >= 1 && key <= 1 << vmMaxTableExponent)) return 0;
  const int index = static_cast<int>(key);
  return index == key ? index : 0;
}

VmNode* NodeAt(const VmTable& table, std::size_t index) {
  return table.nodes + index;
}

std::size_t HashOfNumber(double key, std::uint32_t nodeCount) {
  const auto bits = std::bit_cast<std::uint64_t>(key + 1.0);
  const std::uint32_t sum =
      static_cast<std::uint32_t>(bits) + static_cast<std::uint32_t>(bits >> 32);
  return sum % ((nodeCount - 1) | 1);
}

VmNode* MainPosition(const VmTable& table, const VmValue& key) {
  const std::uint32_t count = table.NodeCount();
  switch (key.tag) {
    case Tag::String:
      return NodeAt(table, key.string()->hash & (count - 1));
    case Tag::Boolean:
      return NodeAt(table, static_cast<std::uint32_t>(key.boolean) & (count - 1));
    case Tag::Number:
      return NodeAt(table, HashOfNumber(key.number, count));
    default:
      return NodeAt(table, reinterpret_cast<std::uintptr_t>(key.pointer) % ((count - 1) | 1));
  }
}

const VmValue& FindNumber(const VmTable& table, double key) {
  const VmNode* node = NodeAt(table, HashOfNumber(key, table.NodeCount()));
  do {
    if (node->key.tag == Tag::Number && node->key.number == key) return node->value;
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

void SetNodes(VmState& state, VmTable& table, int log2NodeCount, bool isEmpty) {
  if (log2NodeCount > vmMaxTableExponent) vmRaise(state, Error::TableOverflow);
  table.log2NodeCount = static_cast<std::uint8_t>(log2NodeCount);
  if (isEmpty) {
    table.nodes = table.lastFree = &state.globals->dummyNode;
    return;
  }
  const std::size_t count = table.NodeCount();
  table.nodes = NewBlock<VmNode>(state, count);
  for (std::size_t i = 0; i < count; ++i) table.nodes[i] = VmNode();
  table.lastFree = table.nodes + count - 1;
}

/// How many keys are in use, by powers of two.
struct KeyCount {
  int nums[vmMaxTableExponent + 1] = {};
  int integers = 0;
  int all = 0;

  void Add(const VmValue& key) {
    ++all;
    const int index = key.tag == Tag::Number ? ArrayKey(key.number) : 0;
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
  const bool hadNodes = oldNodes != &state.globals->dummyNode;
  const std::size_t oldCount = hadNodes ? table.NodeCount() : 0;
  const int exponent = hashKeys > 0 ? std::bit_width(static_cast<unsigned>(hashKeys)) : 0;
  if (exponent > vmMaxTableExponent) vmRaise(state, Error::TableOverflow);
  if (arraySize > oldArraySize) SetArraySize(state, table, arraySize);
  SetNodes(state, table, exponent, hashKeys == 0);
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

void Rehash(VmState& state, VmTable& table) {
  KeyCount count;
  for (int i = 0; i < table.arraySize; ++i) {
    if (!table.array[i].IsNil()) count.Add(VmValue(static_cast<double>(i + 1)));
  }
  for (std::size_t i = 0; i < table.NodeCount(); ++i) {
    const VmNode& node = table.nodes[i];
    if (!node.value.IsNil()) count.Add(node.key);
  }
  int inArray = 0;
  const int arraySize = BestArraySize(count, inArray);
  Resize(state, table, arraySize, count.all - inArray);
}

VmValue& Insert(VmState& state, VmTable& table, const VmValue& key);

/// Counts the new key into a bigger table and looks it up there.
VmValue& InsertByRehash(VmState& state, VmTable& table, const VmValue& key, VmNode& place) {
  place.value = VmValue(1.0);
  Rehash(state, table);
  auto& slot = const_cast<VmValue&>(TableGet(table, key));
  slot.SetNil();
  return slot;
}

VmValue& Insert(VmState& state, VmTable& table, const VmValue& key) {
  if (table.nodes == &state.globals->dummyNode) {
    // The shared node cannot take a key: the table gets nodes of its own first.
    KeyCount count;
    for (int i = 0; i < table.arraySize; ++i) {
      if (!table.array[i].IsNil()) count.Add(VmValue(static_cast<double>(i + 1)));
    }
    count.Add(key);
    int inArray = 0;
    const int arraySize = BestArraySize(count, inArray);
    Resize(state, table, arraySize, count.all - inArray);
    auto& found = const_cast<VmValue&>(TableGet(table, key));
    if (&found != &nilObject) return found;
    return Insert(state, table, key);
  }
  VmNode* main = MainPosition(table, key);
  if (!main->value.IsNil()) {
    VmNode* free = table.lastFree;
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
  for (;;) {
    if (table.lastFree->key.IsNil()) return main->value;
    if (table.lastFree == table.nodes) break;
    --table.lastFree;
  }
  return InsertByRehash(state, table, key, *main);
}

}  // namespace

const VmValue nilObject;

VmTable* NewTable(VmState& state, int arraySize, int log2NodeCount) {
  auto* table = NewBlock<VmTable>(state, 1);
  *table = VmTable();
  table->kind = Tag::Table;
  table->metatable = state.globals->defaultMeta != nullptr ? state.globals->defaultMeta : table;
  table->nodes = table->lastFree = &state.globals->dummyNode;
  table->next = state.globals->allObjects;
  state.globals->allObjects = table;
  if (arraySize > 0) SetArraySize(state, *table, arraySize);
  if (log2NodeCount > 0) SetNodes(state, *table, log2NodeCount, false);
  return table;
}

void FreeTable(VmState& state, VmTable* table) {
  if (table->nodes != &state.globals->dummyNode) {
    FreeBlock(state, table->nodes, table->NodeCount());
  }
  FreeBlock(state, table->array, static_cast<std::size_t>(table->arraySize));
  FreeBlock(state, table, 1);
}

const VmValue& TableGetIntSlow(const VmTable& table, int key) {
  return FindNumber(table, static_cast<double>(key));
}

const VmValue& TableGet(const VmTable& table, const VmValue& key) {
  switch (key.tag) {
    case Tag::String:
      return TableGetString(table, key.string());
    case Tag::Number: {
      const int index = ArrayKey(key.number);
      if (index != 0 && index <= table.arraySize) return table.array[index - 1];
      return FindNumber(table, key.number);
    }
    case Tag::Nil:
      return FindNumber(table, 0);
    default:
      break;
  }
  const VmNode* node = MainPosition(table, key);
  do {
    if (EqualRaw(node->key, key)) return node->value;
    node = node->next;
  } while (node != nullptr);
  return nilObject;
}

VmValue& TableSet(VmState& state, VmTable& table, const VmValue& key) {
  table.absentEvents = 0;
  const VmValue& found = TableGet(table, key);
  if (&found != &nilObject) return const_cast<VmValue&>(found);
  if (key.IsNil()) return Insert(state, table, VmValue(0.0));
  if (key.IsNumber() && std::isnan(key.number)) vmRaise(state, Error::TableIndexIsNaN);
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
  return Insert(state, table, VmValue(Tag::String, key));
}

bool TableNext(VmState& state, const VmTable& table, VmValue* slot) {
  std::size_t at = 0;
  const auto arraySize = static_cast<std::size_t>(table.arraySize);
  if (!slot->IsNil()) {
    const int index = slot->IsNumber() ? ArrayKey(slot->number) : 0;
    if (index != 0 && index <= table.arraySize) {
      at = static_cast<std::size_t>(index);
    } else {
      const VmNode* node = MainPosition(table, *slot);
      const auto matches = [&](const VmNode& entry) {
        return EqualRaw(entry.key, *slot) ||
               (entry.key.tag == Tag::DeadKey && slot->IsCollectable() &&
                entry.key.pointer == slot->pointer);
      };
      while (node != nullptr && !matches(*node)) node = node->next;
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
