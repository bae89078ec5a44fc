#include "codecs/gif_writer.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/byte_order.h"
#include "codecs/gif_lzw.h"
#include "codecs/picture_file.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

/// Sizes and places are of 16 bits.
constexpr int maxSize = 65535;

struct FrameRect {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

using Bytes = std::vector<std::uint8_t>;

void Put16(Bytes& out, int value) {
  out.push_back(static_cast<std::uint8_t>(value));
  out.push_back(static_cast<std::uint8_t>(value >> 8));
}

void PutText(Bytes& out, std::string_view text) {
  out.insert(out.end(), text.begin(), text.end());
}

/// Tells which pixels of a frame differ from the frame before.
class FrameComparer {
 public:
  FrameComparer(const GifWriter& writer, const GifFrame& frame) : writer_(writer), frame_(frame) {
    newIndex_.fill(unknown);
  }

  /// The smallest rectangle that holds every pixel that differs; two pixels at the origin when none
  /// does.
  FrameRect ChangedRect() {
    const auto first = FirstDifference(0, writer_.height, 1);
    if (!first) return {0, 0, std::min(2, writer_.width), 1};
    const auto last = FirstDifference(writer_.height - 1, first->y, -1).value_or(*first);
    int left = std::min(first->x, last.x);
    int right = std::max(first->x, last.x);
    left = FirstColumn(0, left, 1, first->y, last.y);
    right = FirstColumn(writer_.width - 1, right, -1, first->y, last.y);
    return {left, first->y, right - left + 1, last.y - first->y + 1};
  }

 private:
  struct Place {
    int x;
    int y;
  };

  static constexpr std::int16_t unknown = -2;
  static constexpr std::int16_t none = -1;

  /// The entry of the new palette with the colour of an old index.
  std::int16_t NewIndexOf(std::uint8_t old) {
    std::int16_t& index = newIndex_[old];
    if (index == unknown) {
      const auto found = std::ranges::find(frame_.palette, writer_.previousPalette[old]);
      index = found == frame_.palette.end()
                  ? none
                  : static_cast<std::int16_t>(found - frame_.palette.begin());
    }
    return index;
  }

  bool Differs(int x, int y) {
    const std::size_t at = static_cast<std::size_t>(y) * writer_.width + x;
    return NewIndexOf(writer_.previousIndexes[at]) != frame_.indexes[at];
  }

  /// The leftmost difference of the first row that has one.
  std::optional<Place> FirstDifference(int from, int to, int step) {
    for (int y = from; y != to; y += step) {
      for (int x = 0; x < writer_.width; ++x) {
        if (Differs(x, y)) return Place{x, y};
      }
    }
    return std::nullopt;
  }

  /// The first column with a difference in the rows from `top` to `bottom`, `to` when none has.
  int FirstColumn(int from, int to, int step, int top, int bottom) {
    for (int x = from; x != to; x += step) {
      for (int y = top; y <= bottom; ++y) {
        if (Differs(x, y)) return x;
      }
    }
    return to;
  }

  const GifWriter& writer_;
  const GifFrame& frame_;
  std::array<std::int16_t, 256> newIndex_;
};

/// Applies a function to the offset of each row of a rectangle in the frame and its place in a
/// packed copy.
template <class Function>
void ForRows(const FrameRect& rect, int frameWidth, Function function) {
  for (int y = 0; y < rect.height; ++y) {
    function(static_cast<std::size_t>(rect.top + y) * frameWidth + rect.left,
             static_cast<std::size_t>(y) * rect.width);
  }
}

/// Keeps the true indexes of the rectangle.
Status KeepIndexes(GifWriter& writer, const GifFrame& frame, const FrameRect& rect) {
  writer.workIndexes = TRY(MakeArray<std::uint8_t>(rect.width, rect.height));
  ForRows(rect, writer.width, [&](std::size_t at, std::size_t packedAt) {
    std::memcpy(&writer.workIndexes[packedAt], &frame.indexes[at],
                static_cast<std::size_t>(rect.width));
  });
  return {};
}

/// Makes every pixel that keeps its colour transparent.
void HideUnchanged(const GifWriter& writer, const GifFrame& frame, const FrameRect& rect) {
  const auto hidden = static_cast<std::uint8_t>(frame.colors - 1);
  ForRows(rect, writer.width, [&](std::size_t at, std::size_t) {
    for (std::size_t i = at; i < at + static_cast<std::size_t>(rect.width); ++i) {
      const std::uint32_t before = writer.previousPalette[writer.previousIndexes[i]];
      if (before == frame.palette[frame.indexes[i]]) frame.indexes[i] = hidden;
    }
  });
}

/// Makes the frame the one that the next is compared with.
Status RememberFrame(GifWriter& writer, const GifFrame& frame, const FrameRect& rect) {
  if (writer.previousIndexes.empty()) {
    writer.previousIndexes = TRY(MakeArray<std::uint8_t>(writer.width, writer.height));
  }
  ForRows(rect, writer.width, [&](std::size_t at, std::size_t packedAt) {
    std::memcpy(&writer.previousIndexes[at], &writer.workIndexes[packedAt],
                static_cast<std::size_t>(rect.width));
  });
  writer.previousPalette = frame.palette;
  return {};
}

void PutControl(const GifWriter& writer, const GifFrame& frame, Bytes& out) {
  constexpr std::uint8_t restoreAndTransparent = 9;
  constexpr std::uint8_t leaveAndTransparent = 5;
  const bool hasKey = frame.transparentIndex != -1;
  PutText(out, "\x21\xF9\x04");
  out.push_back(hasKey ? restoreAndTransparent : leaveAndTransparent);
  Put16(out, frame.delay / 10);
  out.push_back(static_cast<std::uint8_t>(hasKey ? frame.transparentIndex : frame.colors - 1));
  out.push_back(0);
  if (writer.frameCount > 0) return;
  PutText(out, "\x21\xFF\x0BNETSCAPE2.0\x03\x01");
  Put16(out, 0);  // for ever
  out.push_back(0);
}

void PutDescriptor(const FrameRect& rect, int bits, const Palette& palette, Bytes& out) {
  out.push_back(0x2C);
  for (const int value : {rect.left, rect.top, rect.width, rect.height}) Put16(out, value);
  out.push_back(static_cast<std::uint8_t>((bits - 1) | 0x80));
  for (int i = 0; i < 1 << bits; ++i) {
    out.push_back(static_cast<std::uint8_t>(palette[i] >> 16));
    out.push_back(static_cast<std::uint8_t>(palette[i] >> 8));
    out.push_back(static_cast<std::uint8_t>(palette[i]));
  }
}

/// Compresses the rectangle, which is copied together unless it is as wide as the frame.
void PutData(const GifWriter& writer, const GifFrame& frame, const FrameRect& rect, int bits,
             Bytes& out) {
  const std::size_t start = static_cast<std::size_t>(rect.top) * writer.width;
  const std::size_t count = static_cast<std::size_t>(rect.width) * rect.height;
  if (rect.width == writer.width) {
    EncodeGifData(frame.indexes.subspan(start, count), bits, out);
    return;
  }
  Bytes rows(count);
  ForRows(rect, writer.width, [&](std::size_t at, std::size_t packedAt) {
    std::memcpy(&rows[packedAt], &frame.indexes[at], static_cast<std::size_t>(rect.width));
  });
  EncodeGifData(rows, bits, out);
}

Status WriteFrame(GifWriter& writer, const GifFrame& frame) {
  std::fill(frame.palette.begin() + frame.colors, frame.palette.end(), 0xFFFFFFFF);
  const int bits =
      std::max(1, static_cast<int>(std::bit_width(static_cast<unsigned>(frame.colors - 1))));
  const bool onlyChanges =
      frame.optimize && !writer.previousIndexes.empty() && frame.transparentIndex == -1;
  FrameRect rect{0, 0, writer.width, writer.height};
  if (onlyChanges) rect = FrameComparer(writer, frame).ChangedRect();
  if (frame.optimize) TRY(KeepIndexes(writer, frame, rect));
  if (onlyChanges) HideUnchanged(writer, frame, rect);

  writer.packed.clear();
  PutControl(writer, frame, writer.packed);
  PutDescriptor(rect, bits, frame.palette, writer.packed);
  PutData(writer, frame, rect, bits, writer.packed);
  TRY(WriteAll(*writer.file, writer.packed));
  ++writer.frameCount;
  if (frame.optimize) TRY(RememberFrame(writer, frame, rect));
  return {};
}

/// The global table is never referred to, since every frame brings its own.
Bytes MakeHeader(int width, int height) {
  constexpr std::size_t tableSize = 768;
  Bytes out;
  PutText(out, "GIF89a");
  Put16(out, width);
  Put16(out, height);
  PutText(out, {"\xF7\0\0", 3});
  const std::size_t tableAt = out.size();
  PutText(out, "Amiga rules!");
  out.resize(tableAt + tableSize);
  return out;
}

}  // namespace

Result<GifWriterPtr> GifOpen(Host& host, std::string_view name, int width, int height) try {
  if (width < 1 || width > maxSize || height < 1 || height > maxSize) {
    return host.errors.Fail(Error::CannotWriteFile, std::string(name));
  }
  auto writer = std::make_unique<GifWriter>();
  writer->width = width;
  writer->height = height;
  writer->file = TRY(CreatePictureFile(host, name));
  TRY(WriteAll(*writer->file, MakeHeader(width, height)));
  return writer;
} catch (const std::bad_alloc&) {
  return Fail(Error::OutOfMemory);
}

Status GifWriteFrame(GifWriter& writer, const GifFrame& frame) try {
  return WriteFrame(writer, frame);
} catch (const std::bad_alloc&) {
  return Fail(Error::OutOfMemory);
}

Status GifClose(GifWriterPtr writer) {
  constexpr std::uint8_t trailer = 0x3B;
  if (!writer->file->WriteByte(trailer) || !writer->file->Flush()) {
    return Fail(Error::CannotWriteAll);
  }
  return {};
}

}  // namespace quillmere
