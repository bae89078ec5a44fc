// The operations of the language on any kind of value: what the interpreter does when its fast path
// does not hold, and what native code asks for through the embedding interface.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>

#include "base/number_text.h"
#include "base/numbers.h"
#include "vm/number_digits.h"
#include "vm/state.h"
#include "vm/table.h"

namespace quillmere {
namespace {

/// Calls the function of an event; a failing native counts as it does in a call of the script.
void RunEvent(VmState& state, VmValue* place, int wanted) {
  const int code = vmCallAt(state, place, wanted);
  if (code != 0) ReportNativeError(state, code);
}

/// Calls a function with two values and gives its one result.
VmValue CallEvent(VmState& state, const VmValue& function, const VmValue& a, const VmValue& b) {
  EnsureStack(state, 4);
  VmValue* const place = state.top;
  place[0] = function;
  place[1] = a;
  place[2] = b;
  state.top = place + 3;
  RunEvent(state, place, 1);
  return *--state.top;
}

void CallStoreEvent(VmState& state, const VmValue& function, const VmValue& object,
                    const VmValue& key, const VmValue& value) {
  EnsureStack(state, 5);
  VmValue* const place = state.top;
  place[0] = function;
  place[1] = object;
  place[2] = key;
  place[3] = value;
  state.top = place + 4;
  RunEvent(state, place, 0);
}

/// What an event's answer means as a truth: nil is false, a number unless it is 0, all else true.
bool TrueResult(const VmValue& value) {
  if (value.IsNil()) return false;
  return !value.IsNumber() || value.number() != 0;
}

[[noreturn]] void MissingField(VmState& state, const VmValue& key) {
  std::string text = "\"?\"";
  if (key.IsString()) {
    text = "\"" + std::string(key.string()->View()) + "\"";
  } else if (key.IsNumber()) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%g", key.number());
    text = digits;
  }
  vmRaise(state, Error::FieldNotInitialized, text);
}

double Compute(VmState& state, double a, double b, VmOp op) {
  switch (op) {
    case OP_ADD:
      return a + b;
    case OP_SUB:
      return a - b;
    case OP_MUL:
      return a * b;
    case OP_DIV:
      if (b == 0) vmRaise(state, Error::DivisionByZero);
      return a / b;
    case OP_DIVINT: {
      const std::int64_t divisor = ToInt32(b);
      if (divisor == 0) vmRaise(state, Error::DivisionByZero);
      return static_cast<std::int32_t>(ToInt32(a) / divisor);
    }
    case OP_MOD: {
      const std::int64_t divisor = ToInt32(b);
      if (divisor == 0) vmRaise(state, Error::DivisionByZero);
      return static_cast<double>(ToInt32(a) % divisor);
    }
    case OP_LSH: {
      const int count = ToInt32(b) & 63;
      return count > 31 ? 0 : static_cast<std::uint32_t>(ToUInt32(a) << count);
    }
    case OP_RSH: {
      const int count = ToInt32(b) & 63;
      return count > 31 ? 0 : ToUInt32(a) >> count;
    }
    case OP_OR:
      return ToUInt32(a) | ToUInt32(b);
    case OP_AND:
      return ToUInt32(a) & ToUInt32(b);
    case OP_XOR:
      return ToUInt32(a) ^ ToUInt32(b);
    default:
      return std::pow(a, b);
  }
}

VmEvent EventOfOp(VmOp op) {
  return static_cast<VmEvent>(static_cast<int>(VmEvent::Add) + (op - OP_ADD));
}

VmValue CallUnaryEvent(VmState& state, const VmValue& a, VmEvent event) {
  const VmValue function = EventOf(state, a, event);
  if (!function.IsFunction()) vmRaise(state, Error::WrongOperator);
  return CallEvent(state, function, a, VmValue());
}

/// The event that two values of the same kind share, or nil.
VmValue SharedEvent(VmState& state, const VmValue& a, const VmValue& b, VmEvent event) {
  const VmValue first = EventOf(state, a, event);
  if (first.IsNil()) return first;
  const VmValue second = EventOf(state, b, event);
  return EqualRaw(first, second) ? first : VmValue();
}

[[noreturn]] void CannotCompare(VmState& state, const VmValue& a, const VmValue& b) {
  const bool numberAndString = (a.IsNumber() && b.IsString()) || (a.IsString() && b.IsNumber());
  vmRaise(state, numberAndString ? Error::CompareNumberWithString : Error::WrongOperator);
}

/// Reads a whole text as a number; blanks may stand around it.
std::optional<double> ParseScriptNumber(std::string_view text) {
  const auto skipBlanks = [&] {
    while (!text.empty() && (text[0] == ' ' || (text[0] >= '\t' && text[0] <= '\r'))) {
      text.remove_prefix(1);
    }
  };
  std::optional<NumberText> number;
  if (text.size() > 2 && (text.starts_with("0x") || text.starts_with("0X"))) {
    text.remove_prefix(2);
    number = ParseDigits(text, 16);
  } else if (text.starts_with('$')) {
    text.remove_prefix(1);
    number = ParseDigits(text, 16);
  } else {
    skipBlanks();
    number = ParseDecimal(text);
  }
  if (!number) return std::nullopt;
  text.remove_prefix(number->length);
  skipBlanks();
  if (!text.empty()) return std::nullopt;
  return number->value;
}

bool IsText(const VmValue& value) {
  return value.IsString() || value.IsNumber() || value.IsNil();
}

}  // namespace

const VmValue* FindEvent(VmState& state, VmTable& metatable, VmEvent event) {
  const auto index = static_cast<std::size_t>(event);
  const VmValue& found = TableGetString(metatable, state.globals->eventNames[index]);
  if (!found.IsNil()) return &found;
  constexpr std::size_t rememberedEvents = 5;
  if (index < rememberedEvents) {
    metatable.absentEvents |= static_cast<std::uint8_t>(1 << index);
  }
  return nullptr;
}

const VmValue& EventOf(VmState& state, const VmValue& value, VmEvent event) {
  VmTable* metatable = nullptr;
  if (value.IsTable()) metatable = value.table()->metatable;
  if (value.IsUserdata()) metatable = value.userdata()->metatable;
  if (metatable == nullptr) return nilObject;
  return TableGetString(*metatable, state.globals->eventNames[static_cast<std::size_t>(event)]);
}

const VmValue* ToNumberValue(const VmValue& value, VmValue& scratch) {
  if (value.IsNumber()) return &value;
  if (value.IsNil()) {
    scratch = VmValue(0.0);
    return &scratch;
  }
  if (!value.IsString()) return nullptr;
  const auto number = ParseScriptNumber(value.string()->View());
  if (!number) return nullptr;
  scratch = VmValue(*number);
  return &scratch;
}

bool ToStringInPlace(VmState& state, VmValue& value) {
  if (value.IsString()) return true;
  if (value.IsNumber()) {
    const NumberDigits text(value.number());
    value = VmValue::String(NewString(state, text.View()));
    return true;
  }
  if (!value.IsNil()) return false;
  value = VmValue::String(NewString(state, {}));
  return true;
}

VmValue GetTableEntry(VmState& state, VmValue object, VmValue key, const VmValue* place, int loop) {
  for (; loop <= vmMaxEventChain; ++loop) {
    VmValue event;
    if (object.IsTable()) {
      const VmValue& found = TableGet(*object.table(), key);
      if (!found.IsNil()) return found;
      const VmValue* index = FastEvent(state, *object.table()->metatable, VmEvent::Index);
      if (index == nullptr) return VmValue();
      event = *index;
    } else {
      event = EventOf(state, object, VmEvent::Index);
      if (event.IsNil()) NamedError(state, Error::TableNotFound, place, "{}");
    }
    if (event.IsFunction()) return CallEvent(state, event, object, key);
    object = event;
    place = nullptr;
  }
  vmRaise(state, Error::InternalLimitReached, "#1");
}

void SetTableEntry(VmState& state, VmValue object, VmValue key, VmValue value,
                   const VmValue* place) {
  for (int loop = 0; loop <= vmMaxEventChain; ++loop) {
    VmValue event;
    if (object.IsTable()) {
      VmTable& table = *object.table();
      VmValue& slot = TableSet(state, table, key);
      const VmValue* newIndex =
          slot.IsNil() ? FastEvent(state, *table.metatable, VmEvent::NewIndex) : nullptr;
      if (newIndex == nullptr) {
        slot = value;
        return;
      }
      event = *newIndex;
    } else {
      event = EventOf(state, object, VmEvent::NewIndex);
      if (event.IsNil()) NamedError(state, Error::TableNotFound, place, "{}");
    }
    if (event.IsFunction()) return CallStoreEvent(state, event, object, key, value);
    object = event;
    place = nullptr;
  }
  vmRaise(state, Error::InternalLimitReached, "#2");
}

VmValue GetMissingGlobal(VmState& state, VmTable& environment, VmValue key) {
  const VmValue* index = FastEvent(state, *environment.metatable, VmEvent::Index);
  if (index == nullptr) return VmValue();
  const VmValue event = *index;
  const VmValue table = VmValue::Table(&environment);
  if (event.IsFunction()) return CallEvent(state, event, table, key);
  return GetTableEntry(state, event, key, nullptr);
}

VmValue GetField(VmState& state, VmValue object, VmValue key, const VmValue* place,
                 bool missingIsNil) {
  if (!object.IsTable()) {
    const VmValue event = EventOf(state, object, VmEvent::Index);
    if (event.IsNil()) NamedError(state, Error::TableNotFound, place, "{}");
    if (event.IsFunction()) return CallEvent(state, event, object, key);
    return GetTableEntry(state, event, key, nullptr);
  }
  const VmValue& found = TableGet(*object.table(), key);
  if (!found.IsNil()) return found;
  const VmValue* index = FastEvent(state, *object.table()->metatable, VmEvent::Index);
  if (index == nullptr) {
    if (missingIsNil) return VmValue();
    MissingField(state, key);
  }
  const VmValue event = *index;
  if (event.IsFunction()) return CallEvent(state, event, object, key);
  const VmValue value = GetTableEntry(state, event, key, nullptr);
  if (value.IsNil() && !missingIsNil) MissingField(state, key);
  return value;
}

VmValue Arithmetic(VmState& state, VmValue a, VmValue b, VmOp op) {
  VmValue scratchA;
  VmValue scratchB;
  const VmValue* left = ToNumberValue(a, scratchA);
  const VmValue* right = ToNumberValue(b, scratchB);
  if (left != nullptr && right != nullptr) {
    return VmValue(Compute(state, left->number(), right->number(), op));
  }
  VmValue event = EventOf(state, a, EventOfOp(op));
  if (event.IsNil()) event = EventOf(state, b, EventOfOp(op));
  if (!event.IsFunction()) vmRaise(state, Error::WrongOperator);
  return CallEvent(state, event, a, b);
}

VmValue Negate(VmState& state, VmValue a) {
  VmValue scratch;
  if (const VmValue* number = ToNumberValue(a, scratch)) return VmValue(-number->number());
  return CallUnaryEvent(state, a, VmEvent::Unm);
}

VmValue Complement(VmState& state, VmValue a) {
  VmValue scratch;
  if (const VmValue* number = ToNumberValue(a, scratch)) {
    return VmValue(static_cast<double>(~ToUInt32(number->number())));
  }
  return CallUnaryEvent(state, a, VmEvent::Not);
}

bool EqualValues(VmState& state, const VmValue& a, const VmValue& b) {
  if (a.IsNil() || b.IsNil()) {
    const VmValue& other = a.IsNil() ? b : a;
    if (other.IsNil()) return true;
    if (other.IsNumber()) return other.number() == 0;
    return other.IsString() && other.string()->length == 0;
  }
  if (a.Type() != b.Type()) CannotCompare(state, a, b);
  if (EqualRaw(a, b)) return true;
  if (!a.IsTable() && !a.IsUserdata()) return false;
  const VmValue event = SharedEvent(state, a, b, VmEvent::Eq);
  return event.IsFunction() && TrueResult(CallEvent(state, event, a, b));
}

bool LessThan(VmState& state, const VmValue& a, const VmValue& b) {
  if (a.IsNumber() && b.IsNumber()) return a.number() < b.number();
  if (a.IsString() && b.IsString()) return CompareStrings(*a.string(), *b.string()) < 0;
  if (a.IsNil() && b.IsNumber()) return 0 < b.number();
  if (a.IsNil() && (b.IsString() || b.IsNil())) return false;
  if (a.IsNumber() && b.IsNil()) return a.number() < 0;
  if (a.IsString() && b.IsNil()) return false;
  if (a.Type() != b.Type()) CannotCompare(state, a, b);
  const VmValue event = SharedEvent(state, a, b, VmEvent::Lt);
  if (!event.IsFunction()) vmRaise(state, Error::WrongOperator);
  return TrueResult(CallEvent(state, event, a, b));
}

bool LessEqual(VmState& state, const VmValue& a, const VmValue& b) {
  if (a.IsNumber() && b.IsNumber()) return a.number() <= b.number();
  if (a.IsString() && b.IsString()) return CompareStrings(*a.string(), *b.string()) <= 0;
  if (a.IsNil() && b.IsNumber()) return 0 <= b.number();
  if (a.IsNil() && (b.IsString() || b.IsNil())) return b.IsNil();
  if (a.IsNumber() && b.IsNil()) return a.number() <= 0;
  if (a.IsString() && b.IsNil()) return false;
  if (a.Type() != b.Type()) CannotCompare(state, a, b);
  VmValue event = SharedEvent(state, a, b, VmEvent::Le);
  if (event.IsFunction()) return TrueResult(CallEvent(state, event, a, b));
  event = SharedEvent(state, b, a, VmEvent::Lt);
  if (!event.IsFunction()) vmRaise(state, Error::WrongOperator);
  return !TrueResult(CallEvent(state, event, b, a));
}

namespace {

/// Copies the texts of `count` strings that end at `last`, one behind the other.
void CopyTexts(const VmValue* last, int count, char* to) {
  for (int i = count; i-- > 0;) {
    const VmString& string = *last[-i].string();
    std::memcpy(to, string.Bytes(), string.length);
    to += string.length;
  }
}

/// Joins as many values that end at `last` as are texts, into the first of them; how many.
int JoinTexts(VmState& state, int count, VmValue* last) {
  int joined = 0;
  std::size_t size = 0;
  while (joined < count && IsText(last[-joined])) {
    VmValue& value = last[-joined];
    ToStringInPlace(state, value);
    size += value.string()->length;
    if (size > vmMaxBlock) vmRaise(state, Error::InternalLimit);
    ++joined;
  }
  if (joined < 2) return joined;
  VmString* string = nullptr;
  constexpr std::size_t shortText = 512;
  if (size <= shortText) {
    char text[shortText];
    CopyTexts(last, joined, text);
    string = NewString(state, {text, size});
  } else {
    string = NewBlankString(state, size);
    CopyTexts(last, joined, string->Bytes());
    string = InternString(state, string);
  }
  last[1 - joined] = VmValue::String(string);
  return joined;
}

}  // namespace

void Concatenate(VmState& state, int count, VmValue* last) {
  while (count > 1) {
    const std::ptrdiff_t offset = SaveStack(state, last);
    if (!IsText(last[0]) || !IsText(last[-1])) {
      VmValue event = EventOf(state, last[-1], VmEvent::Concat);
      if (event.IsNil()) event = EventOf(state, last[0], VmEvent::Concat);
      if (!event.IsFunction()) vmRaise(state, Error::WrongConcatenation);
      const VmValue result = CallEvent(state, event, last[-1], last[0]);
      last = RestoreStack(state, offset) - 1;
      *last = result;
      --count;
      continue;
    }
    const int joined = JoinTexts(state, count, last);
    last -= joined - 1;
    count -= joined - 1;
  }
}

}  // namespace quillmere
