// The loader of images, and the machine on whatever loads: it may run for some thousand
// instructions, in little memory, with natives that call back, fail and ask for jumps.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "vm/image.h"
#include "vm/state.h"
#include "vm/table.h"

using namespace quillmere;

namespace {

constexpr int instructionLimit = 3000;
constexpr std::size_t heapLimit = std::size_t{1} << 20;

CommandResult ReadAll(VmState& state) {
  for (int i = 1; i <= vmGetTop(state); ++i) {
    const std::string_view text = vmToBytes(state, i);
    static_cast<void>(std::ranges::count(text, '\n'));
  }
  return 0;
}

CommandResult Next(VmState& state) {
  vmCheckArgs(state, 1, 2);
  vmArgTable(state, 1);
  vmSetTop(state, 2);
  return vmNext(state, 1) ? 2 : 0;
}

CommandResult SetMetaTable(VmState& state) {
  vmCheckArgs(state, 2, 2);
  vmArgTable(state, 1);
  if (vmType(state, 2) != VmType::Nil) vmArgTable(state, 2);
  return vmSetMetaTable(state, 1) ? 1 : 0;
}

CommandResult Object(VmState& state) {
  static_cast<void>(vmNewUserdata(state, 8));
  if (vmType(state, 1) != VmType::Table) return 1;
  vmPushValue(state, 1);
  return vmSetMetaTable(state, -2) ? 1 : 0;
}

CommandResult Collect(VmState& state) {
  vmSetGCThreshold(state, 0);
  return 0;
}

CommandResult Call(VmState& state) {
  vmCheckArgs(state, 1, 0);
  return vmCall(state, vmGetTop(state) - 1, vmMultipleResults) != 0 ? 0 : vmGetTop(state);
}

CommandResult Protect(VmState& state) {
  vmCheckArgs(state, 1, 0);
  return vmPCall(state, vmGetTop(state) - 1, vmMultipleResults) != 0 ? 0 : vmGetTop(state);
}

CommandResult Give(VmState& state) {
  const int code = vmArgInt(state, 1);
  for (int i = 0; i < code && code <= vmMaxResults; ++i) {
    if (!vmCheckStack(state, 1)) return Error::StackOverflow;
    vmPushNumber(state, i);
  }
  return code;
}

CommandResult Jump(VmState& state) {
  vmSetPendingJump(state, vmArgInt(state, 1));
  return vmArgOptInt(state, 2, -1) == -2 ? -2 : -1;
}

constexpr VmCommandEntry natives[] = {
    {"DebugPrint", ReadAll}, {"Next", Next},
    {"NextItem", Next},      {"SetMetaTable", SetMetaTable},
    {"RawGet", Object},      {"ListItems", Call},
    {"IPairs", Protect},     {"Collect", Collect},
    {"Give", Give},          {"ToNumber", Give},
    {"Jump", Jump},
};

/// What was read comes back the same when it is written in either byte order.
void CheckRoundTrip(const ImageFunction& function) {
  const std::string little = WriteImage(function, {.byteOrder = std::endian::little});
  const std::string big = WriteImage(function, {.byteOrder = std::endian::big});
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(big.data());
  const Result<ImageFunction> again = ReadImage({bytes, big.size()}, "fuzz");
  if (!again || WriteImage(*again, {.byteOrder = std::endian::little}) != little) std::abort();
}

void Run(VmState& state, std::span<const std::uint8_t> image) {
  if (!vmLoadImage(state, image, "@fuzz")) {
    if (vmGetTop(state) != 0) std::abort();
    return;
  }
  const Result<std::string> dump = vmDumpImage(state, false);
  if (!dump) std::abort();
  state.globals->heap.SetLimit(heapLimit);
  const auto stop = [](VmState& running, VmHookEvent, int) { vmSetQuitFlag(running, true); };
  vmSetHook(state, stop, vmMaskCount, instructionLimit);
  static_cast<void>(vmPCall(state, 0, vmMultipleResults));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Result<ImageFunction> function = ReadImage({data, size}, "fuzz");
  if (!function) return 0;
  CheckRoundTrip(*function);
  Host host;
  // Both ways of what becomes of a failing command, and both ways of collecting.
  host.flags.exitOnError = (data[size - 1] & 1) != 0;
  VmState* state = vmOpen(host);
  if (state == nullptr) return 0;
  vmOpenLibrary(*state, "fuzz", natives);
  state->globals->collectAlways = (data[size / 2] & 1) != 0;
  Run(*state, {data, size});
  vmClose(state);
  return 0;
}
