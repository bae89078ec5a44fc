#include "frame/desktop_start.h"

#include "files/files_state.h"
#include "lib/icon_file.h"

namespace quillmere {

std::string LineOfToolTypes(const std::vector<std::string>& toolTypes) {
  std::string line;
  for (const std::string& toolType : toolTypes) {
    if (toolType.empty() || toolType.starts_with('(')) continue;
    const std::size_t equals = toolType.find('=');
    if (!line.empty()) line += ' ';
    line += "-" + toolType.substr(0, equals);
    if (equals != std::string::npos) line += " \"" + toolType.substr(equals + 1) + "\"";
  }
  return line;
}

std::string LineOfProgramIcon(Host& host) {
  const std::string name = host.Of<FilesState>().clargs.selfPath + ".info";
  const auto bytes = ReadWholeFile(host, name, largestIconFile);
  const auto icon = bytes ? ParseIcon(*bytes) : std::nullopt;
  return icon && icon->toolTypes ? LineOfToolTypes(*icon->toolTypes) : std::string();
}

}  // namespace quillmere
