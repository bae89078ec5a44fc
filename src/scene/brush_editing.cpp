// Commands that change the pixels of a brush. Each builds its new planes whole before the old ones
// go, so that a failure leaves the brush as it was.
#include <algorithm>
#include <vector>

#include "base/numbers.h"
#include "pixels/blit.h"
#include "pixels/image_ops.h"
#include "pixels/mask_ops.h"
#include "pixels/placement.h"
#include "pixels/scale.h"
#include "pixels/transform.h"
#include "scene/brush_commands.h"
#include "scene/scene_state.h"
#include "scene/size_arguments.h"

namespace quillmere {
namespace {

constexpr int fullLevel = 255;

SceneState& Scene(VmState& state) {
  return vmRoom<SceneState>(state);
}

Result<qmBrush*> BrushToModify(VmState& state) {
  return FindBrushToModify(Scene(state), vmArgId(state, 1));
}

Area WholeOf(const qmBrush& brush) {
  return {0, 0, brush.width, brush.height};
}

bool ArgSwitch(VmState& state, int index) {
  return vmArgOptInt(state, index, 0) != 0;
}

/// A level from 0 to 255, or a percentage of that.
int ArgLevel(VmState& state, int index) {
  return ToInt32(vmArgPercent(state, index, fullLevel, true));
}

/// Gives a brush its transformed planes. Vector brushes are taken too, and marked.
CommandResult Transform(VmState& state, const ObjectId& id, const Matrix& matrix, bool smooth) {
  qmBrush* brush = TRY(FindBrush(Scene(state), id, FIND_MODIFY));
  brush->vectorTransformed = brush->imageType != IMAGETYPE_RASTER;
  ReplaceBrushPlanes(*brush, TRY(TransformPlanes(brush->planes, WholeOf(*brush), matrix, smooth)));
  return 0;
}

/// Cuts a brush to a rectangle that lies in it.
Status Crop(qmBrush& brush, const Area& area) {
  Planes planes = TRY(CopyPlanes(brush.planes, area.x, area.y, area.width, area.height));
  ReplaceBrushPlanes(brush, std::move(planes));
  return {};
}

/// Refuses a point that is not in the brush.
Status RequireInside(const qmBrush& brush, std::int32_t x, std::int32_t y) {
  if (x < 0 || y < 0) return Fail(Error::NegativeCoordinatesNotAllowedHere);
  if (x >= brush.width || y >= brush.height) return Fail(Error::SpecifiedCoordinatesOutRange);
  return {};
}

/// The pairs of colours in the list at `index`.
Result<std::vector<ColorPair>> ReadColorPairs(VmState& state, int index) {
  vmArgTable(state, index);
  std::vector<std::uint32_t> colors;
  for (int i = 0;; ++i) {
    vmRawGetInt(state, index, i);
    const bool ends = vmType(state, -1) == VmType::Nil;
    if (!ends) colors.push_back(vmArgUnsigned(state, vmGetTop(state)) & 0xFFFFFF);
    vmPop(state, 1);
    if (ends) break;
  }
  if (colors.size() % 2 != 0) return Fail(Error::WrongUsage);
  std::vector<ColorPair> pairs;
  for (std::size_t i = 0; i < colors.size(); i += 2) pairs.push_back({colors[i], colors[i + 1]});
  return pairs;
}

}  // namespace

CommandResult ScaleBrush(VmState& state) {
  vmCheckArgs(state, 3, 4);
  const bool smooth = ArgSwitch(state, 4);
  qmBrush* brush = TRY(BrushToModify(state));
  const PictureSizeArguments size = TRY(ReadSizeArguments(state, 2, brush->width, brush->height));
  if (size.width == brush->width && size.height == brush->height) return 0;
  ReplaceBrushPlanes(*brush, TRY(ScalePlanes(Scene(state).pixels().scaleTables, brush->planes,
                                             WholeOf(*brush), size.width, size.height, smooth)));
  return 0;
}

CommandResult RotateBrush(VmState& state) {
  vmCheckArgs(state, 2, 5);
  const ObjectId id = vmArgId(state, 1);
  const std::int32_t angle = vmArgInt(state, 2) % 360;
  const double scaleX = vmArgOptNumber(state, 3, 1);
  const double scaleY = vmArgOptNumber(state, 4, 1);
  TRY(RequireNotSelectedBrush(Scene(state), id));
  if (scaleX == 0 || scaleY == 0) return Error::WrongUsage;
  return Transform(state, id, BuildMatrix(0, 0, 1, 1, angle, scaleX, scaleY), ArgSwitch(state, 5));
}

CommandResult TransformBrush(VmState& state) {
  vmCheckArgs(state, 5, 6);
  const ObjectId id = vmArgId(state, 1);
  const Matrix matrix{vmArgNumber(state, 2), vmArgNumber(state, 3), vmArgNumber(state, 4),
                      vmArgNumber(state, 5)};
  if (matrix.m00 == 0 || matrix.m11 == 0) return Error::WrongUsage;
  TRY(RequireNotSelectedBrush(Scene(state), id));
  return Transform(state, id, matrix, ArgSwitch(state, 6));
}

CommandResult CropBrush(VmState& state) {
  vmCheckArgs(state, 5, 5);
  Area area{vmArgInt(state, 2), vmArgInt(state, 3), vmArgInt(state, 4), vmArgInt(state, 5)};
  qmBrush* brush = TRY(BrushToModify(state));
  TRY(RequireInside(*brush, area.x, area.y));
  if (area.Empty()) return Error::SizeNotPositive;
  area.width = std::min(area.width, brush->width - area.x);
  area.height = std::min(area.height, brush->height - area.y);
  return Crop(*brush, area);
}

CommandResult TrimBrush(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmBrush* brush = TRY(BrushToModify(state));
  Area box{0, 0, brush->width, brush->height};
  if (!brush->planes.IsOpaque()) {
    box = Intersect(box, brush->planes.mask ? VisibleBox(*brush->planes.mask)
                                            : VisibleBox(*brush->planes.alpha));
    if (box.Empty()) return Error::BrushFullyTransparent;
    TRY(Crop(*brush, box));
  }
  vmPushNumber(state, box.x);
  vmPushNumber(state, box.y);
  return 2;
}

CommandResult DeleteMask(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmBrush* brush = TRY(BrushToModify(state));
  brush->planes.mask.reset();
  brush->transparentColor = noTransparentColor;
  return 0;
}

CommandResult DeleteAlphaChannel(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmBrush* brush = TRY(BrushToModify(state));
  brush->planes.alpha.reset();
  return 0;
}

CommandResult InvertMask(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmBrush* brush = TRY(BrushToModify(state));
  if (!brush->planes.mask) return Error::WrongUsage;
  InvertMask(*brush->planes.mask);
  return 0;
}

CommandResult InvertAlphaChannel(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmBrush* brush = TRY(BrushToModify(state));
  if (!brush->planes.alpha) return Error::WrongUsage;
  InvertAlpha(*brush->planes.alpha);
  return 0;
}

CommandResult InvertBrush(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmBrush* brush = TRY(BrushToModify(state));
  InvertPicture(*brush->planes.bitmap);
  return 0;
}

CommandResult BrushToGray(VmState& state) {
  vmCheckArgs(state, 1, 1);
  qmBrush* brush = TRY(BrushToModify(state));
  GrayPicture(*brush->planes.bitmap);
  return 0;
}

CommandResult FlipBrush(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const bool horizontal = vmArgInt(state, 2) != 0;
  qmBrush* brush = TRY(BrushToModify(state));
  return FlipPlanes(brush->planes, horizontal);
}

CommandResult TintBrush(VmState& state) {
  vmCheckArgs(state, 3, 3);
  const std::uint32_t color = vmArgUnsigned(state, 2) & 0xFFFFFF;
  const int level = ArgLevel(state, 3);
  qmBrush* brush = TRY(BrushToModify(state));
  if (level < 0 || level > fullLevel) return Error::WrongUsage;
  TintPicture(*brush->planes.bitmap, WholeOf(*brush), color, level);
  return 0;
}

CommandResult MixBrush(VmState& state) {
  vmCheckArgs(state, 3, 3);
  const int ratio = std::clamp(ArgLevel(state, 3), 0, fullLevel);
  qmBrush* brush = TRY(BrushToModify(state));
  const qmBrush* other = TRY(FindBrush(Scene(state), vmArgId(state, 2)));
  if (other == brush) return 0;
  const BlitArea area{.width = std::min(brush->width, other->width),
                      .height = std::min(brush->height, other->height)};
  BlendUniform(*brush->planes.bitmap, *other->planes.bitmap, area, ratio);
  return 0;
}

CommandResult ReplaceColors(VmState& state) {
  vmCheckArgs(state, 2, 2);
  qmBrush* brush = TRY(BrushToModify(state));
  const std::vector<ColorPair> pairs = TRY(ReadColorPairs(state, 2));
  ReplaceColorList(*brush->planes.bitmap, pairs);
  return 0;
}

CommandResult FloodFill(VmState& state) {
  vmCheckArgs(state, 5, 5);
  const std::uint32_t border = vmArgUnsigned(state, 4) & 0xFFFFFF;
  const std::uint32_t fill = vmArgUnsigned(state, 5) & 0xFFFFFF;
  qmBrush* brush = TRY(BrushToModify(state));
  const std::int32_t x = ResolveX(vmArgInt(state, 2), 1, {0, brush->width});
  const std::int32_t y = ResolveY(vmArgInt(state, 3), 1, {0, brush->height});
  TRY(RequireInside(*brush, x, y));
  return FloodFillPicture(*brush->planes.bitmap, x, y, border, fill);
}

CommandResult SetBrushTransparency(VmState& state) {
  vmCheckArgs(state, 2, 2);
  const std::uint32_t color = vmArgUnsigned(state, 2);
  qmBrush* brush = TRY(BrushToModify(state));
  if (color == NOTRANSPARENCY) {
    brush->planes.mask.reset();
    brush->transparentColor = noTransparentColor;
    return 0;
  }
  MaskPtr mask = TRY(KeyToMask(*brush->planes.bitmap, color & 0xFFFFFF));
  brush->planes.mask = std::move(mask);
  brush->planes.alpha.reset();
  brush->transparentColor = static_cast<std::int32_t>(color);
  return 0;
}

}  // namespace quillmere
