#include "pixels/planes.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "platform/large_pages.h"

namespace quillmere {
namespace {

/// Rows begin on cache lines as far as their stride allows.
constexpr std::size_t planeAlignment = 64;
/// Behind the last row, so that the last bits may be read as a word.
constexpr std::size_t spareBytes = 4;

detail::PlaneMemory Borrow(void* memory) {
  return {static_cast<std::byte*>(memory), detail::PlaneMemoryFree{.owned = false}};
}

/// Makes a plane of a width and height from 1 to 65536 whose rows take `strideOf(width)` elements.
template <class Plane, class Element>
Result<std::shared_ptr<Plane>> AllocPlane(int width, int height, int (*strideOf)(int), bool clear) {
  if (width < 1 || height < 1 || width > maxPlaneSize || height > maxPlaneSize) {
    return Fail(Error::OutOfMemory);
  }
  const int stride = strideOf(width);
  const std::int64_t bytes = static_cast<std::int64_t>(sizeof(Element)) * stride * height;
  if (bytes > std::numeric_limits<std::int32_t>::max()) return Fail(Error::OutOfMemory);
  const std::size_t needed = static_cast<std::size_t>(bytes) + spareBytes;
  const bool isLarge = needed >= largeBlockSize;
  const std::size_t alignment = isLarge ? largePageSize : planeAlignment;
  const std::size_t padded = (needed + alignment - 1) / alignment * alignment;
  detail::PlaneMemory memory(static_cast<std::byte*>(std::aligned_alloc(alignment, padded)));
  if (!memory) return Fail(Error::OutOfMemory);
  if (isLarge) PreferLargePages(memory.get(), padded);
  if (clear) std::memset(memory.get(), 0, padded);
  try {
    return std::make_shared<Plane>(std::move(memory), width, height, stride);
  } catch (const std::bad_alloc&) {
    return Fail(Error::OutOfMemory);
  }
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

namespace {

/// The smallest size of the planes that are there; 0 for none.
template <class SizeOf>
int SmallestSize(const Planes& planes, SizeOf sizeOf) {
  constexpr int none = maxPlaneSize + 1;
  const int size = std::min({planes.bitmap ? sizeOf(*planes.bitmap) : none,
                             planes.mask ? sizeOf(*planes.mask) : none,
                             planes.alpha ? sizeOf(*planes.alpha) : none});
  return size == none ? 0 : size;
}

}  // namespace

int Planes::Width() const {
  return SmallestSize(*this, [](const auto& plane) { return plane.width; });
}

int Planes::Height() const {
  return SmallestSize(*this, [](const auto& plane) { return plane.height; });
}

Result<BitmapPtr> AllocBitmap(int width, int height) {
  return AllocPlane<qmBitmap, std::uint32_t>(width, height, BitmapPixelsPerRow, false);
}

Result<MaskPtr> AllocMask(int width, int height, bool clear) {
  return AllocPlane<qmMask, std::uint8_t>(width, height, MaskBytesPerRow, clear);
}

Result<AlphaPtr> AllocAlphaMap(int width, int height, bool clear) {
  return AllocPlane<qmAlphaMap, std::uint8_t>(width, height, AlphaBytesPerRow, clear);
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
