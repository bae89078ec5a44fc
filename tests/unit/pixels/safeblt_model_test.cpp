#include <gtest/gtest.h>

#include <optional>

#include "pixels/pixels_state.h"
#include "pixels/safeblt.h"
#include "unit/pixels/fake_output.h"
#include "unit/pixels/plane_tables.h"
#include "unit/pixels/random_pictures.h"

namespace quillmere {
namespace {

using test::BitOfAlpha;
using test::Blended;
using test::Clone;
using test::CopiedBit;
using test::Dice;
using test::FakeOutput;
using test::FilledBit;
using test::SameBytes;

/// One pixel of a source, after the clip region's shape has been put in.
struct SourcePixel {
  std::uint32_t color;
  std::optional<bool> bit;
  std::optional<std::uint8_t> alpha;
};

/// SAFEBLT into a bitmap or into the planes of a selected object, pixel by pixel.
class Model {
 public:
  Model(const SafeBlit& blit, const PixelsState& pixels, FakeOutput& output)
      : blit_(blit), pixels_(pixels), output_(output) {}

  /// Draws on planes that stand for the target and the output's mask and alpha map.
  void Draw(qmBitmap* target, qmMask* mask, qmAlphaMap* alpha) const {
    const BlitArea& area = blit_.area;
    if (area.sx < 0 || area.sy < 0) return;
    for (int j = 0; j < area.height; ++j) {
      for (int i = 0; i < area.width; ++i) {
        const int sx = area.sx + i, sy = area.sy + j, tx = area.tx + i, ty = area.ty + j;
        if (sx >= blit_.sourceWidth || sy >= blit_.sourceHeight || !MayDraw(tx, ty)) continue;
        const SourcePixel source = Read(sx, sy, tx, ty);
        if (target != nullptr) DrawColor(target->At(tx, ty), source);
        if ((blit_.flags & SAFEBLT_COLORONLY) != 0) continue;
        const bool planesOnly = target == nullptr;
        if (mask != nullptr) {
          const MaskMode mode = planesOnly ? pixels_.maskMode : MASKVANILLACOPY;
          mask->Set(tx, ty, MaskBit(mode, mask->Test(tx, ty), source));
        }
        const int intensity = planesOnly ? pixels_.alphaIntensity : VANILLACOPY;
        if (alpha != nullptr) DrawAlpha(alpha->Row(ty)[tx], source, intensity);
      }
    }
  }

 private:
  [[nodiscard]] const ClipShape* Clip() const {
    return (blit_.flags & SAFEBLT_NOCLIP) != 0 ? nullptr : blit_.clip;
  }

  [[nodiscard]] bool MayDraw(int tx, int ty) const {
    if (tx < 0 || ty < 0 || tx >= blit_.targetWidth || ty >= blit_.targetHeight) return false;
    if (Clip() == nullptr) return true;
    const Area& box = Clip()->area;
    return tx >= box.x && ty >= box.y && tx < box.x + box.width && ty < box.y + box.height;
  }

  [[nodiscard]] SourcePixel Read(int sx, int sy, int tx, int ty) const {
    SourcePixel pixel{blit_.source->Row(sy)[sx], {}, {}};
    if (blit_.sourceMask != nullptr) pixel.bit = blit_.sourceMask->Test(sx, sy);
    if (blit_.sourceAlpha != nullptr) pixel.alpha = blit_.sourceAlpha->Row(sy)[sx];
    if (Clip() == nullptr || Clip()->mask == nullptr) return pixel;
    const bool inShape = Clip()->mask->Test(tx - Clip()->area.x, ty - Clip()->area.y);
    if (pixel.alpha) {
      pixel.alpha = inShape ? *pixel.alpha : 0;
    } else {
      pixel.bit = pixel.bit.value_or(true) && inShape;
    }
    return pixel;
  }

  void DrawColor(std::uint32_t& d, const SourcePixel& source) const {
    const bool alphaTravels =
        output_.OutAlpha() != nullptr && (blit_.flags & SAFEBLT_COLORONLY) == 0;
    if (source.bit) {
      if (*source.bit) d = source.color;
    } else if (source.alpha && !alphaTravels) {
      d = Blended(d, source.color, *source.alpha);
    } else {
      d = source.color;
    }
  }

  static bool MaskBit(MaskMode mode, bool d, const SourcePixel& source) {
    if (source.bit) return CopiedBit(mode, d, *source.bit);
    if (source.alpha) return BitOfAlpha(mode, d, *source.alpha);
    return FilledBit(mode, d);
  }

  static void DrawAlpha(std::uint8_t& d, const SourcePixel& source, int intensity) {
    const bool isPlain = intensity == VANILLACOPY;
    const auto value = static_cast<std::uint8_t>(isPlain ? 255 : intensity);
    if (source.alpha) {
      if (isPlain) {
        d = *source.alpha;
      } else if (*source.alpha != 0) {
        d = value;
      }
    } else if (source.bit.value_or(true)) {
      d = value;
    }
  }

  const SafeBlit& blit_;
  const PixelsState& pixels_;
  FakeOutput& output_;
};

/// A random call with everything that it draws on.
class SafeBltModel : public testing::Test {
 protected:
  SafeBltModel() {
    host.Enter(pixels);
    pixels.output = &output;
    output.isDisplay = false;
  }

  /// Chooses the output's planes and the parameters.
  void ChooseOutput() {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    output.outBitmap = dice.Coin() ? dice.Bitmap(width, height) : nullptr;
    output.outMask = dice.Coin() ? dice.Mask(width, height) : nullptr;
    output.outAlpha = dice.Coin() ? dice.Alpha(width, height) : nullptr;
    explicitTarget = dice.Int(0, 2) == 0 ? dice.Bitmap(width, height) : nullptr;
    pixels.maskMode = static_cast<MaskMode>(dice.Int(0, 5));
    pixels.alphaIntensity = dice.Coin() ? VANILLACOPY : dice.Byte();
    blit = {};
    blit.target = explicitTarget.get();
    blit.targetWidth = width;
    blit.targetHeight = height;
    blit.flags = static_cast<unsigned>(dice.Int(0, 127));
  }

  void ChooseSource() {
    const int width = dice.Int(1, 70), height = dice.Int(1, 70);
    source = {dice.Bitmap(width, height), nullptr, nullptr};
    const int kind = dice.Int(0, 2);
    if (kind == 1) source.mask = dice.Mask(width, height);
    if (kind == 2) source.alpha = dice.Alpha(width, height);
    blit.source = source.bitmap.get();
    blit.sourceMask = source.mask.get();
    blit.sourceAlpha = source.alpha.get();
    blit.sourceWidth = width;
    blit.sourceHeight = height;
    blit.area = dice.Rectangle(70);
  }

  void ChooseClip() {
    if (dice.Int(0, 3) == 0) return;
    clip = {{dice.Int(-10, 60), dice.Int(-10, 60), dice.Int(1, 70), dice.Int(1, 70)}, nullptr};
    shape = dice.Mask(clip.area.width, clip.area.height);
    if (dice.Coin()) clip.mask = shape.get();
    blit.clip = &clip;
  }

  Dice dice{25};
  Host host;
  PixelsState pixels;
  FakeOutput output;
  SafeBlit blit;
  BitmapPtr explicitTarget;
  Planes source;
  ClipShape clip;
  MaskPtr shape;
};

template <class Plane>
std::shared_ptr<Plane> CloneIfAny(const std::shared_ptr<Plane>& plane) {
  return plane ? Clone(*plane) : nullptr;
}

template <class Plane>
bool SameIfAny(const std::shared_ptr<Plane>& a, const std::shared_ptr<Plane>& b) {
  return a ? SameBytes(*a, *b) : b == nullptr;
}

TEST_F(SafeBltModel, EqualsTheModelOnEveryKindOfOutput) {
  for (int round = 0; round < 1500; ++round) {
    ChooseOutput();
    ChooseSource();
    ChooseClip();
    const BitmapPtr target = explicitTarget ? explicitTarget : output.outBitmap;
    const BitmapPtr wantTarget = CloneIfAny(target);
    const MaskPtr wantMask = CloneIfAny(output.outMask);
    const AlphaPtr wantAlpha = CloneIfAny(output.outAlpha);
    Model(blit, pixels, output).Draw(wantTarget.get(), wantMask.get(), wantAlpha.get());
    SAFEBLT(host, blit);
    ASSERT_TRUE(SameIfAny(target, wantTarget)) << "colours in round " << round;
    ASSERT_TRUE(SameIfAny(output.outMask, wantMask)) << "mask in round " << round;
    ASSERT_TRUE(SameIfAny(output.outAlpha, wantAlpha)) << "alpha in round " << round;
  }
  EXPECT_EQ(output.log, "") << "nothing of this goes to the window";
}

}  // namespace
}  // namespace quillmere
