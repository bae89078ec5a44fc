#include "scene/size_arguments.h"

#include <cmath>

#include "base/numbers.h"
#include "scene/geometry.h"

namespace quillmere {
namespace {

/// Truncated, and one more when the fraction is at least a half.
std::int32_t Rounded(double value) {
  const double whole = std::trunc(value);
  return ToInt32(value - whole >= 0.5 ? whole + 1 : whole);
}

}  // namespace

Result<PictureSizeArguments> ReadSizeArguments(VmState& state, int index, std::int32_t oldWidth,
                                               std::int32_t oldHeight) {
  PictureSizeArguments size{ToInt32(vmArgPercent(state, index, oldWidth, true)),
                            ToInt32(vmArgPercent(state, index + 1, oldHeight, true))};
  const bool keepsWidth = size.width == KEEPASPRAT;
  const bool keepsHeight = size.height == KEEPASPRAT;
  if (keepsWidth && keepsHeight) return Fail(Error::WrongUsage);
  if (size.width < 1 || size.height < 1) return Fail(Error::SizeNotPositive);
  const double ratio = static_cast<double>(oldWidth) / oldHeight;
  if (keepsWidth) size.width = Rounded(size.height * ratio);
  if (keepsHeight) size.height = Rounded(size.width / ratio);
  if (size.width < 1 || size.height < 1) return Fail(Error::SizeNotPositive);
  return size;
}

}  // namespace quillmere
