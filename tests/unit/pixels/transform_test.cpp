#include "pixels/transform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::Dice;

int Cut(int index, int size) {
  return std::max(0, std::min(index, size - 1));
}

/// The transform pixel by pixel: one test of the centre instead of a solved row, then the sampling.
class Reference {
 public:
  Reference(const Planes& source, const Area& area, const Matrix& m, bool smooth)
      : source_(source), area_(area), smooth_(smooth) {
    double left = 1e300, top = 1e300, right = -1e300, bottom = -1e300;
    for (const auto& [x, y] :
         {std::pair{0, 0}, {area.width, 0}, {0, area.height}, {area.width, area.height}}) {
      left = std::min(left, m.m00 * x + m.m10 * y), right = std::max(right, m.m00 * x + m.m10 * y);
      top = std::min(top, m.m01 * x + m.m11 * y), bottom = std::max(bottom, m.m01 * x + m.m11 * y);
    }
    width = std::max(1, static_cast<int>(std::ceil(right - left - 0.5)));
    height = std::max(1, static_cast<int>(std::ceil(bottom - top - 0.5)));
    const double det = m.m00 * m.m11 - m.m10 * m.m01, tx = -left, ty = -top;
    ia_ = m.m11 / det, ib_ = -m.m01 / det, ic_ = -m.m10 / det, id_ = m.m00 / det;
    ox_ = -ia_ * tx - ic_ * ty, oy_ = -ib_ * tx - id_ * ty;
  }

  struct Pixel {
    bool written = false;
    /// The centre lies so close to the source's edge that rounding decides.
    bool unsure = false;
    bool bit = false;
    std::uint32_t color = 0;
    int alpha = 0;
  };

  [[nodiscard]] Pixel At(int X, int Y) const {
    const double cx = ia_ * (X + 0.5) + ic_ * (Y + 0.5) + ox_;
    const double cy = ib_ * (X + 0.5) + id_ * (Y + 0.5) + oy_;
    Pixel pixel;
    for (const double edge : {cx, cx - area_.width, cy, cy - area_.height}) {
      if (std::abs(edge) < 1e-9) pixel.unsure = true;
    }
    if (cx < 0 || cy < 0 || cx >= area_.width || cy >= area_.height) return pixel;
    const double sx = ia_ * X + ic_ * Y + ox_, sy = ib_ * X + id_ * Y + oy_;
    const int i = static_cast<int>(sx), j = static_cast<int>(sy);
    pixel.bit = Bit(i, j);
    if (smooth_) {
      Mix(pixel, i, j, sx - std::floor(sx), sy - std::floor(sy));
    } else {
      pixel.written = true;
      pixel.color = Color(i, j);
      pixel.alpha = Alpha(i, j);
    }
    return pixel;
  }

  int width, height;

 private:
  void Mix(Pixel& pixel, int i, int j, double fx, double fy) const {
    const int xs[] = {i, i + 1, i, i + 1}, ys[] = {j, j, j + 1, j + 1};
    std::uint32_t colors[4];
    int present = -1;
    for (int k = 3; k >= 0; --k) {
      if (Bit(xs[k], ys[k])) present = k;
    }
    pixel.written = present >= 0;
    if (!pixel.written) return;
    for (int k = 0; k < 4; ++k) {
      const int from = Bit(xs[k], ys[k]) ? k : present;
      colors[k] = Color(xs[from], ys[from]);
    }
    const auto mix = [&](double c00, double c10, double c01, double c11) {
      return static_cast<int>(
          ((c00 * (1 - fx) + c10 * fx) * (1 - fy) + (c01 * (1 - fx) + c11 * fx) * fy) + 0.5);
    };
    for (int shift = 0; shift < 32; shift += 8) {
      pixel.color |=
          static_cast<std::uint32_t>(mix(colors[0] >> shift & 255, colors[1] >> shift & 255,
                                         colors[2] >> shift & 255, colors[3] >> shift & 255))
          << shift;
    }
    pixel.alpha = mix(Alpha(i, j), Alpha(i + 1, j), Alpha(i, j + 1), Alpha(i + 1, j + 1));
  }

  [[nodiscard]] bool Bit(int x, int y) const {
    return !source_.mask ||
           source_.mask->Test(area_.x + Cut(x, area_.width), area_.y + Cut(y, area_.height));
  }
  [[nodiscard]] std::uint32_t Color(int x, int y) const {
    return source_.bitmap->At(area_.x + Cut(x, area_.width), area_.y + Cut(y, area_.height));
  }
  [[nodiscard]] int Alpha(int x, int y) const {
    return source_.alpha
               ? source_.alpha->Row(area_.y + Cut(y, area_.height))[area_.x + Cut(x, area_.width)]
               : 0;
  }

  const Planes& source_;
  Area area_;
  bool smooth_;
  double ia_, ib_, ic_, id_, ox_, oy_;
};

void ExpectTransformed(const Planes& got, const Reference& reference, bool hasAlpha) {
  ASSERT_EQ(got.Width(), reference.width);
  ASSERT_EQ(got.Height(), reference.height);
  ASSERT_EQ(got.alpha != nullptr, hasAlpha);
  ASSERT_EQ(got.mask != nullptr, !hasAlpha);
  for (int y = 0; y < reference.height; ++y) {
    for (int x = 0; x < reference.width; ++x) {
      const Reference::Pixel want = reference.At(x, y);
      if (want.unsure) continue;
      if (hasAlpha) {
        ASSERT_EQ(got.alpha->Row(y)[x], want.alpha) << x << ", " << y;
      } else {
        ASSERT_EQ(got.mask->Test(x, y), want.bit) << x << ", " << y;
      }
      if (want.written) {
        ASSERT_EQ(got.bitmap->Color(x, y), want.color & 0xFFFFFF) << x << ", " << y;
      }
    }
  }
}

TEST(TransformPlanes, EqualsItsFormulasForAllKindsOfSources) {
  Dice dice(11);
  for (int round = 0; round < 400; ++round) {
    const int width = dice.Int(1, 50), height = dice.Int(1, 50);
    Planes source{dice.Bitmap(width, height), nullptr, nullptr};
    const int kind = dice.Int(0, 2);
    if (kind == 1) source.mask = dice.Mask(width, height);
    if (kind == 2) source.alpha = dice.Alpha(width, height);
    const int x = dice.Int(0, width - 1), y = dice.Int(0, height - 1);
    const Area area{x, y, dice.Int(1, width - x), dice.Int(1, height - y)};
    Matrix matrix = BuildMatrix(0, 0, 1, 1, dice.Int(-400, 400), dice.Int(-20, 20) / 10.0 + 0.03,
                                dice.Int(-20, 20) / 10.0 + 0.07);
    if (dice.Int(0, 4) == 0) {
      matrix = {dice.Int(-30, 30) / 10.0, dice.Int(-30, 30) / 10.0, dice.Int(-30, 30) / 10.0,
                dice.Int(-30, 30) / 10.0 + 0.01};
    }
    if (std::abs(matrix.m00 * matrix.m11 - matrix.m01 * matrix.m10) < 1e-4) continue;
    const bool smooth = dice.Coin();
    const Planes got = *TransformPlanes(source, area, matrix, smooth);
    ExpectTransformed(got, Reference(source, area, matrix, smooth), kind == 2);
  }
}

TEST(TransformPlanes, TheIdentityGivesThePictureAndAFullMask) {
  Dice dice(12);
  const Planes source{dice.Bitmap(13, 7), nullptr, nullptr};
  for (const bool smooth : {false, true}) {
    const Planes got = *TransformPlanes(source, {0, 0, 13, 7}, {}, smooth);
    ASSERT_TRUE(test::SamePixels(*got.bitmap, *source.bitmap));
    for (int y = 0; y < 7; ++y) {
      for (int x = 0; x < 13; ++x) ASSERT_TRUE(got.mask->Test(x, y));
    }
  }
}

TEST(TransformPlanes, AQuarterTurnAddsNothing) {
  Dice dice(13);
  const Planes source{dice.Bitmap(9, 5), nullptr, nullptr};
  const Planes turned =
      *TransformPlanes(source, {0, 0, 9, 5}, BuildMatrix(0, 0, 9, 5, 90, 1, 1), false);
  EXPECT_EQ(turned.Width(), 5);
  EXPECT_EQ(turned.Height(), 9);
}

TEST(TransformPlanes, AMaskAloneTurnsLikeTheMaskOfAPicture) {
  Dice dice(23);
  const Planes picture{dice.Bitmap(31, 17), dice.Mask(31, 17), nullptr};
  const Planes alone{nullptr, picture.mask, nullptr};
  const Matrix matrix = BuildMatrix(0, 0, 31, 17, 37, 1.5, 0.8);
  for (const bool smooth : {false, true}) {
    const Planes want = *TransformPlanes(picture, {2, 1, 27, 15}, matrix, smooth);
    const Planes got = *TransformPlanes(alone, {2, 1, 27, 15}, matrix, smooth);
    ASSERT_FALSE(got.bitmap);
    ASSERT_TRUE(std::ranges::equal(got.mask->Bytes(), want.mask->Bytes()));
  }
}

TEST(TransformPlanes, MatricesThatCannotBeInvertedShowNothing) {
  Dice dice(14);
  const Planes source{dice.Bitmap(9, 5), nullptr, nullptr};
  const double infinity = std::numeric_limits<double>::infinity();
  for (const Matrix& matrix : {Matrix{0, 0, 0, 0},
                               {1, 1, 1, 1},
                               {1e-300, 0, 0, 1e-300},
                               {1e-12, 0, 0, 1},
                               {std::nan(""), 0, 0, 1},
                               {infinity, 0, 0, 1}}) {
    const auto got = TransformPlanes(source, {0, 0, 9, 5}, matrix, true);
    ASSERT_TRUE(got);
    for (int y = 0; y < got->Height(); ++y) {
      for (int x = 0; x < got->Width(); ++x) ASSERT_FALSE(got->mask->Test(x, y));
    }
  }
  EXPECT_EQ(TransformPlanes(source, {0, 0, 9, 5}, {1e6, 0, 0, 1e6}, false).error(),
            Error::OutOfMemory);
  EXPECT_FALSE(TransformPlanes(source, {0, 0, 0, 5}, {}, false)->mask);
}

TEST(TransformPlanes, ExtremeShrinkingStaysInside) {
  Dice dice(15);
  const Planes source{dice.Bitmap(60, 50), nullptr, dice.Alpha(60, 50)};
  for (const double scale : {1e-3, -1e-3, 1e-8, -1e-8}) {
    for (const bool smooth : {false, true}) {
      const auto got = TransformPlanes(source, {0, 0, 60, 50}, {scale, 0, 0, 1}, smooth);
      ASSERT_TRUE(got);
      EXPECT_EQ(got->Width(), 1);
    }
  }
}

}  // namespace
}  // namespace quillmere
