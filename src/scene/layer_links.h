// The layers of all background pictures, as the registries of objects see them.
#pragma once

#include "pixels/registry.h"

namespace quillmere {

struct SceneState;

class SceneLayerLinks : public LayerLinks {
 public:
  explicit SceneLayerLinks(SceneState& scene) : scene_(scene) {}

  bool RetargetLayers(ObjectType type, const RegistryRecord& object,
                      RegistryRecord& replacement) override;
  [[nodiscard]] bool ReferencedByLayer(ObjectType type, const RegistryRecord& object,
                                       const qmLayer* except) const override;

 private:
  SceneState& scene_;
};

}  // namespace quillmere
