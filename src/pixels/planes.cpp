#include "pixels/planes.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace quillmere {
namespace {

/// Rows begin on cache lines as far as their stride allows.
constexpr std::size_t planeAlignment = 64;
/// Behind the last row, so that the last bits may be read as a word.
constexpr std::size_t spareBytes = 4;

detail::PlaneMemory Borrow(void* memory) {
  return {static_cast<std::byte*>(memory), detail::PlaneMemoryFree{.owned = false}};
}

/// The width, if a plane of that size can be.
Result<int> CheckSize(int width, int height) {
  const bool fits = width >= 1 && height >= 1 && width <= maxPlaneSize && height <= maxPlaneSize;
  if (!fits) return Fail(Error::OutOfMemory);
  return width;
}

Result<detail::PlaneMemory> AllocPlane(int rowBytes, int height, bool clear) {
  const std::int64_t bytes = static_cast<std::int64_t>(rowBytes) * height;
  if (bytes > std::numeric_limits<std::int32_t>::max()) return Fail(Error::OutOfMemory);
  const std::size_t padded = (static_cast<std::size_t>(bytes) + spareBytes + planeAlignment - 1) /
                             planeAlignment * planeAlignment;
  void* memory = std::aligned_alloc(planeAlignment, padded);
  if (memory == nullptr) return Fail(Error::OutOfMemory);
  if (clear) std::memset(memory, 0, padded);
  return detail::PlaneMemory(static_cast<std::byte*>(memory));
}

}  // namespace

namespace detail {
void PlaneMemoryFree::operator()(std::byte* memory) const {
  if (owned) std::free(memory);  // NOLINT: the counterpart of aligned_alloc
}
}  // namespace detail

qmBitmap::qmBitmap(detail::PlaneMemory memory, int planeWidth, int planeHeight, int stride)
    : width(planeWidth),
      height(planeHeight),
      pixelsPerRow(stride),
      memory_(std::move(memory)),
      pixels_(reinterpret_cast<std::uint32_t*>(memory_.get())) {}

qmMask::qmMask(detail::PlaneMemory memory, int planeWidth, int planeHeight, int stride)
    : width(planeWidth),
      height(planeHeight),
      bytesPerRow(stride),
      memory_(std::move(memory)),
      bits_(reinterpret_cast<std::uint8_t*>(memory_.get())) {}

qmAlphaMap::qmAlphaMap(detail::PlaneMemory memory, int planeWidth, int planeHeight, int stride)
    : width(planeWidth),
      height(planeHeight),
      bytesPerRow(stride),
      memory_(std::move(memory)),
      bytes_(reinterpret_cast<std::uint8_t*>(memory_.get())) {}

int Planes::Width() const {
  return bitmap ? bitmap->width : mask ? mask->width : alpha ? alpha->width : 0;
}

int Planes::Height() const {
  return bitmap ? bitmap->height : mask ? mask->height : alpha ? alpha->height : 0;
}

Result<BitmapPtr> AllocBitmap(int width, int height) {
  const int stride = BitmapPixelsPerRow(TRY(CheckSize(width, height)));
  return std::make_shared<qmBitmap>(
      TRY(AllocPlane(stride * qmBitmap::bytesPerPixel, height, false)), width, height, stride);
}

Result<MaskPtr> AllocMask(int width, int height, bool clear) {
  const int stride = MaskBytesPerRow(TRY(CheckSize(width, height)));
  return std::make_shared<qmMask>(TRY(AllocPlane(stride, height, clear)), width, height, stride);
}

Result<AlphaPtr> AllocAlphaMap(int width, int height, bool clear) {
  const int stride = AlphaBytesPerRow(TRY(CheckSize(width, height)));
  return std::make_shared<qmAlphaMap>(TRY(AllocPlane(stride, height, clear)), width, height,
                                      stride);
}

qmBitmap ViewBitmap(std::uint32_t* pixels, int pixelsPerRow, int width, int height) {
  return {Borrow(pixels), width, height, pixelsPerRow};
}

qmMask ViewMask(std::uint8_t* bits, int bytesPerRow, int width, int height) {
  return {Borrow(bits), width, height, bytesPerRow};
}

qmAlphaMap ViewAlphaMap(std::uint8_t* bytes, int bytesPerRow, int width, int height) {
  return {Borrow(bytes), width, height, bytesPerRow};
}

}  // namespace quillmere
