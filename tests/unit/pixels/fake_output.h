// A display for tests of the drawing that goes through it.
#pragma once

#include <algorithm>
#include <string>

#include "pixels/safeblt.h"

namespace quillmere::test {

/// A display that notes what is asked of it. Its scene is one colour, its sprites another.
class FakeOutput : public BlitOutput {
 public:
  bool IsDisplay() const override { return isDisplay; }
  bool LayersEnabled() const override { return layers; }
  bool AutoScaling() const override { return autoScaling; }
  qmBitmap* OutBitmap() override { return outBitmap.get(); }
  qmMask* OutMask() override { return outMask.get(); }
  qmAlphaMap* OutAlpha() override { return outAlpha.get(); }
  qmBitmap* Canvas() override { return canvas.get(); }
  qmBitmap* Scratch() override { return scratch.get(); }
  bool SpritesOverlap(const Area& area) const override { return !Intersect(area, sprite).Empty(); }
  void Render(const Area& area, Content content) override {
    constexpr const char* names[] = {"scene ", "bare ", "sprites "};
    log += names[static_cast<int>(content)];
    rendered = area;
    if (content == Content::SpritesOnly) return;
    for (int y = area.y; y < area.y + area.height; ++y) {
      for (int x = area.x; x < area.x + area.width; ++x) scratch->At(x, y) = canvas->At(x, y);
    }
  }
  void UpdateWindow(const qmBitmap& source, const BlitArea& area) override {
    log += &source == canvas.get() ? "canvas " : &source == scratch.get() ? "scratch " : "direct ";
    shown = area;
  }

  static constexpr int size = 32;

  bool isDisplay = true, layers = false, autoScaling = false;
  BitmapPtr canvas = Plain(0x10), scratch = Plain(0x20), outBitmap;
  MaskPtr outMask;
  AlphaPtr outAlpha;
  Area sprite;
  std::string log;
  Area rendered;
  BlitArea shown;

  static BitmapPtr Plain(std::uint32_t color) {
    BitmapPtr bitmap = *AllocBitmap(size, size);
    for (int y = 0; y < size; ++y) std::fill_n(bitmap->Row(y), size, color);
    return bitmap;
  }
};

}  // namespace quillmere::test
