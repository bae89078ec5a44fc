#include "pixels/blit.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "pixels/kernels.h"
#include "unit/pixels/plane_tables.h"
#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::Blended;
using test::Clone;
using test::Dice;
using test::ForPixels;
using test::MixBytes;
using test::SameBytes;

constexpr int rounds = 150;

class Blit : public testing::Test {
 protected:
  Blit() {
    debug.SetSink([this](std::string_view text) { said += text; });
  }

  /// Draws by both ways on random pictures and compares.
  template <class Draw, class Reference>
  void Compare(Draw draw, Reference reference) {
    for (int round = 0; round < rounds; ++round) {
      const auto source = dice.Bitmap(dice.Int(1, 70), dice.Int(1, 70));
      const auto target = dice.Bitmap(dice.Int(1, 70), dice.Int(1, 70));
      const auto want = Clone(*target);
      const BlitArea area = dice.Rectangle(70);
      mask = dice.Mask(source->width, source->height);
      alpha = dice.Alpha(source->width, source->height);
      value = dice.Byte();
      color = dice.Pixel();
      draw(*source, *target, area);
      ForPixels(area, *source, *want, [&](int sx, int sy, int tx, int ty) {
        want->At(tx, ty) = reference(want->At(tx, ty), source->At(sx, sy), sx, sy);
      });
      ASSERT_TRUE(SameBytes(*target, *want)) << "round " << round;
    }
  }

  Dice dice{7};
  DebugOutput debug;
  std::string said;
  MaskPtr mask;
  AlphaPtr alpha;
  int value = 0;
  std::uint32_t color = 0;
};

TEST_F(Blit, CopiesFillsAndMasksEqualTheirLoops) {
  Compare([&](auto& s, auto& t, auto& area) { BLTBITMAP(debug, s, &t, area); },
          [](auto, auto s, int, int) { return s; });
  Compare([&](auto& s, auto& t, auto& area) { BLTMASK(debug, s, &t, area, *mask); },
          [&](auto d, auto s, int x, int y) { return mask->Test(x, y) ? s : d; });
  Compare([&](auto&, auto& t, auto& area) { BLTTEMPLATE(debug, *mask, &t, area, color); },
          [&](auto d, auto, int x, int y) { return mask->Test(x, y) ? color : d; });
  for (int round = 0; round < rounds; ++round) {
    const auto target = dice.Bitmap(dice.Int(1, 70), dice.Int(1, 70));
    const auto want = Clone(*target);
    const Area area = dice.Rectangle(70).Target();
    RECTFILL(debug, target.get(), area, 0x123456);
    ForPixels(area, *want, [&](int x, int y) { want->At(x, y) = 0x123456; });
    ASSERT_TRUE(SameBytes(*target, *want));
  }
}

TEST_F(Blit, BlendsEqualTheirFormulas) {
  Compare([&](auto& s, auto& t, auto& area) { BLTALPHABITMAP(debug, s, &t, area, *alpha); },
          [&](auto d, auto s, int x, int y) { return Blended(d, s, alpha->Row(y)[x]); });
  Compare([&](auto& s, auto& t, auto& area) { BlendUniform(t, s, area, value); },
          [&](auto d, auto s, int, int) { return Blended(d, s, value); });
  Compare([&](auto& s, auto& t, auto& area) { BlendPicture(t, s, nullptr, nullptr, area, value); },
          [&](auto d, auto s, int, int) { return MixBytes(s, d, 255 - value); });
  Compare(
      [&](auto& s, auto& t, auto& area) { BlendPicture(t, s, mask.get(), nullptr, area, value); },
      [&](auto d, auto s, int x, int y) {
        return mask->Test(x, y) ? MixBytes(s, d, 255 - value) : d;
      });
  Compare(
      [&](auto& s, auto& t, auto& area) { BlendPicture(t, s, nullptr, alpha.get(), area, value); },
      [&](auto d, auto s, int x, int y) { return Blended(d, s, value * alpha->Row(y)[x] / 255); });
  Compare(
      [&](auto& s, auto& t, auto& area) {
        TintPicture(
            t,
            ClipTarget(ClipSource(area, {0, 0, s.width, s.height}), {0, 0, t.width, t.height})
                .Target(),
            color, value);
      },
      [&](auto d, auto, int, int) { return MixBytes(d, color, value); });
}

TEST_F(Blit, BlendIsExactAtItsEndsOnly) {
  EXPECT_EQ(BlendPixel(0x000000, 0xFFFFFF, 128), 0x7F7F7Fu);
  EXPECT_EQ(BlendPixel(0x000000, 0xFFFFFF, 255), 0xFFFFFFu);
  EXPECT_EQ(BlendPixel(0xFFFFFF, 0x000000, 254), 0x010101u);
  EXPECT_EQ(BlendPixel(0xFFFFFF, 0x000000, 1), 0xFEFEFEu);
}

TEST_F(Blit, CoverageEqualsItsTable) {
  for (int round = 0; round < 6 * rounds; ++round) {
    const auto mode = static_cast<CoverageMode>(round % 5);
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(width * height));
    std::vector<std::uint16_t> words(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] =
          mode == CoverageMode::Blend64 ? static_cast<std::uint8_t>(dice.Int(0, 64)) : dice.Byte();
      words[i] = static_cast<std::uint16_t>(bytes[i] | dice.Byte() << 8);
    }
    const auto target = dice.Bitmap(dice.Int(1, 70), dice.Int(1, 70));
    const auto want = Clone(*target);
    const auto targetAlpha = dice.Alpha(90, target->height);
    std::vector<std::uint8_t> wantAlpha(targetAlpha->Bytes().begin(), targetAlpha->Bytes().end());
    const auto texture = dice.Coin() ? dice.Bitmap(width, height) : nullptr;

    CoverageBlit blit;
    const bool isWide = mode == CoverageMode::BlendAlpha16;
    blit.coverage = isWide ? static_cast<const void*>(words.data()) : bytes.data();
    blit.coverageWidth = width;
    blit.coverageHeight = height;
    blit.area = dice.Rectangle(70);
    blit.rgb = dice.Pixel();
    blit.mode = mode;
    blit.targetAlpha = targetAlpha.get();
    blit.targetAlphaX = blit.area.tx + dice.Int(0, 20);
    blit.intensity = dice.Byte();
    blit.sourceBitmap = texture.get();
    BLTALPHACHANNEL(debug, target.get(), blit);

    // A rectangle that begins outside of the coverage draws nothing.
    const bool draws = blit.area.sx >= 0 && blit.area.sy >= 0;
    const qmBitmap coverage = ViewBitmap(nullptr, width, width, draws ? height : 0);
    ForPixels(blit.area, coverage, *want, [&](int sx, int sy, int tx, int ty) {
      int c = bytes[static_cast<std::size_t>(sy * width + sx)];
      const std::uint32_t C = texture && !isWide ? texture->At(sx, sy) : blit.rgb;
      std::uint32_t& d = want->At(tx, ty);
      switch (mode) {
        case CoverageMode::Solid:
          if (c != 0) d = C;
          return;
        case CoverageMode::Blend:
          d = Blended(d, C, c);
          return;
        case CoverageMode::Blend64:
          d = c == 64 ? C : Blended(d, C, (c * 4) & 252);
          return;
        default:
          break;
      }
      std::uint8_t& da = wantAlpha[static_cast<std::size_t>(ty * targetAlpha->bytesPerRow + tx +
                                                            blit.targetAlphaX - blit.area.tx)];
      if (c == 0) return;
      if (da == 0) {
        d = C;
        da = static_cast<std::uint8_t>(c * blit.intensity / 255);
      } else {
        d = Blended(d, C, c);
        da = static_cast<std::uint8_t>((((c - da) * c >> 8) + da) * blit.intensity / 255);
      }
    });
    ASSERT_TRUE(SameBytes(*target, *want)) << "mode " << round % 5;
    ASSERT_TRUE(std::ranges::equal(targetAlpha->Bytes(), wantAlpha)) << "mode " << round % 5;
  }
}

TEST_F(Blit, AMissingTargetLeavesALine) {
  const auto source = dice.Bitmap(2, 2);
  const auto bits = dice.Mask(2, 2);
  const auto bytes = dice.Alpha(2, 2);
  const BlitArea area{0, 0, 0, 0, 2, 2};
  BLTBITMAP(debug, *source, nullptr, area);
  RECTFILL(debug, nullptr, area.Target(), 0);
  BLTMASK(debug, *source, nullptr, area, *bits);
  BLTTEMPLATE(debug, *bits, nullptr, area, 0);
  BLTALPHABITMAP(debug, *source, nullptr, area, *bytes);
  BLTALPHACHANNEL(debug, nullptr, {});
  EXPECT_EQ(said,
            "ERROR! BLTBITMAP() CALLED WITH DST=NULL!\n"
            "ERROR! RECTFILL() CALLED WITH DST=NULL!\n"
            "ERROR! BLTMASK() CALLED WITH DST=NULL!\n"
            "ERROR! BLTTEMPLATE() CALLED WITH DST=NULL!\n"
            "ERROR! BLTALPHABITMAP() CALLED WITH DST=NULL!\n"
            "ERROR! BLTALPHACHANNEL() CALLED WITH DST=NULL!\n");
}

TEST_F(Blit, RectanglesFarOutsideDrawWhatIsInside) {
  constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
  const auto source = dice.Bitmap(9, 9);
  const auto target = dice.Bitmap(9, 9);
  const auto before = Clone(*target);
  for (const BlitArea& area : {BlitArea{0, 0, most, 0, most, 9},
                               {least, 0, 0, 0, 9, 9},
                               {most, most, least, least, most, most},
                               {0, 0, 0, 0, 0, -9}}) {
    BLTBITMAP(debug, *source, target.get(), area);
  }
  EXPECT_TRUE(SameBytes(*target, *before));
  RECTFILL(debug, target.get(), {least, -1, most, 65536}, 1);
  EXPECT_TRUE(SameBytes(*target, *before)) << "ends just before the left edge";
  RECTFILL(debug, target.get(), {-9, -1, most, 65536}, 1);
  EXPECT_EQ(target->At(8, 8), 1u);
}

/// Both sets of row kernels, each against the other on every count and offset.
TEST(Kernels, BothSetsGiveTheSameNumbers) {
  const RowKernels* fast = Avx2Kernels();
  if (fast == nullptr) GTEST_SKIP() << "this processor has one set only";
  const RowKernels& plain = PlainKernels();
  Dice dice(8);
  for (int round = 0; round < 4000; ++round) {
    const int count = dice.Int(0, 70);
    const auto a = dice.Bitmap(72, 2), b = Clone(*a);
    const auto source = dice.Bitmap(72, 2);
    const auto mask = dice.Mask(90, 1);
    const auto alpha = dice.Alpha(72, 1);
    const BitRow bits{mask->Row(0), dice.Int(0, 15)};
    const std::uint32_t color = dice.Pixel();
    const int weight = dice.Int(0, 256), fraction = dice.Int(0, 65535);
    std::int32_t columns[72], fractions[72];
    for (int i = 0; i < 72; ++i) {
      columns[i] = dice.Int(0, 70);
      fractions[i] = dice.Coin() ? dice.Int(0, 65535) : dice.Int(0, 1) * 32768;
    }
    const auto both = [&](auto run) {
      run(plain, *a);
      run(*fast, *b);
    };
    const auto bytes = [](std::uint32_t* row) { return reinterpret_cast<std::uint8_t*>(row); };
    both([&](const RowKernels& k, qmBitmap& t) {
      const std::uint32_t* s = source->Row(0) + 1;
      switch (round % 13) {
        case 0:
          return k.fill(t.Row(0) + 1, color, count);
        case 1:
          return k.copyMasked(t.Row(0) + 1, s, bits, count);
        case 2:
          return k.fillMasked(t.Row(0) + 1, color, bits, count);
        case 3:
          return k.blend(t.Row(0) + 1, s, alpha->Row(0), count);
        case 4:
          return k.blendColor(t.Row(0) + 1, color, alpha->Row(0), count);
        case 5:
          return k.mix(t.Row(0) + 1, t.Row(0) + 1, s, weight, count);
        case 6:
          return k.mixColor(t.Row(0) + 1, s, color, weight, count);
        case 7:
          return k.pickColumns(t.Row(0) + 1, source->Row(0), columns, count);
        case 8:
          return k.lerpColumns(t.Row(0) + 1, source->Row(0), columns, fractions, count);
        case 9:
          return k.lerpRows(bytes(t.Row(0)) + 1, bytes(source->Row(0)), bytes(source->Row(1)),
                            fraction, count * 3);
        case 10:
          k.blendScaled(t.Row(0), s, alpha->Row(0), weight & 255, count);
          return k.invert(t.Row(1) + 1, count);
        case 11:
          k.reverse(t.Row(0) + 1, count);
          return k.swapRows(t.Row(0), t.Row(1), count);
        default:
          return k.gray(t.Row(0) + 1, count);
      }
    });
    ASSERT_TRUE(SameBytes(*a, *b)) << "kernel " << round % 13 << ", count " << count;
  }
}

}  // namespace
}  // namespace quillmere
