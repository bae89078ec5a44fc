#include "frame/private_lists.h"

#include <algorithm>
#include <vector>

#include "base/fold.h"
#include "files/virtual_file.h"

namespace quillmere {
namespace {

Status WriteText(Host& host, const std::string& path, const std::string& text) {
  const auto file = OpenFile(host, path, OpenMode::Write);
  if (!file) return host.errors.Fail(Error::CannotWriteFile, path);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const bool written = file->WriteBytes({bytes, text.size()}) == text.size();
  if (!written || !file->Flush()) return Fail(Error::CannotWriteAll);
  return {};
}

/// The keys of the table on top of the stack, which is popped.
std::vector<std::string> TakeKeys(VmState& state) {
  std::vector<std::string> keys;
  if (vmType(state, -1) == VmType::Table) {
    vmPushNil(state);
    while (vmNext(state, -2)) {
      vmPop(state, 1);
      if (vmType(state, -1) == VmType::String) keys.emplace_back(vmToBytes(state, -1));
    }
  }
  vmPop(state, 1);
  return keys;
}

}  // namespace

Status WriteCommandList(VmState& state, const std::string& path) {
  std::string text;
  for (const VmLibraryEntry& library : vmLibraries(state)) {
    text += "::" + library.name + "\n" + std::to_string(library.commands.size()) + "\n";
    for (const VmCommandEntry& command : library.commands) {
      text += command.name;
      text += '\n';
    }
  }
  return WriteText(vmHost(state), path, text + "::end\n");
}

Status WriteConstantList(VmState& state, const std::string& path) {
  vmPushStringFast(state, "constants");
  vmRawGet(state, vmRegistryIndex);
  std::vector<std::string> names = TakeKeys(state);
  std::ranges::sort(names);
  std::string text;
  for (const std::string& name : names) text += FoldUpper(name) + "\n";
  return WriteText(vmHost(state), path, text);
}

}  // namespace quillmere
