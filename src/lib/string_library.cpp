// The string commands. Positions count bytes from 0; a string is a row of 8-bit characters.
#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>

#include "base/fold.h"
#include "base/number_text.h"
#include "lib/libraries.h"
#include "lib/string_ops.h"
#include "lib/type_codes.h"

namespace quillmere {
namespace {

constexpr std::size_t numberTextSize = 32;

CommandResult PushText(VmState& state, std::string_view text) {
  vmPushBytes(state, text);
  return 1;
}

/// A length from a script, limited to what a text has; negative lengths are 0.
std::size_t LimitLength(std::int32_t length, std::size_t size) {
  return std::min(static_cast<std::size_t>(std::max(length, 0)), size);
}

CommandResult LowerStr(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return PushText(state, FoldLower(vmArgString(state, 1)));
}

CommandResult UpperStr(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return PushText(state, FoldUpper(vmArgString(state, 1)));
}

CommandResult Val(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const NumberText number = ParseNumberText(vmArgString(state, 1)).value_or(NumberText{});
  vmPushNumber(state, number.value);
  vmPushNumber(state, static_cast<double>(number.length));
  return 2;
}

CommandResult StrStr(VmState& state) {
  vmCheckArgs(state, 1, 2);
  const double number = vmArgNumber(state, 1);
  const std::int32_t decimals = vmArgOptInt(state, 2, 2);
  vmPushNumber(state, number);
  return PushText(state, CutDecimals(vmToBytes(state, -1), decimals));
}

CommandResult UnrightStr(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::string_view text = vmArgString(state, 1);
  const std::int32_t count = vmArgInt(state, 2);
  if (count < 0) return Error::WrongUsage;
  return PushText(state, text.substr(LimitLength(count, text.size())));
}

CommandResult UnleftStr(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::string_view text = vmArgString(state, 1);
  const std::int32_t count = vmArgInt(state, 2);
  if (count < 0) return Error::WrongUsage;
  return PushText(state, text.substr(0, text.size() - LimitLength(count, text.size())));
}

CommandResult Chr(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const std::uint32_t code = vmArgUnsigned(state, 1);
  if (code > 255) return Error::WrongUsage;
  const char text[] = {static_cast<char>(code), '\0'};
  return PushText(state, text);
}

CommandResult MidStr(VmState& state) {
  vmCheckArgs(state, 3, 3);
  const std::string_view text = vmArgString(state, 1);
  const std::int32_t position = vmArgInt(state, 2);
  const std::int32_t length = vmArgInt(state, 3);
  if (position < 0) return Error::WrongUsage;
  return PushText(
      state, text.substr(LimitLength(position, text.size()), LimitLength(length, text.size())));
}

CommandResult RightStr(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::string_view text = vmArgString(state, 1);
  return PushText(state, text.substr(text.size() - LimitLength(vmArgInt(state, 2), text.size())));
}

CommandResult LeftStr(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::string_view text = vmArgString(state, 1);
  return PushText(state, text.substr(0, LimitLength(vmArgInt(state, 2), text.size())));
}

/// The arguments that the searching commands share.
struct Search {
  std::string_view text;
  std::string_view sought;
  bool caseSensitive = true;
  std::size_t start = 0;
};

/// Reads text, sought text, and from `optionIndex` on case and start.
Result<Search> ReadSearch(VmState& state, int optionIndex) {
  Search search;
  search.text = vmArgString(state, 1);
  search.sought = vmArgString(state, 2);
  search.caseSensitive = vmArgOptInt(state, optionIndex, 1) != 0;
  const std::int32_t start = vmArgOptInt(state, optionIndex + 1, 0);
  if (start < 0) return Fail(Error::WrongUsage);
  search.start = static_cast<std::size_t>(start);
  return search;
}

CommandResult FindStr(VmState& state) {
  vmCheckArgs(state, 2, 4);
  const Search search = TRY(ReadSearch(state, 3));
  const TextFinder finder(search.text, search.sought, search.caseSensitive);
  const std::size_t position = finder.Find(search.start);
  vmPushNumber(state, position == std::string_view::npos ? -1 : static_cast<double>(position));
  return 1;
}

CommandResult AddStr(VmState& state) {
  vmCheckArgs(state, 2, 2);
  static_cast<void>(vmArgString(state, 1));
  static_cast<void>(vmArgString(state, 2));
  vmConcat(state, 2);
  return 1;
}

CommandResult HexStr(VmState& state) {
  vmCheckArgs(state, 1, 1);
  std::array<char, numberTextSize> text;
  std::snprintf(text.data(), text.size(), "$%X", vmArgUnsigned(state, 1));
  return PushText(state, text.data());
}

CommandResult Asc(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const std::string_view text = vmArgString(state, 1);
  vmPushNumber(state, text.empty() ? 0 : static_cast<unsigned char>(text.front()));
  return 1;
}

CommandResult StrLen(VmState& state) {
  vmCheckArgs(state, 1, 1);
  vmPushNumber(state, static_cast<double>(vmArgString(state, 1).size()));
  return 1;
}

CommandResult ReplaceStr(VmState& state) {
  vmCheckArgs(state, 3, 5);
  static_cast<void>(vmArgString(state, 1));
  static_cast<void>(vmArgString(state, 2));
  const std::string_view replacement = vmArgString(state, 3);
  const Search search = TRY(ReadSearch(state, 4));
  return PushText(state, TRY(ReplaceText(search.text, search.sought, replacement,
                                         search.caseSensitive, search.start)));
}

CommandResult BinStr(VmState& state) {
  vmCheckArgs(state, 1, 2);
  const std::uint32_t number = vmArgUnsigned(state, 1);
  switch (vmArgOptInt(state, 2, type_code::Integer)) {
    case type_code::Integer:
      return PushText(state, BinaryText(number, 32));
    case type_code::Short:
      return PushText(state, BinaryText(number, 16));
    case type_code::Byte:
      return PushText(state, BinaryText(number, 8));
    default:
      return PushText(state, "");
  }
}

CommandResult SplitStr(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::string_view text = vmArgString(state, 1);
  const std::string_view delimiter = vmArgString(state, 2);
  if (delimiter.size() != 1) return Error::WrongUsage;
  vmNewTable(state);
  int count = 0;
  std::size_t from = 0;
  for (bool more = true; more; ++count) {
    const std::size_t end = text.find(delimiter.front(), from);
    more = end != std::string_view::npos;
    vmPushBytes(state, text.substr(from, more ? end - from : end));
    vmRawSetInt(state, -2, count);
    from = end + 1;
  }
  vmPushNumber(state, count);
  return 2;
}

CommandResult PadNum(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::int32_t number = vmArgInt(state, 1);
  const std::int32_t digits = vmArgInt(state, 2);
  if (number < 0 || digits < 1) return Error::WrongUsage;
  std::string text = std::to_string(number);
  const auto width = static_cast<std::size_t>(digits);
  if (text.size() < width) text.insert(0, width - text.size(), '0');
  return PushText(state, text);
}

CommandResult StrToArray(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const std::string_view text = vmArgString(state, 1);
  vmNewTable(state);
  int index = 0;
  for (const char c : text) {
    vmPushNumber(state, static_cast<unsigned char>(c));
    vmRawSetInt(state, -2, index++);
  }
  vmPushNumber(state, 0);
  vmRawSetInt(state, -2, index);
  return 1;
}

CommandResult TrimStr(VmState& state) {
  vmCheckArgs(state, 3, 3);
  const std::string_view text = vmArgString(state, 1);
  const std::string_view character = vmArgString(state, 2);
  const bool fromRight = vmArgInt(state, 3) != 0;
  if (character.size() != 1) return Error::WrongUsage;
  if (fromRight) {
    return PushText(state, text.substr(0, text.find_last_not_of(character.front()) + 1));
  }
  return PushText(state,
                  text.substr(std::min(text.find_first_not_of(character.front()), text.size())));
}

/// Calls the event "__tostring" of the value's metatable; 0 results when there is none.
CommandResult CallToStringEvent(VmState& state) {
  if (!vmGetMetaTable(state, 1)) return 0;
  vmPushStringFast(state, "__tostring");
  vmRawGet(state, -2);
  if (vmType(state, -1) == VmType::Nil) return 0;
  vmPushValue(state, 1);
  const int code = vmCall(state, 1, 1);
  return code != 0 ? code : 1;
}

CommandResult PushPointerText(VmState& state, const char* kind) {
  std::array<char, 2 * numberTextSize> text;
  std::snprintf(text.data(), text.size(), "%s: %p", kind, vmToPointer(state, 1));
  return PushText(state, text.data());
}

CommandResult ToString(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const CommandResult event = CallToStringEvent(state);
  if (event.Value() != 0) return event;
  switch (vmType(state, 1)) {
    case VmType::None:
    case VmType::Nil:
      return PushText(state, "Nil");
    case VmType::Boolean:
      return PushText(state, vmToBoolean(state, 1) ? "true" : "false");
    case VmType::Number:
    case VmType::String:
      vmPushValue(state, 1);
      static_cast<void>(vmToString(state, -1));
      return 1;
    case VmType::Table:
      return PushPointerText(state, "Table");
    case VmType::Function:
      return PushPointerText(state, "Function");
    case VmType::Light:
    case VmType::Userdata:
      return PushPointerText(state, "UserData");
    case VmType::Thread:
      return PushPointerText(state, "Thread");
  }
  return 0;
}

CommandResult ToNumber(VmState& state) {
  vmCheckArgs(state, 1, 2);
  const std::int32_t base = vmArgOptInt(state, 2, 10);
  if (base == 10) {
    vmPushNumber(state, vmToNumber(state, 1));
    return 1;
  }
  if (base < 2 || base > 36) return Error::WrongUsage;
  vmPushNumber(state, NumberInBase(vmArgString(state, 1), base));
  return 1;
}

CommandResult UnmidStr(VmState& state) {
  vmCheckArgs(state, 3, 3);
  const std::string_view text = vmArgString(state, 1);
  const std::int32_t position = vmArgInt(state, 2);
  const std::int32_t length = vmArgInt(state, 3);
  if (position < 0 || length < 0) return Error::WrongUsage;
  const std::size_t from = LimitLength(position, text.size());
  const std::size_t count = LimitLength(length, text.size() - from);
  std::string out;
  out.reserve(text.size() - count);
  out.append(text.substr(0, from)).append(text.substr(from + count));
  return PushText(state, out);
}

CommandResult CountStr(VmState& state) {
  vmCheckArgs(state, 2, 4);
  const Search search = TRY(ReadSearch(state, 3));
  const TextFinder finder(search.text, search.sought, search.caseSensitive);
  vmPushNumber(state, static_cast<double>(finder.Count(search.start)));
  return 1;
}

CommandResult InsertStr(VmState& state) {
  vmCheckArgs(state, 3, 4);
  const std::string_view text = vmArgString(state, 1);
  const std::string_view inserted = vmArgString(state, 2);
  const std::int32_t position = vmArgInt(state, 3);
  const bool overwrites = vmArgOptInt(state, 4, 0) != 0;
  if (position < 0) return Error::WrongUsage;
  const std::size_t at = LimitLength(position, text.size());
  const std::size_t rest = overwrites ? std::min(at + inserted.size(), text.size()) : at;
  std::string out;
  out.reserve(text.size() + inserted.size());
  out.append(text.substr(0, at)).append(inserted).append(text.substr(rest));
  return PushText(state, out);
}

constexpr VmCommandEntry commands[] = {
    {"LowerStr", LowerStr},
    {"UpperStr", UpperStr},
    {"Val", Val},
    {"StrStr", StrStr},
    {"UnrightStr", UnrightStr},
    {"UnleftStr", UnleftStr},
    {"Chr", Chr},
    {"MidStr", MidStr},
    {"RightStr", RightStr},
    {"LeftStr", LeftStr},
    {"FindStr", FindStr},
    {"AddStr", AddStr},
    {"HexStr", HexStr},
    {"Asc", Asc},
    {"StrLen", StrLen},
    {"ReplaceStr", ReplaceStr},
    {"BinStr", BinStr},
    {"SplitStr", SplitStr},
    {"PadNum", PadNum},
    {"StrToArray", StrToArray},
    {"TrimStr", TrimStr},
    {"ToString", ToString},
    {"ToNumber", ToNumber},
    {"UnmidStr", UnmidStr},
    {"CountStr", CountStr},
    {"InsertStr", InsertStr},
};

}  // namespace

Status OpenStringLibrary(VmState& state) {
  vmOpenLibrary(state, "string", commands);
  return {};
}

}  // namespace quillmere
