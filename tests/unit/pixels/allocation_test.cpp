// Counts what the drawing operations allocate once their kept buffers have grown. A checker of
// memory brings its own operators, so that there nothing is counted.
#include <gtest/gtest.h>

#if !defined(__SANITIZE_ADDRESS__)

#include <atomic>
#include <cstdlib>
#include <new>

#include "pixels/blit.h"
#include "pixels/pixels_state.h"
#include "pixels/scale.h"
#include "unit/pixels/fake_output.h"
#include "unit/pixels/random_pictures.h"

namespace {
std::atomic<std::size_t> allocations;
}  // namespace

void* operator new(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace quillmere {
namespace {

using test::Dice;

template <class Work>
std::size_t AllocationsOf(Work work) {
  const std::size_t before = allocations;
  work();
  return allocations - before;
}

TEST(Allocation, TheCounterCounts) {
  EXPECT_EQ(AllocationsOf([] { EXPECT_TRUE(AllocMask(8, 8, true)); }), 1u)
      << "one for the record of a plane, whose memory is not counted";
}

TEST(Allocation, WarmScalersMakeNothingButTheirResult) {
  Dice dice(30);
  ScaleTables tables;
  const Planes source{dice.Bitmap(40, 30), dice.Mask(40, 30), dice.Alpha(40, 30)};
  const auto target = dice.Bitmap(200, 150);
  const Area whole{0, 0, 40, 30};
  const auto scaleInto = [&](int width, int height, bool smooth) {
    EXPECT_TRUE(ScaleBitmapInto(tables, *source.bitmap, whole, *target, width, height, smooth));
  };
  const auto scale = [&](int width, int height, bool smooth) {
    EXPECT_TRUE(ScalePlanes(tables, source, whole, width, height, smooth));
  };
  scale(200, 150, true);
  for (const bool smooth : {true, false}) {
    for (const auto& [width, height] : {std::pair{200, 150}, {70, 9}, {1, 1}, {33, 150}}) {
      EXPECT_EQ(AllocationsOf([&] { scaleInto(width, height, smooth); }), 0u);
      EXPECT_EQ(AllocationsOf([&] { scale(width, height, smooth); }), 3u) << "three new planes";
    }
  }
  EXPECT_GT(AllocationsOf([&] { scaleInto(201, 150, true); }), 0u) << "the tables grow";
}

TEST(Allocation, BlitsMakeNothing) {
  Dice dice(31);
  Host host;
  PixelsState pixels;
  host.Enter(pixels);
  test::FakeOutput output;
  pixels.output = &output;
  const auto source = dice.Bitmap(32, 32), target = dice.Bitmap(32, 32);
  const auto mask = dice.Mask(32, 32), shape = dice.Mask(32, 32);
  const auto alpha = dice.Alpha(32, 32);
  const ClipShape clip{{0, 0, 32, 32}, shape.get()};
  SafeBlit blit{.source = source.get(),
                .target = target.get(),
                .area = {0, 0, 0, 0, 32, 32},
                .sourceWidth = 32,
                .sourceHeight = 32,
                .targetWidth = 32,
                .targetHeight = 32,
                .clip = &clip};
  const auto draw = [&] {
    blit.sourceMask = mask.get();
    blit.sourceAlpha = nullptr;
    SAFEBLT(host, blit);
    blit.sourceMask = nullptr;
    blit.sourceAlpha = alpha.get();
    SAFEBLT(host, blit);
    BlendPicture(*target, *source, mask.get(), nullptr, blit.area, 100);
    BlendPicture(*target, *source, nullptr, alpha.get(), blit.area, 100);
  };
  draw();
  EXPECT_EQ(AllocationsOf(draw), 0u);
}

}  // namespace
}  // namespace quillmere

#endif
