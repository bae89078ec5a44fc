// The GIF stream: still pictures and anims, every frame with its own palette. With optimisation a
// frame holds only the rectangle that changed, and in it unchanged pixels are one transparent
// index.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "base/host.h"
#include "codecs/picture_reader.h"
#include "files/virtual_file.h"

namespace quillmere {

/// One open GIF stream. Destroying it without `GifClose` leaves the file without its trailer.
struct GifWriter {
  std::unique_ptr<qmFile> file;
  int width = 0;
  int height = 0;
  std::uint32_t frameCount = 0;
  /// The colour indexes of the optimised frame before; empty until there was one.
  std::vector<std::uint8_t> previousIndexes;
  /// The true indexes of the rectangle that is written.
  std::vector<std::uint8_t> workIndexes;
  /// The colours of the optimised frame before.
  Palette previousPalette{};
  /// The bytes of the frame that is written.
  std::vector<std::uint8_t> packed;
};
using GifWriterPtr = std::unique_ptr<GifWriter>;

struct GifFrame {
  /// width * height indexes; with `optimize` unchanged pixels in it are replaced.
  std::span<std::uint8_t> indexes;
  /// The frame's colours; entries behind `colors` are set to 0xFFFFFFFF.
  Palette& palette;
  /// 1 to 256.
  int colors = 256;
  /// Milliseconds that the frame stands.
  int delay = 0;
  /// The index that is transparent, -1 for none. A frame without one declares the last entry
  /// transparent.
  int transparentIndex = -1;
  /// Write only what changed since the last optimised frame.
  bool optimize = false;
};

/// Begins a GIF file of the given size, 1 to 65535 in each direction.
/// Errors: `CannotWriteFile` with the name, `OutOfMemory`.
[[nodiscard]] Result<GifWriterPtr> GifOpen(Host& host, std::string_view name, int width,
                                           int height);

/// Adds a frame. Errors: `OutOfMemory`, `CannotWriteAll`.
Status GifWriteFrame(GifWriter& writer, const GifFrame& frame);

/// Ends the file. Error: `CannotWriteAll`.
Status GifClose(GifWriterPtr writer);

}  // namespace quillmere
