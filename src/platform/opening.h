// The steps of opening a platform, in their order, and what each is called when it fails.
#pragma once

#include <functional>
#include <map>
#include <span>
#include <string_view>

#include "base/error.h"

namespace quillmere {

/// One step. A facility that is missing is `Error::CannotOpen` with the step's name as argument;
/// other steps have an error of their own.
struct OpeningStep {
  std::string_view name;
  Error error = Error::CannotOpen;
};

/// All steps in the order in which they are taken.
[[nodiscard]] std::span<const OpeningStep> OpeningSteps();

/// What a back-end does at a step, by the step's name; false when it fails. A step that is not
/// here has no counterpart on this platform and passes.
using OpeningActions = std::map<std::string_view, std::function<bool()>>;

/// Takes the steps in order up to the first that fails. The step named `missing` fails in any case,
/// so that a test can see each failure.
[[nodiscard]] Status OpenInOrder(ErrorContext& errors, const OpeningActions& actions,
                                 std::string_view missing);

}  // namespace quillmere
