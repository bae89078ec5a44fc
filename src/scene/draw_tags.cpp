// Reading the table that goes with a display command.
#include <cmath>

#include "base/numbers.h"
#include "scene/display_object.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

constexpr std::size_t maxLayerName = 255;

class TagReader {
 public:
  TagReader(VmState& state, int index) : state_(state), index_(index) {}

  Result<qmDrawTags> Read(std::int32_t width, std::int32_t height) {
    TRY(ReadTransform());
    qmTransform& transform = tags_.transform;
    transform.matrix = transform.hasGiven
                           ? transform.given
                           : BuildMatrix(transform.width, transform.height, std::max(width, 1),
                                         std::max(height, 1), transform.rotate, transform.scaleX,
                                         transform.scaleY);
    vmGetFieldBool(state_, index_, "smoothscale", transform.smooth);
    TRY(ReadAnchor("anchorx", transform.anchorX));
    TRY(ReadAnchor("anchory", transform.anchorY));
    vmGetFieldBool(state_, index_, "hidden", tags_.hidden);
    tags_.transparency = ReadLevel("transparency");
    tags_.tint = ReadLevel("tint");
    vmGetFieldUnsigned(state_, index_, "tintcolor", tags_.tintColor);
    TRY(ReadPlace());
    vmGetFieldString(state_, index_, "name", tags_.name);
    if (tags_.name.size() > maxLayerName) return Fail(Error::SpecifiedNameTooLong);
    return std::move(tags_);
  }

 private:
  Status ReadTransform() {
    qmTransform& transform = tags_.transform;
    if (TRY(ReadMatrix(transform))) return {};
    const bool hasScaleX = vmGetFieldNumber(state_, index_, "scalex", transform.scaleX);
    const bool hasScaleY = vmGetFieldNumber(state_, index_, "scaley", transform.scaleY);
    if (transform.scaleX == 0 || transform.scaleY == 0) return Fail(Error::WrongUsage);
    if (!hasScaleX && !hasScaleY) {
      vmGetFieldInt(state_, index_, "width", transform.width);
      vmGetFieldInt(state_, index_, "height", transform.height);
    }
    vmGetFieldInt(state_, index_, "rotate", transform.rotate);
    transform.rotate %= 360;
    return {};
  }

  Result<bool> ReadMatrix(qmTransform& transform) {
    if (!vmPushField(state_, index_, "transform")) return false;
    const int table = vmGetTop(state_);
    vmArgTable(state_, table);
    double* const cells[] = {&transform.given.m00, &transform.given.m01, &transform.given.m10,
                             &transform.given.m11};
    for (int i = 0; i < 4; ++i) {
      vmRawGetInt(state_, table, i);
      *cells[i] = vmFieldNumber(state_, -1, "transform");
      vmPop(state_, 1);
    }
    vmSetTop(state_, table - 1);
    if (transform.given.m00 == 0 || transform.given.m11 == 0) return Fail(Error::WrongUsage);
    transform.hasGiven = true;
    return true;
  }

  Status ReadAnchor(const char* name, double& anchor) {
    vmGetFieldNumber(state_, index_, name, anchor);
    if (!(anchor >= 0 && anchor <= 1)) return Fail(Error::WrongUsage);
    return {};
  }

  std::int32_t ReadLevel(const char* name) {
    double level = 0;
    vmGetFieldPercent(state_, index_, name, 255, true, level);
    return std::clamp(ToInt32(level), 0, 255);
  }

  Status ReadPlace() {
    const SceneState& scene = vmRoom<SceneState>(state_);
    const auto top = static_cast<std::int32_t>(scene.currentOutput->layers.size()) + 1;
    vmGetFieldInt(state_, index_, "insertpos", tags_.insertPos);
    if (tags_.insertPos < 0) return Fail(Error::InvalidInsertPositionSpecified);
    tags_.insertPos = std::min(tags_.insertPos, top);
    const bool isBelowTop = tags_.insertPos != 0 && tags_.insertPos != top;
    tags_.needsRedraw = isBelowTop || tags_.hidden || tags_.transparency != 0 || tags_.tint != 0;
    return {};
  }

  VmState& state_;
  int index_;
  qmDrawTags tags_;
};

}  // namespace

Result<qmDrawTags> ReadDrawTags(VmState& state, int index, std::int32_t width,
                                std::int32_t height) {
  if (index == 0) return qmDrawTags{};
  return TagReader(state, index).Read(width, height);
}

}  // namespace quillmere
