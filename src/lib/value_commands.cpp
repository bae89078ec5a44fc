// Commands on single values: types, metatables, raw access, and the collector.
#include "lib/system_commands.h"
#include "lib/type_codes.h"
#include "pixels/pixels_state.h"

namespace quillmere::system_library {
namespace {

/// The sweep for hidden objects of every kind.
constexpr unsigned sweepAllKinds = 15;

constexpr std::int32_t typeCodeUnknown = -1;

std::int32_t TypeCode(VmType type) {
  switch (type) {
    case VmType::Nil:
      return type_code::Nil;
    case VmType::Light:
      return type_code::LightUserdata;
    case VmType::Number:
      return type_code::Number;
    case VmType::String:
      return type_code::String;
    case VmType::Table:
      return type_code::Table;
    case VmType::Function:
      return type_code::Function;
    case VmType::Userdata:
      return type_code::Userdata;
    case VmType::Thread:
      return type_code::Thread;
    case VmType::None:
    case VmType::Boolean:
      break;
  }
  return typeCodeUnknown;
}

/// Pushes the field "__metatable" of the metatable on top; false, with nothing pushed, without it.
bool PushMetaTableField(VmState& state) {
  vmPushStringFast(state, "__metatable");
  vmRawGet(state, -2);
  if (vmType(state, -1) != VmType::Nil) return true;
  vmPop(state, 1);
  return false;
}

Result<bool> IsTrue(VmState& state, int index) {
  switch (vmType(state, index)) {
    case VmType::Nil:
      return false;
    case VmType::Number:
      return vmToNumber(state, index) != 0;
    case VmType::String:
      return vmStringLength(state, index) != 0;
    default:
      return Fail(Error::WrongDataTypeSpecified);
  }
}

}  // namespace

CommandResult GetType(VmState& state) {
  vmCheckArgs(state, 1, 1);
  vmPushNumber(state, TypeCode(vmType(state, 1)));
  return 1;
}

CommandResult IIf(VmState& state) {
  vmCheckArgs(state, 3, 3);
  vmPushValue(state, TRY(IsTrue(state, 1)) ? 2 : 3);
  return 1;
}

CommandResult RawGet(VmState& state) {
  vmCheckArgs(state, 2, 2);
  vmArgTable(state, 1);
  vmRawGet(state, 1);
  return 1;
}

CommandResult RawSet(VmState& state) {
  vmCheckArgs(state, 3, 3);
  vmArgTable(state, 1);
  vmRawSet(state, 1);
  return 1;
}

CommandResult RawEqual(VmState& state) {
  vmCheckArgs(state, 2, 2);
  vmPushNumber(state, vmRawEqual(state, 1, 2) ? 1 : 0);
  return 1;
}

CommandResult GetMetaTable(VmState& state) {
  vmCheckArgs(state, 1, 1);
  if (!vmGetMetaTable(state, 1)) {
    vmPushNil(state);
    return 1;
  }
  static_cast<void>(PushMetaTableField(state));
  return 1;
}

CommandResult SetMetaTable(VmState& state) {
  vmCheckArgs(state, 2, 2);
  vmArgTable(state, 1);
  const VmType type = vmType(state, 2);
  if (type != VmType::Table && type != VmType::Nil) return Error::TableOrNilExpected;
  if (vmGetMetaTable(state, 1) && PushMetaTableField(state)) return Error::ProtectedMetatable;
  vmSetTop(state, 2);
  vmSetMetaTable(state, 1);
  return 1;
}

CommandResult GCInfo(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmPushNumber(state, vmGetGCCount(state));
  vmPushNumber(state, vmGetGCThreshold(state));
  return 2;
}

CommandResult CollectGarbage(VmState& state) {
  vmCheckArgs(state, 0, 1);
  vmSetGCThreshold(state, vmArgOptInt(state, 1, 0));
  Host& host = vmHost(state);
  if (host.Has(Room::pixels)) host.Of<PixelsState>().objects.CollectHidden(sweepAllKinds);
  return 0;
}

}  // namespace quillmere::system_library
