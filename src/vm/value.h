// What a script's data is made of. A value is a tag and eight bytes: a number or a boolean stands
// in them by itself, everything else is a pointer. Objects from the tag String up belong to the
// collector; each begins with a header that chains it to all others and holds its marks.
//
// Strings are interned: equal texts are the same object, so that comparing strings is comparing
// pointers, and the hash of a string is worked out once. Functions that scripts share variables
// with reach them through upvalues, which point into the stack as long as the variable lives there
// and hold it themselves afterwards.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vm/opcodes.h"
#include "vm/vm.h"

namespace quillmere {

enum class Tag : std::int32_t {
  Nil = 0,
  Boolean = 1,
  Light = 2,
  Number = 3,
  String = 4,
  Table = 5,
  Function = 6,
  Userdata = 7,
  Thread = 8,
  Proto = 9,
  Upvalue = 10,
  /// The key of a table entry whose object has been collected.
  DeadKey = 11
};

/// Bits of `VmObject::marked`.
enum VmMark : std::uint8_t {
  markReached = 1,
  markWeakKeys = 2,
  /// The same bit on userdata: finalized, or without a finalizer.
  markFinalized = 2,
  markWeakValues = 4,
  markFixed = 16
};

/// The head of everything that is collected.
struct VmObject {
  VmObject* next = nullptr;
  Tag kind = Tag::Nil;
  std::uint8_t marked = 0;
};

struct VmString;
struct VmTable;
struct VmClosure;
struct VmUserdata;

struct VmValue {
  Tag tag = Tag::Nil;
  union {
    double number;
    std::int32_t boolean;
    void* pointer;
    VmObject* object;
  };

  VmValue() : pointer(nullptr) {}
  explicit VmValue(double value) : tag(Tag::Number), number(value) {}
  VmValue(Tag kind, VmObject* value) : tag(kind), object(value) {}

  [[nodiscard]] bool IsNil() const { return tag == Tag::Nil; }
  [[nodiscard]] bool IsNumber() const { return tag == Tag::Number; }
  [[nodiscard]] bool IsString() const { return tag == Tag::String; }
  [[nodiscard]] bool IsTable() const { return tag == Tag::Table; }
  [[nodiscard]] bool IsFunction() const { return tag == Tag::Function; }
  [[nodiscard]] bool IsCollectable() const { return tag >= Tag::String && tag <= Tag::Upvalue; }
  [[nodiscard]] VmString* string() const;
  [[nodiscard]] VmTable* table() const;
  [[nodiscard]] VmClosure* closure() const;
  [[nodiscard]] VmUserdata* userdata() const;

  void SetNumber(double value) {
    tag = Tag::Number;
    number = value;
  }
  void SetNil() { tag = Tag::Nil; }
};

/// A string; its bytes and one zero stand behind the record.
struct VmString : VmObject {
  std::uint32_t hash = 0;
  std::uint32_t length = 0;

  [[nodiscard]] char* Bytes() { return reinterpret_cast<char*>(this + 1); }
  [[nodiscard]] const char* Bytes() const { return reinterpret_cast<const char*>(this + 1); }
  [[nodiscard]] std::string_view View() const { return {Bytes(), length}; }
};

/// One entry of the hash part of a table.
struct VmNode {
  VmValue value;
  VmValue key;
  VmNode* next = nullptr;
};

/// A table: keys 1 to `arraySize` in the array part, all others in the hash part. Key 0, where
/// lists begin, is a key like any other, but its value is kept where it is found at once.
struct VmTable : VmObject {
  /// Bit n: as a metatable this one is known to lack event n.
  std::uint8_t absentEvents = 0xFF;
  std::uint8_t log2NodeCount = 0;
  std::int32_t arraySize = 0;
  VmTable* metatable = nullptr;
  VmValue* array = nullptr;
  VmNode* nodes = nullptr;
  VmNode* lastFree = nullptr;

  [[nodiscard]] std::uint32_t NodeCount() const { return 1u << log2NodeCount; }
};

/// A block of native data; its bytes stand behind the record.
struct VmUserdata : VmObject {
  VmTable* metatable = nullptr;
  std::size_t size = 0;

  [[nodiscard]] void* Block() { return this + 1; }
};

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
  VmArray<VmValue> constants;
  VmArray<VmInstruction> code;
  VmArray<VmProto*> protos;
  VmArray<std::int32_t> lineInfo;
  VmArray<VmLocalInfo> locals;
  VmArray<VmString*> upvalueNames;
  VmString* source = nullptr;
  std::int32_t lineDefined = 0;
  std::uint8_t upvalueCount = 0;
  std::uint8_t paramCount = 0;
  bool isVarArg = false;
  std::uint8_t maxStack = 0;
};

/// A variable that functions share.
struct VmUpvalue : VmObject {
  /// Points into the stack while the variable lives there, else to `closedValue`.
  VmValue* location = nullptr;
  VmValue closedValue;
  /// The next open one further down the stack.
  VmUpvalue* nextOpen = nullptr;
};

/// A function: a prototype with its upvalues, or a native with values of its own. The upvalues
/// stand behind the record.
struct VmClosure : VmObject {
  bool isNative = false;
  std::uint8_t upvalueCount = 0;
  VmTable* environment = nullptr;
  /// Of a script function.
  VmProto* proto = nullptr;
  /// Of a native.
  VmNative entry = nullptr;

  [[nodiscard]] VmUpvalue** Upvalues() { return reinterpret_cast<VmUpvalue**>(this + 1); }
  [[nodiscard]] VmValue* NativeUpvalues() { return reinterpret_cast<VmValue*>(this + 1); }
};

inline VmString* VmValue::string() const {
  return static_cast<VmString*>(object);
}
inline VmTable* VmValue::table() const {
  return static_cast<VmTable*>(object);
}
inline VmClosure* VmValue::closure() const {
  return static_cast<VmClosure*>(object);
}
inline VmUserdata* VmValue::userdata() const {
  return static_cast<VmUserdata*>(object);
}

/// The result of every lookup that finds nothing. Never written.
extern const VmValue nilObject;

/// Nil, false, 0 and the empty string are false; so is a string that begins with a zero.
[[nodiscard]] inline bool IsFalse(const VmValue& value) {
  switch (value.tag) {
    case Tag::Nil:
      return true;
    case Tag::Number:
      return value.number == 0;
    case Tag::String:
      return value.string()->Bytes()[0] == '\0';
    case Tag::Boolean:
      return value.boolean == 0;
    default:
      return false;
  }
}

/// Same tag and same payload; numbers by value.
[[nodiscard]] inline bool EqualRaw(const VmValue& a, const VmValue& b) {
  if (a.tag != b.tag) return false;
  switch (a.tag) {
    case Tag::Nil:
      return true;
    case Tag::Number:
      return a.number == b.number;
    case Tag::Boolean:
      return a.boolean == b.boolean;
    default:
      return a.pointer == b.pointer;
  }
}

}  // namespace quillmere
