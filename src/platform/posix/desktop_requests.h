// Requesters on a desktop: zenity where it is installed, else a message box, and a prompt on the
// terminal.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/requester_task.h"

namespace quillmere {

/// Shows a choice where there is no zenity.
using ChoiceBox = std::function<RequesterAnswer(const RequesterCall& call)>;

/// The way in which a desktop shows requests.
[[nodiscard]] RequesterTask::Runner RunDesktopRequest(ChoiceBox showChoice);

/// The arguments for zenity that show a request, the program's own name not among them.
[[nodiscard]] std::vector<std::string> ZenityArguments(const RequesterCall& call);

/// What zenity's exit status and output say.
[[nodiscard]] RequesterAnswer ReadZenityAnswer(const RequesterCall& call, int status,
                                               std::string_view output);

/// The file patterns behind a pattern of the language, "*.png" and "*.PNG" for "#?(.png)"; empty
/// for every file.
[[nodiscard]] std::vector<std::string> GlobsOfPattern(std::string_view pattern);

}  // namespace quillmere
