// Loading pictures from files for brushes, background pictures, anims and sprites: one reading of
// the options that they share, and the cache by which several objects come from one file.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/error.h"
#include "pixels/plane_convert.h"
#include "scene/brush.h"
#include "vm/vm.h"

namespace quillmere {

struct SceneState;

/// What a load command was told about the picture.
struct LoadOptions {
  /// The colour that becomes a mask.
  std::uint32_t transparency = NOTRANSPARENCY;
  bool loadAlpha = false;
  /// 0 to 255, -1 for off.
  std::int32_t globalAlpha = -1;
  /// The part of the picture that is wanted; it is cut to the picture.
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = INT32_MAX;
  std::int32_t height = INT32_MAX;
  bool hasPart = false;
  /// Keep the raw picture in the cache, or take it from there, under this name; empty for neither.
  std::string cacheName;
  bool cache = false;
  bool cacheAlpha = false;
  bool cachedLoad = false;
  /// Colours that replace those of a picture with a palette.
  std::vector<std::uint32_t> pens;
};

/// Reads the third argument of a load command: a table, or the transparent colour as a number.
/// Errors: `MaskAndAlphaExclusive`.
[[nodiscard]] Result<LoadOptions> ReadLoadOptions(VmState& state, int index,
                                                  std::string_view fileName);

/// Reads the table of pen colours at `index`, when there is one.
[[nodiscard]] Result<std::vector<std::uint32_t>> ReadPens(VmState& state, int index);

struct LoadedPicture {
  PendingPicture picture;
  std::int32_t transparentColor = noTransparentColor;
  std::shared_ptr<const std::array<std::uint32_t, 256>> palette;
};

/// Loads a picture, with the progress line `message`. Linked files are found under their names.
/// Errors: those of the reader, `NegativeCoordinatesNotAllowedHere`, `SpecifiedCoordinatesOutRange`
/// and `SizeNotPositive` for the part, `ErrorOccurredWhileProcessingGfx` for a picture that is not
/// in the cache.
[[nodiscard]] Result<LoadedPicture> LoadPicture(SceneState& scene, std::string_view fileName,
                                                MessageId message, const LoadOptions& options);

/// A raw picture that was kept when it was loaded.
struct CachedPicture {
  std::string name;
  PendingPicture picture;
  std::shared_ptr<const std::array<std::uint32_t, 256>> palette;
};

}  // namespace quillmere
