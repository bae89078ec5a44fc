#include "pixels/safeblt.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "pixels/pixels_state.h"
#include "unit/pixels/fake_output.h"
#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::Dice;
using test::FakeOutput;
using test::SamePixels;

constexpr int size = FakeOutput::size;

class SafeBlt : public testing::Test {
 protected:
  SafeBlt() {
    host.Enter(pixels);
    pixels.output = &output;
    host.debug.SetSink([this](std::string_view text) { said += text; });
    source = dice.Bitmap(8, 8);
    mask = dice.Mask(8, 8);
    alpha = dice.Alpha(8, 8);
  }

  SafeBlit Call(unsigned flags, const BlitArea& area = {0, 0, 4, 4, 8, 8}) {
    SafeBlit blit;
    blit.source = source.get();
    blit.area = area;
    blit.sourceWidth = blit.sourceHeight = 8;
    blit.targetWidth = blit.targetHeight = size;
    blit.flags = flags;
    return blit;
  }

  /// The target with the source drawn by a plain loop at 4, 4.
  BitmapPtr Drawn(const qmBitmap& target, const qmMask* bits = nullptr) {
    BitmapPtr want = test::Clone(target);
    test::ForPixels({0, 0, 4, 4, 8, 8}, *source, *want, [&](int sx, int sy, int tx, int ty) {
      if (bits == nullptr || bits->Test(sx, sy)) want->At(tx, ty) = source->At(sx, sy);
    });
    return want;
  }

  Dice dice{22};
  Host host;
  PixelsState pixels;
  FakeOutput output;
  std::string said;
  BitmapPtr source;
  MaskPtr mask;
  AlphaPtr alpha;
};

TEST_F(SafeBlt, PermanentPixelsGoThroughTheCanvasToTheWindow) {
  const auto want = Drawn(*output.canvas);
  SAFEBLT(host, Call(SAFEBLT_PERMANENT));
  EXPECT_TRUE(SamePixels(*output.canvas, *want));
  EXPECT_EQ(output.log, "canvas ");
  EXPECT_EQ(output.shown, (BlitArea{4, 4, 4, 4, 8, 8}));
}

TEST_F(SafeBlt, LayersOnRecomposeAndLeaveTheCanvas) {
  output.layers = true;
  const auto before = test::Clone(*output.canvas);
  SAFEBLT(host, Call(SAFEBLT_PERMANENT | SAFEBLT_RECOMPOSE));
  EXPECT_EQ(output.log, "scene scratch ");
  EXPECT_EQ(output.rendered, (Area{4, 4, 8, 8}));
  EXPECT_TRUE(SamePixels(*output.canvas, *before));
  output.log.clear();
  SAFEBLT(host, Call(SAFEBLT_CANVAS | SAFEBLT_RECOMPOSE));
  EXPECT_EQ(output.log, "canvas ");
  EXPECT_FALSE(SamePixels(*output.canvas, *before));
}

TEST_F(SafeBlt, WithoutACanvasOpaquePixelsGoStraightToTheWindow) {
  const auto before = test::Clone(*output.canvas);
  SAFEBLT(host, Call(SAFEBLT_PERMANENT | SAFEBLT_KEEPCANVAS));
  SAFEBLT(host, Call(0, {2, 3, -1, -2, 8, 8}));
  EXPECT_EQ(output.log, "direct direct ");
  EXPECT_EQ(output.shown, (BlitArea{3, 5, 0, 0, 5, 3}));
  SafeBlit masked = Call(0);
  masked.sourceMask = mask.get();
  SAFEBLT(host, masked);
  EXPECT_EQ(output.log, "direct direct ");
  EXPECT_TRUE(SamePixels(*output.canvas, *before));
}

TEST_F(SafeBlt, ClipsAsTold) {
  const struct {
    BlitArea area;
    BlitArea shown;
  } cases[] = {{{-1, 0, 4, 4, 8, 8}, {}},
               {{0, -1, 4, 4, 8, 8}, {}},
               {{0, 0, -3, 30, 8, 8}, {3, 0, 0, 30, 5, 2}},
               {{6, 7, 0, 0, 100, 100}, {6, 7, 0, 0, 2, 1}},
               {{0, 0, size, 0, 8, 8}, {}},
               {{0, 0, 0, 0, 0, 8}, {}},
               {{0, 0, -2147483647, 0, 2147483647, 8}, {}}};
  for (const auto& row : cases) {
    output.shown = {};
    SAFEBLT(host, Call(SAFEBLT_NOSPRITES, row.area));
    EXPECT_EQ(output.shown, row.shown) << row.area.sx << " " << row.area.tx;
  }
  const ClipShape clip{{6, 5, 100, 3}, nullptr};
  SafeBlit blit = Call(0);
  blit.clip = &clip;
  SAFEBLT(host, blit);
  EXPECT_EQ(output.shown, (BlitArea{2, 1, 6, 5, 6, 3}));
  blit.flags = SAFEBLT_NOCLIP;
  SAFEBLT(host, blit);
  EXPECT_EQ(output.shown, (BlitArea{0, 0, 4, 4, 8, 8}));
}

TEST_F(SafeBlt, SpritesStayOnTop) {
  output.sprite = {10, 10, 4, 4};
  SAFEBLT(host, Call(SAFEBLT_PERMANENT));
  EXPECT_EQ(output.log, "scene scratch ");
  EXPECT_EQ(output.canvas->At(4, 4), source->At(0, 0));
  output.log.clear();
  SAFEBLT(host, Call(0));
  EXPECT_EQ(output.log, "bare sprites scratch ");
  EXPECT_EQ(output.scratch->At(5, 4), source->At(1, 0));
  output.log.clear();
  output.layers = true;
  const auto before = test::Clone(*output.canvas);
  SAFEBLT(host, Call(SAFEBLT_PERMANENT | SAFEBLT_RECOMPOSE));
  EXPECT_EQ(output.log, "scene scratch ");
  EXPECT_TRUE(SamePixels(*output.canvas, *before));
  output.log.clear();
  SAFEBLT(host, Call(SAFEBLT_NOSPRITES));
  SAFEBLT(host, Call(0, {0, 0, 0, 0, 8, 8}));
  EXPECT_EQ(output.log, "direct direct ") << "told not to, and out of reach";
}

TEST_F(SafeBlt, AutoScalingKeepsBothPicturesEqual) {
  output.autoScaling = true;
  SafeBlit blit = Call(SAFEBLT_PERMANENT);
  blit.sourceMask = mask.get();
  const auto want = Drawn(*output.scratch, mask.get());
  SAFEBLT(host, blit);
  EXPECT_TRUE(SamePixels(*output.scratch, *want));
  blit.flags |= SAFEBLT_COLORONLY;
  blit.sourceMask = nullptr;
  SAFEBLT(host, blit);
  EXPECT_TRUE(SamePixels(*output.scratch, *want));
}

TEST_F(SafeBlt, ClipShapesCutEveryKindOfSource) {
  const MaskPtr shape = dice.Mask(6, 5);
  const ClipShape clip{{5, 6, 6, 5}, shape.get()};
  for (int kind = 0; kind < 3; ++kind) {
    SafeBlit blit = Call(SAFEBLT_NOSPRITES | SAFEBLT_COLORONLY, {1, 0, 3, 4, 7, 8});
    blit.clip = &clip;
    blit.sourceMask = kind == 1 ? mask.get() : nullptr;
    blit.sourceAlpha = kind == 2 ? alpha.get() : nullptr;
    const auto target = dice.Bitmap(size, size);
    const auto want = test::Clone(*target);
    test::ForPixels(blit.area, *source, *want, [&](int sx, int sy, int tx, int ty) {
      const int x = tx - 5, y = ty - 6;
      if (x < 0 || y < 0 || x >= 6 || y >= 5 || !shape->Test(x, y)) return;
      if (kind == 1 && !mask->Test(sx, sy)) return;
      const unsigned a = kind == 2 ? alpha->Row(sy)[sx] : 255;
      std::uint32_t& d = want->At(tx, ty);
      if (a == 0) return;
      std::uint32_t mixed = 0;
      for (int shift = 0; shift < 32; shift += 8) {
        const int from = static_cast<int>(d >> shift & 255);
        const int to = static_cast<int>(source->At(sx, sy) >> shift & 255);
        mixed |= static_cast<std::uint32_t>(
                     a == 255 ? to : from + (((to - from) * static_cast<int>(a)) >> 8))
                 << shift;
      }
      d = mixed;
    });
    blit.target = target.get();
    SAFEBLT(host, blit);
    ASSERT_TRUE(SamePixels(*target, *want)) << "kind " << kind;
  }
}

/// Draws into selected planes and compares with a loop over their tables.
class SelectedPlanes : public SafeBlt {
 protected:
  SelectedPlanes() {
    output.isDisplay = false;
    output.outMask = dice.Mask(size, size);
    output.outAlpha = dice.Alpha(size, size);
  }
};

TEST_F(SelectedPlanes, MasksMeetTheMaskModeTwiceAndComeBack) {
  output.outAlpha = nullptr;
  pixels.maskMode = MASKXOR;
  const std::vector<std::uint8_t> before(output.outMask->Bytes().begin(),
                                         output.outMask->Bytes().end());
  SafeBlit blit = Call(SAFEBLT_PERMANENT | SAFEBLT_RECOMPOSE);
  blit.sourceMask = mask.get();
  SAFEBLT(host, blit);
  EXPECT_FALSE(std::ranges::equal(output.outMask->Bytes(), before));
  SAFEBLT(host, blit);
  EXPECT_TRUE(std::ranges::equal(output.outMask->Bytes(), before));
  EXPECT_EQ(output.log, "");
  EXPECT_EQ(said, "");
  blit.flags = SAFEBLT_COLORONLY;
  SAFEBLT(host, blit);
  EXPECT_TRUE(std::ranges::equal(output.outMask->Bytes(), before));
}

TEST_F(SelectedPlanes, OpaqueSourcesFillAndAlphaIsCut) {
  output.outAlpha = nullptr;
  pixels.maskMode = MASKINVISIBLE;
  SAFEBLT(host, Call(0));
  EXPECT_FALSE(output.outMask->Test(4, 4));
  pixels.maskMode = MASKVISIBLE;
  SafeBlit blit = Call(0);
  blit.sourceAlpha = alpha.get();
  SAFEBLT(host, blit);
  for (int i = 0; i < 64; ++i) {
    const int x = i % 8, y = i / 8;
    EXPECT_EQ(output.outMask->Test(4 + x, 4 + y), alpha->Row(y)[x] == 255);
  }
}

TEST_F(SelectedPlanes, AlphaIsCopiedOrSetToTheIntensity) {
  output.outMask = nullptr;
  SafeBlit blit = Call(0);
  blit.sourceAlpha = alpha.get();
  for (const int intensity : {VANILLACOPY, 100}) {
    pixels.alphaIntensity = intensity;
    const auto before = *AllocAlphaMap(size, size, true);
    CopyAlpha(*output.outAlpha, *before, {0, 0, 0, 0, size, size}, AlphaCopyMode::Copy);
    SAFEBLT(host, blit);
    for (int i = 0; i < 64; ++i) {
      const int x = i % 8, y = i / 8, s = alpha->Row(y)[x];
      const int kept = before->Row(4 + y)[4 + x];
      EXPECT_EQ(output.outAlpha->Row(4 + y)[4 + x], intensity == VANILLACOPY ? s
                                                    : s != 0                 ? 100
                                                                             : kept);
    }
  }
  blit.sourceAlpha = nullptr;
  SAFEBLT(host, blit);
  EXPECT_EQ(output.outAlpha->Row(4)[4], 100);
}

TEST_F(SelectedPlanes, AllPlanesTravelTogether) {
  output.outBitmap = FakeOutput::Plain(0x30);
  pixels.maskMode = MASKXOR;
  pixels.alphaIntensity = 7;
  SafeBlit blit = Call(0);
  blit.sourceMask = mask.get();
  const auto want = Drawn(*output.outBitmap, mask.get());
  SAFEBLT(host, blit);
  EXPECT_TRUE(SamePixels(*output.outBitmap, *want));
  for (int i = 0; i < 64; ++i) {
    const int x = i % 8, y = i / 8;
    EXPECT_EQ(output.outMask->Test(4 + x, 4 + y), mask->Test(x, y));
    if (mask->Test(x, y)) {
      EXPECT_EQ(output.outAlpha->Row(4 + y)[4 + x], 255);
    }
  }
  blit.sourceMask = nullptr;
  blit.sourceAlpha = alpha.get();
  SAFEBLT(host, blit);
  EXPECT_TRUE(SamePixels(*output.outBitmap, *Drawn(*output.outBitmap)))
      << "colours are copied unblended";
  EXPECT_EQ(output.outAlpha->Row(7)[8], alpha->Row(3)[4]);
}

TEST_F(SafeBlt, WithoutADisplayOnlyPlainCompositionWorks) {
  pixels.output = nullptr;
  SAFEBLT(host, Call(SAFEBLT_PERMANENT));
  EXPECT_EQ(said, "ERROR! SAFEBLT() CALLED WITH DISPLAY=NULL!\n");
  pixels.fallbackOutput = &output;
  SAFEBLT(host, Call(SAFEBLT_COLORONLY));
  EXPECT_EQ(said.size(), 2 * std::string("ERROR! SAFEBLT() CALLED WITH DISPLAY=NULL!\n").size());
  const auto target = dice.Bitmap(size, size);
  const auto want = Drawn(*target);
  SafeBlit blit = Call(SAFEBLT_COLORONLY);
  blit.target = target.get();
  SAFEBLT(host, blit);
  EXPECT_TRUE(SamePixels(*target, *want));
}

}  // namespace
}  // namespace quillmere
