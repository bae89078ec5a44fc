// Texts of the script in the user's language.
#include "lib/lib_state.h"
#include "lib/system_commands.h"

namespace quillmere::system_library {

CommandResult OpenCatalog(VmState& state) {
  vmCheckArgs(state, 1, 2);
  const std::string_view name = vmArgString(state, 1);
  const std::int32_t version = vmArgOptInt(state, 2, 0);
  std::unique_ptr<PlatformCatalog>& catalog = vmRoom<LibState>(state).catalog;
  catalog.reset();
  catalog = vmHost(state).Of<Platform>().locale().OpenCatalog(name, version);
  return 0;
}

CommandResult CloseCatalog(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmRoom<LibState>(state).catalog.reset();
  return 0;
}

CommandResult GetCatalogString(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::int32_t id = vmArgInt(state, 1);
  const std::string_view fallback = vmArgString(state, 2);
  const PlatformCatalog* catalog = vmRoom<LibState>(state).catalog.get();
  const std::optional<std::string> text =
      catalog != nullptr ? catalog->GetCatalogStr(id) : std::nullopt;
  vmPushBytes(state, text ? std::string_view(*text) : fallback);
  return 1;
}

}  // namespace quillmere::system_library
