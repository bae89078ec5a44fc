// The current display as the blit core sees it.
#pragma once

#include "pixels/safeblt.h"

namespace quillmere {

struct SceneState;

class CurrentDisplayOutput : public BlitOutput {
 public:
  explicit CurrentDisplayOutput(SceneState& scene) : scene_(scene) {}

  [[nodiscard]] bool IsDisplay() const override;
  [[nodiscard]] bool LayersEnabled() const override;
  [[nodiscard]] bool AutoScaling() const override;
  [[nodiscard]] qmBitmap* OutBitmap() override;
  [[nodiscard]] qmMask* OutMask() override;
  [[nodiscard]] qmAlphaMap* OutAlpha() override;
  [[nodiscard]] qmBitmap* Canvas() override;
  [[nodiscard]] qmBitmap* Scratch() override;
  [[nodiscard]] bool SpritesOverlap(const Area& area) const override;
  void Render(const Area& area, Content content) override;
  void UpdateWindow(const qmBitmap& source, const BlitArea& area) override;

 private:
  SceneState& scene_;
};

}  // namespace quillmere
