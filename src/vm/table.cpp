#include "vm/table.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <span>

namespace quillmere {
namespace {

/// The number as a key of the array part, or 0 when it cannot be one.
int ArrayKey(double key) {
  std::int32_t index = 0;
  return ToExactInt(key, index) && index >= 1 && index <= 1 << vmMaxTableExponent ? index : 0;
}

/// Places and links of a small hash part, packed into one word.
class VmNodePlaces {
 public:
  explicit VmNodePlaces(std::uint32_t word) : word_(word) {}
  /// All of `count` places are free.
  static VmNodePlaces Fresh(std::uint32_t count) {
    VmNodePlaces places(0);
    places.Put(lastFreeAt, 2, count - 1);
    return places;
  }

  [[nodiscard]] std::uint32_t Word() const { return word_; }
  /// The record of the node at a place plus 1, or 0.
  [[nodiscard]] std::uint32_t Record(std::uint32_t place) const { return Get(6 * place, 3); }
  void SetRecord(std::uint32_t place, std::uint32_t record) { Put(6 * place, 3, record); }
  /// The place of the next node of the chain plus 1, or 0.
  [[nodiscard]] std::uint32_t Link(std::uint32_t place) const { return Get(6 * place + 3, 3); }
  void SetLink(std::uint32_t place, std::uint32_t link) { Put(6 * place + 3, 3, link); }
  /// All nodes above this place are in use.
  [[nodiscard]] std::uint32_t LastFree() const { return Get(lastFreeAt, 2); }
  void SetLastFree(std::uint32_t place) { Put(lastFreeAt, 2, place); }
  /// Records in use.
  [[nodiscard]] std::uint32_t Used() const { return Get(usedAt, 3); }
  void SetUsed(std::uint32_t count) { Put(usedAt, 3, count); }

 private:
  static constexpr std::uint32_t lastFreeAt = 24;
  static constexpr std::uint32_t usedAt = 26;

  [[nodiscard]] std::uint32_t Get(std::uint32_t at, int bits) const {
    return word_ >> at & ((1u << bits) - 1);
  }
  void Put(std::uint32_t at, int bits, std::uint32_t value) {
    const std::uint32_t mask = ((1u << bits) - 1) << at;
    word_ = (word_ & ~mask) | value << at;
  }

  std::uint32_t word_;
};

constexpr std::uint32_t smallNodeCount = 1u << VmTable::largestSmallLog2;

std::uint32_t HashOfNumber(double key) {
  const auto bits = std::bit_cast<std::uint64_t>(key + 1.0);
  return static_cast<std::uint32_t>(bits) + static_cast<std::uint32_t>(bits >> 32);
}

/// The place where the chain of a key starts, in a table that has a hash part.
std::uint32_t MainPlace(const VmTable& table, VmValue key) {
  const std::uint32_t mask = table.NodeCount() - 1;
  if (key.IsString()) return key.string()->hash & mask;
  if (key.IsNumber()) return HashOfNumber(key.number()) % (mask | 1);
  if (key.IsBoolean()) return key.boolean() ? 1 & mask : 0;
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(key.pointer()) % (mask | 1));
}

VmNode* FindNumberNode(const VmTable& table, double key) {
  if (table.IsSmall()) {
    VmNode* found = nullptr;
    for (VmNode* node = table.nodes; node != table.nodes + table.nodeLimit; ++node) {
      if (!node->key.IsNumber() || node->key.number() != key) continue;
      found = node;
      if (!node->value.IsNil()) break;
    }
    return found;
  }
  std::uint32_t place = HashOfNumber(key) % ((table.nodeLimit - 1) | 1);
  do {
    VmNode& node = table.nodes[place];
    if (node.key.IsNumber() && node.key.number() == key) return &node;
    place = table.Links()[place];
  } while (place-- != 0);
  return nullptr;
}

const VmValue& FindNumber(const VmTable& table, double key) {
  const VmNode* node = FindNumberNode(table, key);
  return node != nullptr ? node->value : nilObject;
}

/// The place of a key in its own chain; -1 when it is not there. Unlike a search among few nodes
/// this one is never taken in by what a gone object has left.
std::int64_t PlaceInChain(const VmTable& table, VmValue key) {
  if (table.log2NodeCount == 0) return -1;
  const VmNodePlaces places(table.layout);
  std::uint32_t place = MainPlace(table, key);
  do {
    const VmNode* node = NodeAt(table, place);
    if (node != nullptr && EqualRaw(node->key, key)) return place;
    place = table.IsSmall() ? places.Link(place) : table.Links()[place];
  } while (place-- != 0);
  return -1;
}

void SetArraySize(VmState& state, VmTable& table, int size) {
  const auto oldBytes = static_cast<std::size_t>(table.arraySize) * sizeof(VmValue);
  const auto newBytes = static_cast<std::size_t>(size) * sizeof(VmValue);
  table.array = static_cast<VmValue*>(vmRealloc(state, table.array, oldBytes, newBytes));
  for (int i = table.arraySize; i < size; ++i) table.array[i] = VmValue();
  table.arraySize = size;
}

/// A hash part on its own.
struct VmNodePart {
  VmNode* nodes = nullptr;
  std::uint32_t limit = 0;
  int log2NodeCount = 0;
};

/// Makes a fresh hash part with room for `keys` of them; a large one has it anyway.
VmNodePart MakeNodes(VmState& state, int log2NodeCount, std::size_t keys) {
  if (log2NodeCount > vmMaxTableExponent) vmRaise(state, Error::TableOverflow);
  VmNodePart part{.log2NodeCount = log2NodeCount};
  if (log2NodeCount > VmTable::largestSmallLog2) {
    keys = std::size_t{1} << log2NodeCount;
    part.nodes = static_cast<VmNode*>(
        vmRealloc(state, nullptr, 0, keys * (sizeof(VmNode) + sizeof(std::uint32_t))));
    std::fill_n(reinterpret_cast<std::uint32_t*>(part.nodes + keys), keys, 0u);
  } else if (keys != 0) {
    part.nodes = NewBlock<VmNode>(state, keys);
  }
  std::fill_n(part.nodes, keys, VmNode());
  part.limit = static_cast<std::uint32_t>(keys);
  return part;
}

void SetNodes(VmTable& table, const VmNodePart& part) {
  table.nodes = part.nodes;
  table.nodeLimit = part.limit;
  table.log2NodeCount = static_cast<std::uint8_t>(part.log2NodeCount);
  const std::uint32_t count = std::uint32_t{1} << part.log2NodeCount;
  table.layout = table.IsSmall() ? VmNodePlaces::Fresh(count).Word() : count - 1;
}

void FreeNodes(VmState& state, VmNode* nodes, std::uint32_t limit, bool isSmall) {
  if (nodes == nullptr) return;
  const std::size_t size = isSmall ? sizeof(VmNode) : sizeof(VmNode) + sizeof(std::uint32_t);
  vmRealloc(state, nodes, limit * size, 0);
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

/// Brings both parts to new sizes. `oldNodes` are the nodes as they were, in the order of their
/// places, and do not live in the table any more.
void Resize(VmState& state, VmTable& table, int arraySize, int hashKeys,
            std::span<const VmNode> oldNodes) {
  const int oldArraySize = table.arraySize;
  const int exponent = hashKeys > 0 ? std::bit_width(static_cast<unsigned>(hashKeys)) : 0;
  const VmNodePart part = MakeNodes(state, exponent, static_cast<std::size_t>(hashKeys));
  if (arraySize > oldArraySize) {
    try {
      SetArraySize(state, table, arraySize);
    } catch (...) {
      FreeNodes(state, part.nodes, part.limit, exponent <= VmTable::largestSmallLog2);
      throw;
    }
  }
  SetNodes(table, part);
  if (arraySize < oldArraySize) {
    table.arraySize = arraySize;
    for (int i = arraySize; i < oldArraySize; ++i) {
      if (!table.array[i].IsNil()) TableSetInt(state, table, i + 1) = table.array[i];
    }
    table.arraySize = oldArraySize;
    SetArraySize(state, table, arraySize);
  }
  for (std::size_t i = oldNodes.size(); i-- > 0;) {
    const VmNode& node = oldNodes[i];
    if (!node.value.IsNil()) TableSet(state, table, node.key) = node.value;
  }
}

/// The sizes that the keys in the array and in `nodes` ask for.
void ResizeFor(VmState& state, VmTable& table, std::span<const VmNode> nodes) {
  KeyCount count;
  for (int i = 0; i < table.arraySize; ++i) {
    if (!table.array[i].IsNil()) count.Add(VmValue(static_cast<double>(i + 1)));
  }
  for (const VmNode& node : nodes) {
    if (!node.value.IsNil()) count.Add(node.key);
  }
  int inArray = 0;
  const int arraySize = BestArraySize(count, inArray);
  if (count.all - inArray >= 1 << vmMaxTableExponent) vmRaise(state, Error::TableOverflow);
  VmNode* const old = table.nodes;
  const std::uint32_t oldLimit = table.nodeLimit;
  const bool wasSmall = table.IsSmall();
  Resize(state, table, arraySize, count.all - inArray, nodes);
  FreeNodes(state, old, oldLimit, wasSmall);
}

/// The slot of a key that was counted as there when its table was resized.
VmValue& CountedSlot(const VmTable& table, VmValue key) {
  auto& slot = const_cast<VmValue&>(TableGet(table, key));
  slot.SetNil();
  return slot;
}

/// Where a new key goes among places that are linked: `Places` has Key(place), IsVacant(place),
/// Link, SetLink, LastFree, SetLastFree and Move(from, to).
template <class Places>
std::uint32_t PlaceKey(const VmTable& table, Places& places, VmValue key) {
  const std::uint32_t main = MainPlace(table, key);
  if (places.IsVacant(main)) return main;
  const std::uint32_t free = places.LastFree();
  std::uint32_t other = MainPlace(table, places.Key(main));
  if (other == main) {
    places.SetLink(free, places.Link(main));
    places.SetLink(main, free + 1);
    return free;
  }
  // A key that is in the way and out of place moves to the free node.
  while (places.Link(other) != main + 1) other = places.Link(other) - 1;
  places.SetLink(other, free + 1);
  places.Move(main, free);
  places.SetLink(free, places.Link(main));
  places.SetLink(main, 0);
  return main;
}

/// Moves the mark down to a place that is free; false when none is left.
template <class Places>
bool FindFreePlace(Places& places) {
  std::uint32_t place = places.LastFree();
  while (places.IsTaken(place)) {
    if (place == 0) return false;
    --place;
  }
  places.SetLastFree(place);
  return true;
}

/// The places of a large hash part.
class LargePlaces {
 public:
  explicit LargePlaces(VmTable& table) : table_(table) {}

  [[nodiscard]] VmValue Key(std::uint32_t place) const { return table_.nodes[place].key; }
  [[nodiscard]] bool IsVacant(std::uint32_t place) const {
    return table_.nodes[place].value.IsNil();
  }
  [[nodiscard]] bool IsTaken(std::uint32_t place) const { return !table_.nodes[place].key.IsNil(); }
  [[nodiscard]] std::uint32_t Link(std::uint32_t place) const { return table_.Links()[place]; }
  void SetLink(std::uint32_t place, std::uint32_t link) { table_.Links()[place] = link; }
  [[nodiscard]] std::uint32_t LastFree() const { return table_.layout; }
  void SetLastFree(std::uint32_t place) { table_.layout = place; }
  void Move(std::uint32_t from, std::uint32_t to) {
    table_.nodes[to] = table_.nodes[from];
    table_.nodes[from].value.SetNil();
  }

 private:
  VmTable& table_;
};

/// The places of a small hash part, changed apart from the table until it is known that the new key
/// stays there.
class SmallPlaces : public VmNodePlaces {
 public:
  explicit SmallPlaces(const VmTable& table) : VmNodePlaces(table.layout), table_(table) {}

  [[nodiscard]] VmValue Key(std::uint32_t place) const { return NodeOf(place).key; }
  [[nodiscard]] bool IsVacant(std::uint32_t place) const {
    return !IsTaken(place) || NodeOf(place).value.IsNil();
  }
  [[nodiscard]] bool IsTaken(std::uint32_t place) const { return Record(place) != 0; }
  void Move(std::uint32_t from, std::uint32_t to) {
    SetRecord(to, Record(from));
    SetRecord(from, 0);
  }

 private:
  [[nodiscard]] const VmNode& NodeOf(std::uint32_t place) const {
    return table_.nodes[Record(place) - 1];
  }

  const VmTable& table_;
};

VmValue& InsertLarge(VmState& state, VmTable& table, VmValue key) {
  LargePlaces places(table);
  if (places.IsTaken(places.LastFree())) {
    // An earlier key found no memory to grow, and has left its node behind.
    ResizeFor(state, table, {table.nodes, table.nodeLimit});
    return TableSet(state, table, key);
  }
  VmNode& node = table.nodes[PlaceKey(table, places, key)];
  node.key = key;
  if (FindFreePlace(places)) return node.value;
  // So that the new key counts.
  node.value = VmValue(1.0);
  try {
    ResizeFor(state, table, {table.nodes, table.nodeLimit});
  } catch (...) {
    node.value.SetNil();
    throw;
  }
  return CountedSlot(table, key);
}

/// Makes room for one more record of a small hash part.
void GrowSmall(VmState& state, VmTable& table) {
  const std::size_t limit = table.nodeLimit + 1;
  table.nodes = static_cast<VmNode*>(
      vmRealloc(state, table.nodes, table.nodeLimit * sizeof(VmNode), limit * sizeof(VmNode)));
  table.nodes[table.nodeLimit++] = VmNode();
}

/// The nodes of a small hash part in the order of their places, with a new key as the record behind
/// the last.
std::span<const VmNode> InOrder(const VmTable& table, const SmallPlaces& places, VmValue newKey,
                                std::span<VmNode, smallNodeCount> nodes) {
  std::size_t count = 0;
  for (std::uint32_t place = 0; place < table.NodeCount(); ++place) {
    const std::uint32_t record = places.Record(place);
    if (record == 0) continue;
    nodes[count++] =
        record > places.Used() ? VmNode{newKey, VmValue(1.0)} : table.nodes[record - 1];
  }
  return nodes.first(count);
}

VmValue& InsertSmall(VmState& state, VmTable& table, VmValue key) {
  SmallPlaces places(table);
  const std::uint32_t place = PlaceKey(table, places, key);
  const bool isNew = !places.IsTaken(place);
  if (isNew) places.SetRecord(place, places.Used() + 1);
  const std::uint32_t record = places.Record(place) - 1;
  if (!FindFreePlace(places)) {
    std::array<VmNode, smallNodeCount> nodes;
    ResizeFor(state, table, InOrder(table, places, key, nodes));
    return CountedSlot(table, key);
  }
  if (isNew) {
    if (record == table.nodeLimit) GrowSmall(state, table);
    places.SetUsed(record + 1);
  }
  table.layout = places.Word();
  table.nodes[record].key = key;
  return table.nodes[record].value;
}

/// The slot of a new key, which is neither nil nor NaN.
VmValue& Insert(VmState& state, VmTable& table, VmValue key) {
  if (!table.IsSmall()) return InsertLarge(state, table, key);
  if (table.log2NodeCount != 0) return InsertSmall(state, table, key);
  const VmNode node{key, VmValue(1.0)};
  ResizeFor(state, table, {&node, 1});
  return CountedSlot(table, key);
}

/// The slot of a key that is there, whether or not it has a value; else null.
VmValue* FindSlot(const VmTable& table, VmValue key) {
  const VmValue& found = TableGet(table, key);
  if (&found == &nilObject) return nullptr;
  const bool isInArray =
      key.IsNumber() && ArrayKey(key.number()) != 0 && ArrayKey(key.number()) <= table.arraySize;
  if (!found.IsNil() || isInArray || !table.IsSmall()) return const_cast<VmValue*>(&found);
  const std::int64_t place = PlaceInChain(table, key);
  if (place < 0) return nullptr;
  return const_cast<VmValue*>(&NodeAt(table, static_cast<std::uint32_t>(place))->value);
}

}  // namespace

const VmValue nilObject;

VmTable* NewTable(VmState& state, int arraySize, int log2NodeCount) {
  if (arraySize > 1 << vmMaxTableExponent) vmRaise(state, Error::TableOverflow);
  auto* table = ::new (NewCell(state, sizeof(VmTable))) VmTable;
  table->kind = VmKind::Table;
  table->metatable = state.globals->defaultMeta != nullptr ? state.globals->defaultMeta : table;
  if (arraySize > 0) SetArraySize(state, *table, arraySize);
  if (log2NodeCount > 0) {
    // Who asks for a small hash part is about to store one key or two.
    SetNodes(*table, MakeNodes(state, log2NodeCount, static_cast<std::size_t>(log2NodeCount)));
  }
  return table;
}

void FreeTable(VmState& state, VmTable& table) {
  FreeNodes(state, table.nodes, table.nodeLimit, table.IsSmall());
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
  const VmNode* node =
      table.IsSmall() ? FindAmongFew(table, key) : FindInChain(table, MainPlace(table, key), key);
  return node != nullptr ? node->value : nilObject;
}

const VmNode* NodeAt(const VmTable& table, std::uint32_t place) {
  if (!table.IsSmall()) return table.nodes + place;
  const std::uint32_t record = VmNodePlaces(table.layout).Record(place);
  return record != 0 ? table.nodes + (record - 1) : nullptr;
}

VmValue& TableSet(VmState& state, VmTable& table, VmValue key) {
  table.absentEvents = 0;
  if (key.IsNil()) key = VmValue(0.0);
  if (VmValue* slot = FindSlot(table, key)) return *slot;
  if (key.IsNumber() && std::isnan(key.number())) vmRaise(state, Error::TableIndexIsNaN);
  return Insert(state, table, key);
}

VmValue& TableSetInt(VmState& state, VmTable& table, int key) {
  table.absentEvents = 0;
  const VmValue value(static_cast<double>(key));
  if (static_cast<unsigned>(key) - 1u < static_cast<unsigned>(table.arraySize)) {
    return table.array[key - 1];
  }
  if (VmValue* slot = FindSlot(table, value)) return *slot;
  return Insert(state, table, value);
}

VmValue& TableSetString(VmState& state, VmTable& table, VmString* key) {
  table.absentEvents = 0;
  if (VmValue* slot = FindSlot(table, VmValue::String(key))) return *slot;
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
      const std::int64_t place = PlaceInChain(table, *slot);
      if (place < 0) vmRaise(state, Error::InvalidNextKey);
      at = arraySize + static_cast<std::size_t>(place) + 1;
    }
  }
  for (; at < arraySize; ++at) {
    if (table.array[at].IsNil()) continue;
    slot[0] = VmValue(static_cast<double>(at + 1));
    slot[1] = table.array[at];
    return true;
  }
  for (auto i = static_cast<std::uint32_t>(at - arraySize); i < table.NodeCount(); ++i) {
    const VmNode* node = NodeAt(table, i);
    if (node == nullptr || node->value.IsNil()) continue;
    slot[0] = node->key;
    slot[1] = node->value;
    return true;
  }
  return false;
}

}  // namespace quillmere
