#include <algorithm>
#include <new>
#include <vector>

#include "pixels/image_ops.h"

namespace quillmere {
namespace {

constexpr std::uint32_t colorBits = 0xFFFFFF;

/// Fills span by span. A span reaches from border to border, over pixels that have the fill colour
/// already; only pixels that have neither colour start a span of their own.
class FloodFiller {
 public:
  FloodFiller(qmBitmap& bitmap, std::uint32_t border, std::uint32_t fill)
      : bitmap_(bitmap), border_(border & colorBits), fill_(fill & colorBits) {}

  void Run(int x, int y) {
    if (IsBorder(bitmap_.Row(y), x)) return;
    FillSpan(x, y);
    while (!starts_.empty()) {
      const Start start = starts_.back();
      starts_.pop_back();
      if (IsOpen(bitmap_.Row(start.y), start.x)) FillSpan(start.x, start.y);
    }
  }

 private:
  struct Start {
    int x;
    int y;
  };

  [[nodiscard]] bool IsBorder(const std::uint32_t* row, int x) const {
    return (row[x] & colorBits) == border_;
  }
  /// Neither border nor filled.
  [[nodiscard]] bool IsOpen(const std::uint32_t* row, int x) const {
    return !IsBorder(row, x) && (row[x] & colorBits) != fill_;
  }

  void FillSpan(int x, int y) {
    std::uint32_t* row = bitmap_.Row(y);
    int left = x, right = x + 1;
    while (left > 0 && !IsBorder(row, left - 1)) --left;
    while (right < bitmap_.width && !IsBorder(row, right)) ++right;
    std::fill(row + left, row + right, fill_);
    if (y > 0) NoteStarts(left, right, y - 1);
    if (y + 1 < bitmap_.height) NoteStarts(left, right, y + 1);
  }

  /// Notes the first pixel of each open run in a neighbour row.
  void NoteStarts(int left, int right, int y) {
    const std::uint32_t* row = bitmap_.Row(y);
    bool inRun = false;
    for (int x = left; x < right; ++x) {
      const bool open = IsOpen(row, x);
      if (open && !inRun) starts_.push_back({x, y});
      inRun = open;
    }
  }

  qmBitmap& bitmap_;
  std::uint32_t border_;
  std::uint32_t fill_;
  std::vector<Start> starts_;
};

}  // namespace

Status FloodFillPicture(qmBitmap& bitmap, int x, int y, std::uint32_t border, std::uint32_t fill) {
  if (x < 0 || y < 0 || x >= bitmap.width || y >= bitmap.height) return {};
  try {
    FloodFiller(bitmap, border, fill).Run(x, y);
  } catch (const std::bad_alloc&) {
    return Fail(Error::OutOfMemory);
  }
  return {};
}

}  // namespace quillmere
