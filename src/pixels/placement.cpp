#include "pixels/placement.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

#include "base/numbers.h"

namespace quillmere {
namespace {

/// The kinds of places of one direction.
enum class Place { Centre, Near, Far, NearOutside, FarOutside };

struct NamedPlace {
  PositionConstant constant;
  Place place;
};

constexpr std::array placesAcross{
    NamedPlace{CENTER, Place::Centre}, NamedPlace{LEFT, Place::Near}, NamedPlace{RIGHT, Place::Far},
    NamedPlace{LEFTOUT, Place::NearOutside}, NamedPlace{RIGHTOUT, Place::FarOutside}};
constexpr std::array placesDown{
    NamedPlace{CENTER, Place::Centre}, NamedPlace{TOP, Place::Near}, NamedPlace{BOTTOM, Place::Far},
    NamedPlace{TOPOUT, Place::NearOutside}, NamedPlace{BOTTOMOUT, Place::FarOutside}};

bool IsInBand(int value, PositionConstant constant) {
  return value >= constant - positionBand && value <= constant + positionBand;
}

std::int64_t PlaceOf(Place place, std::int64_t size, std::int64_t areaSize) {
  switch (place) {
    case Place::Centre:
      return (areaSize - size) / 2;
    case Place::Near:
      return 0;
    case Place::Far:
      return areaSize - size;
    case Place::NearOutside:
      return -size;
    case Place::FarOutside:
      return areaSize;
  }
  return 0;
}

int Resolve(std::span<const NamedPlace> places, int value, int objectSize,
            const PlacementSpan& area, double anchor) {
  const auto named = std::ranges::find_if(
      places, [value](const NamedPlace& place) { return IsInBand(value, place.constant); });
  if (named == places.end()) return value;
  const std::int64_t offset = static_cast<std::int64_t>(value) - named->constant;
  const std::int64_t place = area.origin + offset + PlaceOf(named->place, objectSize, area.size) +
                             ToInt32(objectSize * anchor);
  return ToInt32(static_cast<double>(place));
}

constexpr VmConstantEntry Constant(const char* name, PositionConstant value) {
  return {name, nullptr, static_cast<double>(value)};
}

constexpr std::array constants{
    Constant("CENTER", CENTER),     Constant("LEFT", LEFT),     Constant("RIGHT", RIGHT),
    Constant("TOP", TOP),           Constant("BOTTOM", BOTTOM), Constant("LEFTOUT", LEFTOUT),
    Constant("RIGHTOUT", RIGHTOUT), Constant("TOPOUT", TOPOUT), Constant("BOTTOMOUT", BOTTOMOUT)};

}  // namespace

bool IsPositionConstant(int value) {
  const auto isIn = [value](const NamedPlace& place) { return IsInBand(value, place.constant); };
  return std::ranges::any_of(placesAcross, isIn) || std::ranges::any_of(placesDown, isIn);
}

int ResolveX(int x, int objectSize, const PlacementSpan& area, double anchor) {
  return Resolve(placesAcross, x, objectSize, area, anchor);
}

int ResolveY(int y, int objectSize, const PlacementSpan& area, double anchor) {
  return Resolve(placesDown, y, objectSize, area, anchor);
}

std::span<const VmConstantEntry> PositionConstants() {
  return constants;
}

}  // namespace quillmere
