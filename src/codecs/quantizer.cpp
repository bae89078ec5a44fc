#include "codecs/quantizer.h"

#include <algorithm>
#include <array>

#include "codecs/color_histogram.h"
#include "codecs/inverse_map.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

/// The colour that takes no part, and the index that its pixels get.
struct KeyEntry {
  /// A value that no colour has when there is no key.
  std::uint32_t color;
  std::uint8_t index;
};

const std::uint32_t* RowOf(const PixelView& image, int y) {
  return image.pixels + static_cast<std::ptrdiff_t>(y) * image.stride;
}

void MapPixels(const PixelView& image, const KeyEntry& key, InverseMap& map, std::uint8_t* out) {
  for (int y = 0; y < image.height; ++y) {
    const std::uint32_t* row = RowOf(image, y);
    for (int x = 0; x < image.width; ++x) {
      const std::uint32_t color = row[x] & 0xFFFFFF;
      *out++ = color == key.color ? key.index : map.Nearest(color);
    }
  }
}

/// What an error of -255 to 255 is cut down to: small ones pass, larger ones count half, and none
/// more than 32.
constexpr auto errorLimit = [] {
  std::array<std::int16_t, 511> table{};
  for (int error = 0; error < 256; ++error) {
    const int limited = error < 16 ? error : error < 48 ? 16 + (error - 16) / 2 : 32;
    table[255 + error] = static_cast<std::int16_t>(limited);
    table[255 - error] = static_cast<std::int16_t>(-limited);
  }
  return table;
}();

/// Floyd-Steinberg on one channel. Errors are in sixteenths; those of the row below are kept with
/// one place to spare at either end.
struct ErrorChannel {
  std::vector<std::int16_t> below;
  int carried = 0;
  int belowHere = 0;
  int belowBefore = 0;

  void BeginRow() { carried = belowHere = belowBefore = 0; }

  /// The level that is looked up: the pixel's own with the errors that reach it.
  [[nodiscard]] int Level(int level, std::size_t at) const {
    const int error = errorLimit[255 + ((carried + below[at] + 8) >> 4)];
    return std::clamp(level + error, 0, 255);
  }

  /// Spreads the error of a pixel; `before` is the place of the pixel before it in the row.
  void Spread(int error, std::size_t before) {
    below[before] = static_cast<std::int16_t>(belowBefore + 3 * error);
    belowBefore = belowHere + 5 * error;
    belowHere = error;
    carried = 7 * error;
  }

  void EndRow(std::size_t last) { below[last] = static_cast<std::int16_t>(belowBefore); }
};

class Ditherer {
 public:
  static Result<Ditherer> Make(const PixelView& image, const KeyEntry& key,
                               std::span<const std::uint32_t> palette, InverseMap& map) {
    Ditherer ditherer(image, key, palette, map);
    for (ErrorChannel& channel : ditherer.channels_) {
      channel.below = TRY(MakeArray<std::int16_t>(static_cast<std::size_t>(image.width) + 2));
    }
    return ditherer;
  }

  void Run(std::uint8_t* out) {
    for (int y = 0; y < image_.height; ++y) {
      const int step = y % 2 == 0 ? 1 : -1;
      DitherRow(RowOf(image_, y), step, out + static_cast<std::size_t>(y) * image_.width);
    }
  }

 private:
  Ditherer(const PixelView& image, const KeyEntry& key, std::span<const std::uint32_t> palette,
           InverseMap& map)
      : image_(image), key_(key), palette_(palette), map_(map) {}

  void DitherRow(const std::uint32_t* row, int step, std::uint8_t* out) {
    for (ErrorChannel& channel : channels_) channel.BeginRow();
    int x = step > 0 ? 0 : image_.width - 1;
    for (int count = 0; count < image_.width; ++count, x += step) {
      out[x] = DitherPixel(row[x] & 0xFFFFFF, static_cast<std::size_t>(x) + 1,
                           static_cast<std::size_t>(x + 1 - step));
    }
    for (ErrorChannel& channel : channels_) channel.EndRow(static_cast<std::size_t>(x + 1 - step));
  }

  std::uint8_t DitherPixel(std::uint32_t color, std::size_t at, std::size_t before) {
    if (color == key_.color) {
      // The pixel itself is exact; what its neighbours left for the row below passes on.
      for (ErrorChannel& channel : channels_) channel.Spread(0, before);
      return key_.index;
    }
    std::array<int, 3> levels;
    std::uint32_t wanted = 0;
    for (int i = 0; i < 3; ++i) {
      levels[i] = channels_[i].Level(static_cast<int>(color >> shifts[i] & 0xFF), at);
      wanted |= static_cast<std::uint32_t>(levels[i]) << shifts[i];
    }
    const std::uint8_t index = map_.Nearest(wanted);
    for (int i = 0; i < 3; ++i) {
      const int got = static_cast<int>(palette_[index] >> shifts[i] & 0xFF);
      channels_[i].Spread(levels[i] - got, before);
    }
    return index;
  }

  static constexpr std::array<int, 3> shifts{16, 8, 0};
  const PixelView& image_;
  const KeyEntry& key_;
  std::span<const std::uint32_t> palette_;
  InverseMap& map_;
  std::array<ErrorChannel, 3> channels_;
};

}  // namespace

Result<IndexedImage> QuantizeImage(const PixelView& image, const QuantizeOptions& options) {
  const bool hasKey = options.keyColor != -1;
  const bool extraEntry = hasKey || options.reserveSlot;
  auto histogram = TRY(MakeArray<std::uint16_t>(histogramCells));
  CountColors(image, options.keyColor, histogram);
  const auto colors =
      ChooseColors(histogram, std::clamp(options.colors, 1, extraEntry ? 255 : 256));

  IndexedImage result;
  result.indexes = TRY(MakeArray<std::uint8_t>(image.width, image.height));
  std::ranges::copy(colors, result.palette.begin());
  result.colors = static_cast<int>(colors.size());
  KeyEntry key{0xFFFFFFFF, static_cast<std::uint8_t>(colors.size())};
  if (extraEntry) ++result.colors;
  if (hasKey) {
    key.color = static_cast<std::uint32_t>(options.keyColor) & 0xFFFFFF;
    result.palette[key.index] = key.color;
  }
  InverseMap map(colors, std::move(histogram));
  if (options.dither) {
    TRY(Ditherer::Make(image, key, colors, map)).Run(result.indexes.data());
  } else {
    MapPixels(image, key, map, result.indexes.data());
  }
  return result;
}

}  // namespace quillmere
