// Questions that the program itself asks the user.
#pragma once

#include <string>
#include <vector>

#include "base/host.h"

namespace quillmere {

/// The title of the program's own requests.
inline constexpr char requestTitle[] = "QuillmerePlayer";

/// Shows a text with buttons and waits for the answer: the last button is 0, the others count from
/// 1 on the left. A request that cannot be shown, or is given up by the break signal, is 0.
int ShowRequest(Host& host, std::string body, std::vector<std::string> buttons);

}  // namespace quillmere
