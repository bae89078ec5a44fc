#include "scene/layer_links.h"

#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// The type under which a layer of this type refers to its object.
bool RefersToType(const qmLayer& layer, ObjectType type) {
  if (type == ObjectType::BGPIC) {
    return layer.type == ObjectType::BGPICPART || layer.type == ObjectType::NOOBJECT;
  }
  return layer.type == type || layer.type == TwinOf(type);
}

bool RefersTo(const qmLayer& layer, ObjectType type, const RegistryRecord& object) {
  if (type == ObjectType::CLIPREGION) {
    return layer.output && static_cast<const RegistryRecord*>(layer.output->clipRegion) == &object;
  }
  return RefersToType(layer, type) && layer.id == object.Id();
}

}  // namespace

bool SceneLayerLinks::RetargetLayers(ObjectType type, const RegistryRecord& object,
                                     RegistryRecord& replacement) {
  // A picture that is freed does not live on for the layers that lie on itself.
  const bool isFree = &object == &replacement;
  bool found = false;
  for (qmBGPic& bgpic : scene_.bgpics.All()) {
    for (const auto& layer : bgpic.layers) {
      if (!RefersTo(*layer, type, object)) continue;
      if (type != ObjectType::CLIPREGION) {
        layer->id = {0, reinterpret_cast<std::uintptr_t>(&replacement)};
      }
      if (!isFree || static_cast<const RegistryRecord*>(&bgpic) != &object) found = true;
    }
  }
  return found;
}

bool SceneLayerLinks::ReferencedByLayer(ObjectType type, const RegistryRecord& object,
                                        const qmLayer* except) const {
  for (const qmBGPic& bgpic : scene_.bgpics.All()) {
    // A hidden picture that only its own layers show has nobody left who could see it.
    if (object.hidden && static_cast<const RegistryRecord*>(&bgpic) == &object) continue;
    for (const auto& layer : bgpic.layers) {
      if (layer.get() != except && RefersTo(*layer, type, object)) return true;
    }
  }
  return false;
}

}  // namespace quillmere
