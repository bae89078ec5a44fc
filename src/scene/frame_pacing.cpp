// The wait that paces scripts: the vertical blank and the frame limit.
#include "scene/redraw.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

/// How long to sleep so that frames keep their distance; nothing when they do already.
microseconds RestOfFrame(microseconds sinceLast, std::int32_t fpsLimit) {
  const std::int64_t elapsed = sinceLast.count();
  if (elapsed < 0 || elapsed >= 1000000 || elapsed >= 1000000 / fpsLimit) return {};
  return std::max(milliseconds(0), milliseconds(1000 / fpsLimit - elapsed / 1000));
}

}  // namespace

void FrameWait(SceneState& scene, qmDisplay& display) {
  Platform& platform = scene.platform();
  const FramePacing& pacing = scene.pacing;
  const bool skipBlank =
      pacing.limited && pacing.fpsLimit > platform.windows().GetDesktopInfo().refreshRate;
  if (!skipBlank) platform.time().WaitVerticalBlank();
  if (!pacing.limited) return;
  const SysTime now = platform.time().GetSysTime();
  if (display.lastFrame != SysTime{}) {
    const microseconds rest = RestOfFrame(now - display.lastFrame, pacing.fpsLimit);
    if (rest > microseconds(0)) platform.time().SleepUntil(now + rest);
  }
  display.lastFrame = platform.time().GetSysTime();
}

}  // namespace quillmere
