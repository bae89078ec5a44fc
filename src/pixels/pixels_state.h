// The words of this room: the parameters of blits, the outputs that the scene has joined, and
// buffers that are kept between calls.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "base/host.h"
#include "pixels/mask_ops.h"
#include "pixels/registry.h"
#include "pixels/safeblt.h"
#include "pixels/scale.h"

namespace quillmere {

/// `alphaIntensity` for bytes that are copied as they are.
inline constexpr int VANILLACOPY = -1;

struct PixelsState {
  static constexpr Room room = Room::pixels;

  /// Set by `SetMaskMode`.
  MaskMode maskMode = MASKVISIBLE;
  /// Set by `SetAlphaIntensity`: 0 to 255, or VANILLACOPY.
  int alphaIntensity = VANILLACOPY;

  /// The current display; null before there is one. The scene keeps it up to date.
  BlitOutput* output = nullptr;
  /// Stands in while an effect works without a display.
  BlitOutput* fallbackOutput = nullptr;

  /// Who shows which object.
  ObjectDirectory objects;

  /// Joined by the room that knows: the palette of the current output picture (empty for none) and
  /// the screen's bits per pixel.
  std::function<std::span<const std::uint32_t>()> outputPalette;
  std::function<int()> screenDepth;

  /// Work tables of the scalers; they grow only.
  ScaleTables scaleTables;
  /// Source planes cut to the shape of a clip region; they grow only.
  MaskPtr clipMask;
  AlphaPtr clipAlpha;
};

}  // namespace quillmere
