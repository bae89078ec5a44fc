#include "platform/opening.h"

#include <string>

namespace quillmere {
namespace {

constexpr OpeningStep steps[] = {
    {"intuition.library"},
    {"dos.library"},
    {"graphics.library"},
    {"locale.library"},
    {"utility.library"},
    {"icon.library"},
    {"layers.library"},
    {"asl.library"},
    {"datatypes.library"},
    {"workbench.library"},
    {"commodities.library"},
    {"keymap.library"},
    {"input port", Error::MessagePortSetup},
    {"input request", Error::OutOfMemory},
    {"input.device"},
    {"timer port", Error::MessagePortSetup},
    {"timer request", Error::OutOfMemory},
    {"timer.device"},
    {"cybergraphics.library"},
    {"Picasso96API.library"},
    {"requester.class"},
    {"wait signal", Error::NoSignal},
    {"wait task", Error::NoTask},
    {"event signal", Error::NoSignal},
    {"main ports", Error::CannotCreatePort},
    {"requester signal", Error::NoSignal},
    {"requester task", Error::NoTask},
    {"screen pens", Error::OutOfMemory},
    {"busy pointer", Error::CannotCreatePointer},
};

}  // namespace

std::span<const OpeningStep> OpeningSteps() {
  return steps;
}

Status OpenInOrder(ErrorContext& errors, const OpeningActions& actions, std::string_view missing) {
  for (const OpeningStep& step : steps) {
    const auto action = actions.find(step.name);
    const bool done = step.name != missing && (action == actions.end() || action->second());
    if (done) continue;
    if (step.error == Error::CannotOpen) return errors.Fail(step.error, std::string(step.name));
    return Fail(step.error);
  }
  return {};
}

}  // namespace quillmere
