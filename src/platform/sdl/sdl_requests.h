// Choices in the message box of SDL.
#pragma once

#include "platform/requesters.h"

namespace quillmere {

/// Shows a choice and waits for its answer, on any task.
[[nodiscard]] RequesterAnswer ShowMessageBox(const RequesterCall& call);

}  // namespace quillmere
