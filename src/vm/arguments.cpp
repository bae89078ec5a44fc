// Reading the arguments of commands and the fields of option tables, with the messages that users
// see when they are wrong. Each failure raises.
#include <cmath>

#include "base/number_text.h"
#include "base/numbers.h"
#include "vm/state.h"

namespace quillmere {
namespace {

bool IsNone(VmState& state, int index) {
  return vmType(state, index) == VmType::None;
}

/// Reads a number or a share of `base`; nothing when the text is no such thing.
std::optional<double> ReadPercent(std::string_view text, double base, bool allowAbove100,
                                  bool* wasRelative) {
  const Result<NumberText> number = ParseNumberText(text);
  if (!number) return std::nullopt;
  if (!text.substr(number->length).starts_with('%')) return number->value;
  if (number->value < 0 || (!allowAbove100 && number->value > 100)) return std::nullopt;
  if (base != 0) return number->value * base / 100;
  if (wasRelative != nullptr) *wasRelative = true;
  return number->value / 100;
}

[[noreturn]] void BadField(VmState& state, Error code, std::string_view name) {
  vmRaise(state, code, std::string(name));
}

/// Reads the field on top with `read` and takes it away.
template <class Read>
bool ReadField(VmState& state, int index, const char* name, Read&& read) {
  if (!vmPushField(state, index, name)) return false;
  read(vmGetTop(state));
  vmPop(state, 1);
  return true;
}

}  // namespace

void vmCheckArgs(VmState& state, int min, int max) {
  const int count = vmGetTop(state);
  const bool takesNone = min == 0 && max == 0;
  if ((takesNone && count > 0) || (max >= 1 && count > max && count >= min)) {
    vmRaise(state, Error::TooManyArguments);
  }
  if (count < min) vmRaise(state, Error::NotEnoughArguments);
}

double vmArgNumber(VmState& state, int index) {
  if (IsNone(state, index) || !vmIsNumber(state, index)) {
    vmRaise(state, Error::NumberExpected, index);
  }
  return vmToNumber(state, index);
}

std::int32_t vmArgInt(VmState& state, int index) {
  return ToInt32(vmArgNumber(state, index));
}

std::uint32_t vmArgUnsigned(VmState& state, int index) {
  return ToUInt32(vmArgNumber(state, index));
}

double vmArgOptNumber(VmState& state, int index, double fallback) {
  return IsNone(state, index) ? fallback : vmArgNumber(state, index);
}

std::int32_t vmArgOptInt(VmState& state, int index, std::int32_t fallback) {
  return IsNone(state, index) ? fallback : vmArgInt(state, index);
}

std::uint32_t vmArgOptUnsigned(VmState& state, int index, std::uint32_t fallback) {
  return IsNone(state, index) ? fallback : vmArgUnsigned(state, index);
}

std::string_view vmArgString(VmState& state, int index) {
  if (IsNone(state, index) || vmToString(state, index) == nullptr) {
    vmRaise(state, Error::StringExpected, index);
  }
  return vmToBytes(state, index);
}

std::string_view vmArgOptString(VmState& state, int index, std::string_view fallback) {
  return IsNone(state, index) ? fallback : vmArgString(state, index);
}

void vmArgFunction(VmState& state, int index) {
  if (vmType(state, index) != VmType::Function) vmRaise(state, Error::FunctionExpected, index);
}

void vmArgTable(VmState& state, int index) {
  if (vmType(state, index) != VmType::Table) vmRaise(state, Error::TableExpected, index);
}

double vmArgPercent(VmState& state, int index, double base, bool allowAbove100, bool* wasRelative) {
  if (wasRelative != nullptr) *wasRelative = false;
  switch (vmType(state, index)) {
    case VmType::Number:
      return vmToNumber(state, index);
    case VmType::String: {
      const auto value = ReadPercent(vmToBytes(state, index), base, allowAbove100, wasRelative);
      if (!value) vmRaise(state, Error::InvalidPercent, index);
      return *value;
    }
    case VmType::Nil:
    case VmType::None:
      vmRaise(state, Error::NumberExpected, index);
    default:
      vmRaise(state, Error::StringOrNumberExpected, index);
  }
}

ObjectId vmArgId(VmState& state, int index) {
  if (vmType(state, index) == VmType::Light) {
    return {0, reinterpret_cast<std::uintptr_t>(vmToUserdata(state, index))};
  }
  return {vmArgInt(state, index), 0};
}

ObjectId vmArgNewId(VmState& state, int index) {
  if (vmArgIdIsNil(state, index)) return {0, 1};
  return {vmArgInt(state, index), 0};
}

bool vmArgIdIsNil(VmState& state, int index) {
  return vmType(state, index) == VmType::Nil;
}

double vmFieldNumber(VmState& state, int index, std::string_view name) {
  if (!vmIsNumber(state, index)) BadField(state, Error::FieldNumberExpected, name);
  return vmToNumber(state, index);
}

std::uint32_t vmFieldUnsigned(VmState& state, int index, std::string_view name) {
  return ToUInt32(vmFieldNumber(state, index, name));
}

std::string_view vmFieldString(VmState& state, int index, std::string_view name) {
  if (vmToString(state, index) == nullptr) BadField(state, Error::FieldStringExpected, name);
  return vmToBytes(state, index);
}

bool vmPushField(VmState& state, int index, const char* name) {
  if (index < 0 && index > vmRegistryIndex) index = vmGetTop(state) + index + 1;
  vmPushStringFast(state, name);
  vmGetTable(state, index);
  if (vmType(state, -1) != VmType::Nil) return true;
  vmPop(state, 1);
  return false;
}

bool vmGetFieldNumber(VmState& state, int index, const char* name, double& value) {
  return ReadField(state, index, name,
                   [&](int field) { value = vmFieldNumber(state, field, name); });
}

bool vmGetFieldInt(VmState& state, int index, const char* name, std::int32_t& value) {
  return ReadField(state, index, name,
                   [&](int field) { value = ToInt32(vmFieldNumber(state, field, name)); });
}

bool vmGetFieldUnsigned(VmState& state, int index, const char* name, std::uint32_t& value) {
  return ReadField(state, index, name,
                   [&](int field) { value = vmFieldUnsigned(state, field, name); });
}

bool vmGetFieldBool(VmState& state, int index, const char* name, bool& value) {
  return ReadField(state, index, name, [&](int field) {
    value = vmType(state, field) == VmType::Boolean ? vmToBoolean(state, field)
                                                    : vmFieldNumber(state, field, name) != 0;
  });
}

bool vmGetFieldString(VmState& state, int index, const char* name, std::string& value) {
  return ReadField(state, index, name,
                   [&](int field) { value = vmFieldString(state, field, name); });
}

bool vmGetFieldId(VmState& state, int index, const char* name, ObjectId& value) {
  return ReadField(state, index, name, [&](int field) {
    if (vmType(state, field) == VmType::Light) {
      value = vmArgId(state, field);
    } else {
      value = {ToInt32(vmFieldNumber(state, field, name)), 0};
    }
  });
}

bool vmGetFieldPercent(VmState& state, int index, const char* name, double base, bool allowAbove100,
                       double& value) {
  return ReadField(state, index, name, [&](int field) {
    if (vmType(state, field) != VmType::String) {
      value = vmFieldNumber(state, field, name);
      return;
    }
    const auto share = ReadPercent(vmToBytes(state, field), base, allowAbove100, nullptr);
    if (!share) vmRaise(state, Error::InvalidPercent, index);
    value = *share;
  });
}

bool vmGetFieldRect(VmState& state, int index, const char* name, std::int32_t (&value)[4]) {
  return ReadField(state, index, name, [&](int field) {
    for (int i = 0; i < 4; ++i) {
      vmRawGetInt(state, field, i);
      if (vmType(state, -1) == VmType::Nil) vmRaise(state, Error::NotEnoughArguments);
      value[i] = ToInt32(vmFieldNumber(state, -1, name));
      vmPop(state, 1);
    }
  });
}

void vmSetFieldString(VmState& state, const char* name, std::string_view value) {
  vmPushStringFast(state, name);
  vmPushBytes(state, value);
  vmSetTable(state, -3);
}

void vmSetFieldNumber(VmState& state, const char* name, double value) {
  vmPushStringFast(state, name);
  vmPushNumber(state, value);
  vmSetTable(state, -3);
}

void vmSetFieldInt(VmState& state, const char* name, std::int32_t value) {
  vmSetFieldNumber(state, name, value);
}

void vmSetFieldId(VmState& state, const char* name, const ObjectId& value) {
  vmPushStringFast(state, name);
  vmPushId(state, value);
  vmSetTable(state, -3);
}

double vmResultNumber(VmState& state, int index, Error& code) {
  if (vmType(state, index) != VmType::None && vmIsNumber(state, index)) {
    return vmToNumber(state, index);
  }
  code = Error::CallbackNumberExpected;
  return 0;
}

std::string vmResultString(VmState& state, int index, Error& code) {
  if (vmType(state, index) != VmType::None && vmToString(state, index) != nullptr) {
    return std::string(vmToBytes(state, index));
  }
  code = Error::CallbackStringExpected;
  return {};
}

}  // namespace quillmere
