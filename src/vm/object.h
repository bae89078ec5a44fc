// The records behind collectable values. Each opens with its kind and its mark; `VmHeap` finds them
// without a chain through the objects themselves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vm/opcodes.h"
#include "vm/value.h"

namespace quillmere {

/// Kinds of collectable objects; `Free` is a cell without an object.
enum class VmKind : std::uint8_t {
  Free = 0,
  String = 4,
  Table = 5,
  Function = 6,
  Userdata = 7,
  Proto = 9,
  Upvalue = 10
};

// Bits of the mark.
inline constexpr std::uint8_t markReached = 1;
/// Table: weak keys.
inline constexpr std::uint8_t markWeakKeys = 2;
/// Userdata: finalized, or never to be.
inline constexpr std::uint8_t markFinalized = 2;
/// Table: weak values.
inline constexpr std::uint8_t markWeakValues = 4;
inline constexpr std::uint8_t markFixed = 16;

struct VmObject {
  VmKind kind = VmKind::Free;
  std::uint8_t marked = 0;
};

/// An interned string: equal strings are one object.
struct VmString : VmObject {
  std::uint32_t hash = 0;
  /// The next string of the bucket.
  VmString* next = nullptr;
  std::uint32_t length = 0;

  [[nodiscard]] char* Bytes() { return reinterpret_cast<char*>(&length + 1); }
  [[nodiscard]] const char* Bytes() const { return reinterpret_cast<const char*>(&length + 1); }
  [[nodiscard]] std::string_view View() const { return {Bytes(), length}; }
  /// Bytes of a string object, the zero behind the text included; never less than the record.
  [[nodiscard]] static constexpr std::size_t SizeOf(std::size_t textLength) {
    return (textLength + headSize + 1 + 7) & ~std::size_t{7};
  }
  static constexpr std::size_t headSize = 20;
};

/// An entry of a table's hash part.
struct VmNode {
  VmValue key;
  VmValue value;
};

/// The one compound type: an array part for the keys 1 to `arraySize`, and a hash part of chained
/// nodes whose order is the order of traversal. A hash part of more than four nodes is a row of all
/// of them, with their links behind it. A smaller one, as most objects of a script have, keeps only
/// the nodes in use, in the order in which they came, and packs places and links into one word.
struct VmTable : VmObject {
  /// Bit n: as a metatable, this table is known not to have event n (0 to 4).
  std::uint8_t absentEvents = 0xFF;
  /// The hash part has two to this power of nodes; with 0 there is none.
  std::uint8_t log2NodeCount = 0;
  std::int32_t arraySize = 0;
  /// Never null: the default metatable stands for none.
  VmTable* metatable = nullptr;
  VmValue* array = nullptr;
  VmNode* nodes = nullptr;
  /// How many records there are at `nodes`.
  std::uint32_t nodeLimit = 0;
  /// Of a large hash part: all nodes above this place are in use. Of a small one: `VmNodePlaces`.
  std::uint32_t layout = 0;

  static constexpr int largestSmallLog2 = 2;
  [[nodiscard]] bool IsSmall() const { return log2NodeCount <= largestSmallLog2; }
  /// Places in the hash part.
  [[nodiscard]] std::uint32_t NodeCount() const {
    return log2NodeCount == 0 ? 0 : std::uint32_t{1} << log2NodeCount;
  }
  /// The links of a large hash part: the place of the next node of the chain plus 1, or 0.
  [[nodiscard]] std::uint32_t* Links() const {
    return reinterpret_cast<std::uint32_t*>(nodes + nodeLimit);
  }
};
static_assert(sizeof(VmTable) == 40);

/// A word of prepared code. The loader turns each instruction of an image into one word at the same
/// index, with operands sorted by kind and a test's jump folded into the test, so that the
/// interpreter decodes by plain loads.
struct VmCode {
  std::uint8_t op;
  std::uint8_t a;
  std::uint16_t b;
  union {
    struct {
      std::uint16_t c;
      /// A guess at the node where the key of this instruction is found.
      std::uint16_t hint;
    };
    std::int32_t jump;
    std::uint32_t index;
  };
};
static_assert(sizeof(VmCode) == 8);

/// The debug name of a register.
struct VmLocalInfo {
  VmString* name = nullptr;
  std::int32_t startPc = 0;
  std::int32_t endPc = 0;
};

/// A list of plain records that belongs to a prototype.
template <class T>
struct VmArray {
  T* items = nullptr;
  std::uint32_t count = 0;

  [[nodiscard]] T* begin() const { return items; }
  [[nodiscard]] T* end() const { return items + count; }
  [[nodiscard]] T& operator[](std::size_t i) const { return items[i]; }
};

/// A compiled function.
struct VmProto : VmObject {
  std::uint8_t upvalueCount = 0;
  std::uint8_t paramCount = 0;
  std::uint8_t maxStack = 0;
  bool isVarArg = false;
  std::int32_t lineDefined = 0;
  VmArray<VmValue> constants;
  /// The code as the image has it...
  VmArray<VmInstruction> code;
  /// ...and as the interpreter runs it, word for word.
  VmArray<VmCode> ops;
  VmArray<VmProto*> protos;
  VmArray<std::int32_t> lineInfo;
  VmArray<VmLocalInfo> locals;
  VmArray<VmString*> upvalueNames;
  VmString* source = nullptr;
};

/// A variable that a closure shares with a frame. While it is open it stands for a stack slot.
struct VmUpvalue : VmObject {
  VmValue* location = nullptr;
  union {
    /// Where the value lives once its frame is gone.
    VmValue closedValue;
    /// While open: the next open upvalue, further down the stack.
    VmUpvalue* nextOpen;
  };

  VmUpvalue() : closedValue() {}
  [[nodiscard]] bool IsOpen() const { return location != &closedValue; }
};
static_assert(sizeof(VmUpvalue) == 24);

/// A function: script code or a native, with its upvalues behind the record.
struct VmClosure : VmObject {
  bool isNative = false;
  std::uint8_t upvalueCount = 0;
  /// The table of global access.
  VmTable* environment = nullptr;
  union {
    VmProto* proto = nullptr;
    VmNative entry;
  };

  [[nodiscard]] VmUpvalue** Upvalues() { return reinterpret_cast<VmUpvalue**>(this + 1); }
  [[nodiscard]] VmValue* NativeUpvalues() { return reinterpret_cast<VmValue*>(this + 1); }
  [[nodiscard]] static constexpr std::size_t SizeOf(int upvalues) {
    return sizeof(VmClosure) + static_cast<std::size_t>(upvalues) * sizeof(VmValue);
  }
};
static_assert(sizeof(VmClosure) == 24);

/// A block of native memory that can have a metatable.
struct VmUserdata : VmObject {
  VmUserdata* next = nullptr;
  VmTable* metatable = nullptr;
  std::size_t size = 0;

  [[nodiscard]] void* Block() { return this + 1; }
};
static_assert(sizeof(VmUserdata) % 16 == 0);

/// Nil, false, 0 and the empty string are false; so is a string that begins with a zero.
[[nodiscard]] inline bool IsFalse(VmValue value) {
  if (value.IsNumber()) return value.number() == 0;
  if (value.IsString()) return value.string()->Bytes()[0] == '\0';
  return value.IsNil() || value == VmValue::Boolean(false);
}

}  // namespace quillmere
