// The constants that stand for positions relative to an area, and how they become pixels.
#pragma once

#include <span>

#include "vm/vm.h"

namespace quillmere {

/// Each constant carries an offset of up to 4999 in both directions.
enum PositionConstant : int {
  CENTER = -100000,
  LEFT = -90000,
  RIGHT = -80000,
  TOP = -70000,
  BOTTOM = -60000,
  LEFTOUT = -50000,
  RIGHTOUT = -40000,
  TOPOUT = -30000,
  BOTTOMOUT = -20000
};
inline constexpr int positionBand = 4999;

/// Whether a coordinate is one of the constants with its offset.
[[nodiscard]] bool IsPositionConstant(int value);

/// The area that constants are relative to, in one direction.
struct PlacementSpan {
  int origin = 0;
  int size = 0;
};

/// The pixel that a coordinate stands for. Coordinates that are no constants of their direction are
/// given back as they are. `objectSize` is 1 for a point. `anchor` is a fraction of the object's
/// size that a placed object is moved by, since the anchor is what stands at the given place.
[[nodiscard]] int ResolveX(int x, int objectSize, const PlacementSpan& area, double anchor = 0);
[[nodiscard]] int ResolveY(int y, int objectSize, const PlacementSpan& area, double anchor = 0);

/// The constants for the script.
[[nodiscard]] std::span<const VmConstantEntry> PositionConstants();

}  // namespace quillmere
