// A value of the script language in eight bytes.
//
// A number is stored as the double that it is. The doubles that are not a number all mean the same,
// so one bit pattern is enough for them, and the many others are free: a word whose top sixteen
// bits are 0xFFF9 or more is no double but a tag with 48 bits of payload, which is enough for an
// address. So "is it a number" is one comparison, a move is one word, and tables and stacks take
// half the room that a separate tag would cost.
#pragma once

#include <bit>
#include <cassert>
#include <cstdint>

#include "vm/vm.h"

namespace quillmere {

struct VmObject;
struct VmString;
struct VmTable;
struct VmClosure;
struct VmUserdata;

class VmValue {
 public:
  /// nil.
  constexpr VmValue() = default;

  static constexpr VmValue Nil() { return VmValue(); }
  static constexpr VmValue Boolean(bool value) { return FromBits(tagBoolean | (value ? 1 : 0)); }
  static VmValue Light(void* pointer) { return Tagged(tagLight, pointer); }
  static VmValue String(VmString* string) { return Tagged(tagString, string); }
  static VmValue Table(VmTable* table) { return Tagged(tagTable, table); }
  static VmValue Function(VmClosure* closure) { return Tagged(tagFunction, closure); }
  static VmValue Userdata(VmUserdata* userdata) { return Tagged(tagUserdata, userdata); }

  /// A number that came out of arithmetic on numbers: if it is NaN, it is the processor's own.
  explicit constexpr VmValue(double number) : bits_(std::bit_cast<std::uint64_t>(number)) {}
  /// A number from outside, where NaN may have any pattern.
  static constexpr VmValue ForeignNumber(double number) {
    return VmValue(number == number ? number : __builtin_nan(""));
  }

  [[nodiscard]] constexpr std::uint64_t Bits() const { return bits_; }

  [[nodiscard]] constexpr bool IsNumber() const { return bits_ < tagNil; }
  [[nodiscard]] constexpr bool IsNil() const { return bits_ == tagNil; }
  [[nodiscard]] constexpr bool IsBoolean() const { return HasTag(tagBoolean); }
  [[nodiscard]] constexpr bool IsLight() const { return HasTag(tagLight); }
  [[nodiscard]] constexpr bool IsString() const { return HasTag(tagString); }
  [[nodiscard]] constexpr bool IsTable() const { return HasTag(tagTable); }
  [[nodiscard]] constexpr bool IsFunction() const { return HasTag(tagFunction); }
  [[nodiscard]] constexpr bool IsUserdata() const { return HasTag(tagUserdata); }
  [[nodiscard]] constexpr bool IsCollectable() const { return bits_ >= tagString; }

  void SetNil() { bits_ = tagNil; }
  void SetNumber(double number) { *this = VmValue(number); }

  [[nodiscard]] constexpr VmType Type() const {
    if (IsNumber()) return VmType::Number;
    switch (bits_ >> 48) {
      case tagNil >> 48:
        return VmType::Nil;
      case tagBoolean >> 48:
        return VmType::Boolean;
      case tagLight >> 48:
        return VmType::Light;
      case tagString >> 48:
        return VmType::String;
      case tagTable >> 48:
        return VmType::Table;
      case tagFunction >> 48:
        return VmType::Function;
      default:
        return VmType::Userdata;
    }
  }

  // Each reads the payload of a value that is known to be of that type.
  [[nodiscard]] constexpr double number() const { return std::bit_cast<double>(bits_); }
  [[nodiscard]] constexpr bool boolean() const { return (bits_ & 1) != 0; }
  [[nodiscard]] VmString* string() const { return Payload<VmString>(tagString); }
  [[nodiscard]] VmTable* table() const { return Payload<VmTable>(tagTable); }
  [[nodiscard]] VmClosure* closure() const { return Payload<VmClosure>(tagFunction); }
  [[nodiscard]] VmUserdata* userdata() const { return Payload<VmUserdata>(tagUserdata); }
  /// The object of any collectable value.
  [[nodiscard]] VmObject* object() const { return Payload<VmObject>(0); }
  /// The address in a collectable or a light value.
  [[nodiscard]] void* pointer() const { return Payload<void>(0); }

  /// The same bits: raw equality of all values but numbers.
  friend constexpr bool operator==(VmValue, VmValue) = default;

 private:
  static constexpr std::uint64_t tagNil = std::uint64_t{0xFFF9} << 48;
  static constexpr std::uint64_t tagBoolean = std::uint64_t{0xFFFA} << 48;
  static constexpr std::uint64_t tagLight = std::uint64_t{0xFFFB} << 48;
  // Collectable types from here on.
  static constexpr std::uint64_t tagString = std::uint64_t{0xFFFC} << 48;
  static constexpr std::uint64_t tagTable = std::uint64_t{0xFFFD} << 48;
  static constexpr std::uint64_t tagFunction = std::uint64_t{0xFFFE} << 48;
  static constexpr std::uint64_t tagUserdata = std::uint64_t{0xFFFF} << 48;
  static constexpr std::uint64_t payloadMask = (std::uint64_t{1} << 48) - 1;

  static constexpr VmValue FromBits(std::uint64_t bits) {
    VmValue value;
    value.bits_ = bits;
    return value;
  }

  static VmValue Tagged(std::uint64_t tag, const void* pointer) {
    const auto address = reinterpret_cast<std::uintptr_t>(pointer);
    assert(address <= payloadMask);
    return FromBits(tag | (address & payloadMask));
  }

  [[nodiscard]] constexpr bool HasTag(std::uint64_t tag) const { return bits_ >> 48 == tag >> 48; }

  /// Taking a known tag off is one exclusive-or; an unknown one (0) has to be masked.
  template <class T>
  [[nodiscard]] T* Payload(std::uint64_t tag) const {
    return reinterpret_cast<T*>(tag != 0 ? bits_ ^ tag : bits_ & payloadMask);
  }

  std::uint64_t bits_ = tagNil;
};
static_assert(sizeof(VmValue) == 8);

/// Same type and same payload; numbers by value.
[[nodiscard]] constexpr bool EqualRaw(VmValue a, VmValue b) {
  if (a.IsNumber() && b.IsNumber()) return a.number() == b.number();
  return a == b;
}

/// The result of every lookup that finds nothing. Never written.
extern const VmValue nilObject;

}  // namespace quillmere
