#include "pixels/registry.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillmere {
namespace {

struct Picture : RegistryRecord {
  explicit Picture(int content) : value(content) { ++alive; }
  ~Picture() { --alive; }
  int value;
  static inline int alive = 0;
};

/// Layers as the scene keeps them: type and identifier.
class FakeLayers : public LayerLinks {
 public:
  struct Layer {
    ObjectType type;
    ObjectId id;
  };

  bool RetargetLayers(ObjectType type, const RegistryRecord& object,
                      RegistryRecord& replacement) override {
    bool any = false;
    const ObjectId id = object.Id();
    for (Layer& layer : layers) {
      if ((layer.type != type && layer.type != TwinOf(type)) || layer.id != id) continue;
      layer.id = {0, reinterpret_cast<std::uintptr_t>(&replacement)};
      any = true;
    }
    return any;
  }

  bool ReferencedByLayer(ObjectType type, const RegistryRecord& object,
                         const qmLayer*) const override {
    for (const Layer& layer : layers) {
      if ((layer.type == type || layer.type == TwinOf(type)) && layer.id == object.Id()) {
        return true;
      }
    }
    return false;
  }

  std::vector<Layer> layers;
};

class RegistryTest : public testing::Test {
 protected:
  RegistryTest() {
    directory.SetLayerLinks(&layers);
    brushes.hooks().clone = [](const Picture& from) -> Result<std::unique_ptr<Picture>> {
      return std::make_unique<Picture>(from.value);
    };
  }

  Picture& Make(int number, int value) {
    EXPECT_TRUE(brushes.MakeRoomFor({number, 0}));
    return brushes.Append(std::make_unique<Picture>(value), {number, 0});
  }

  Error FindError(const ObjectId& id, unsigned flags = 0) {
    const auto found = brushes.FindObject(id, flags);
    return found ? Error::None : found.error();
  }

  Host host;
  ObjectDirectory directory;
  FakeLayers layers;
  Registry<Picture> brushes{host, directory, kinds::brush};
};

TEST_F(RegistryTest, HandlesAndNumbersAreDifferentNames) {
  Picture& first = brushes.Append(std::make_unique<Picture>(1), {5, 1});
  Picture& second = brushes.Append(std::make_unique<Picture>(2), {0, 1});
  EXPECT_EQ(first.Id().number, 0);
  EXPECT_EQ(first.Id().handle, reinterpret_cast<std::uintptr_t>(&first));
  EXPECT_EQ(*brushes.FindObject(second.Id()), &second);
  ObjectId wrong = first.Id();
  wrong.number = 1;
  EXPECT_EQ(FindError(wrong), Error::ObjectNotFound);
  EXPECT_EQ(FindError({-7, 0}), Error::BrushNotFound);
  EXPECT_EQ(host.errors.index, -7);
  EXPECT_TRUE(brushes.FreeObject(first.Id(), true));
  EXPECT_TRUE(brushes.FreeObject(second.Id(), true));
  EXPECT_TRUE(brushes.Empty());
}

TEST_F(RegistryTest, KeepsTheOrderOfCreation) {
  for (const int number : {3, 1, 2}) Make(number, number * 10);
  Make(1, 11);
  brushes.Prepend(std::make_unique<Picture>(0), {9, 0});
  std::vector<int> values;
  for (const Picture& picture : brushes.All()) values.push_back(picture.value);
  EXPECT_EQ(values, (std::vector{0, 30, 20, 11}));
  EXPECT_EQ(brushes.Count(), 4u);
}

TEST_F(RegistryTest, TheFirstOfTwoWithOneNumberAnswers) {
  Picture& late = brushes.Append(std::make_unique<Picture>(1), {4, 0});
  Picture& early = brushes.Prepend(std::make_unique<Picture>(2), {4, 0});
  EXPECT_EQ(*brushes.FindObject({4, 0}), &early);
  brushes.Remove(early);
  EXPECT_EQ(*brushes.FindObject({4, 0}), &late);
  brushes.Remove(late);
  EXPECT_EQ(FindError({4, 0}), Error::BrushNotFound);
}

TEST_F(RegistryTest, LocksAndHooksRefuse) {
  Picture& brush = Make(1, 1);
  brush.locked = 1;
  EXPECT_EQ(FindError({1, 0}, FIND_MODIFY), Error::ObjectLocked);
  EXPECT_EQ(FindError({1, 0}), Error::None);
  EXPECT_EQ(brushes.FreeObject({1, 0}, false).error(), Error::ObjectLocked);
  EXPECT_EQ(brushes.MakeRoomFor({1, 0}).error(), Error::ObjectLocked);
  brush.locked = 0;
  brushes.hooks().mayFree = [](const Picture&) -> Status { return Fail(Error::ActiveBrush); };
  brushes.hooks().isVector = [](const Picture&) { return true; };
  EXPECT_EQ(brushes.FreeObject({1, 0}, true).error(), Error::ActiveBrush);
  EXPECT_EQ(FindError({1, 0}, FIND_NO_VECTOR), Error::BrushTypeUnsupported);
  EXPECT_EQ(FindError({1, 0}), Error::None);
  EXPECT_TRUE(brushes.FreeObject({2, 0}, false));
  EXPECT_EQ(brushes.FreeObject({2, 0}, true).error(), Error::BrushNotFound);
}

TEST_F(RegistryTest, WhatALayerShowsHidesAndGoesWithIt) {
  Picture& brush = Make(1, 1);
  layers.layers = {{ObjectType::BRUSHPART, {1, 0}}, {ObjectType::ANIM, {1, 0}}};
  ASSERT_TRUE(brushes.FreeObject({1, 0}, true));
  EXPECT_TRUE(brush.hidden);
  EXPECT_EQ(FindError({1, 0}), Error::BrushNotFound);
  EXPECT_EQ(FindError(brush.Id()), Error::ObjectNotFound);
  EXPECT_EQ(*brushes.FindObject(layers.layers[0].id, FIND_HIDDEN), &brush);
  EXPECT_EQ(layers.layers[1].id, (ObjectId{1, 0}));
  Picture& again = Make(1, 2);
  EXPECT_EQ(*brushes.FindObject({1, 0}), &again);

  directory.CollectHidden(SWEEP_BRUSHES);
  EXPECT_EQ(brushes.Count(), 2u) << "still shown";
  layers.layers.clear();
  directory.CollectHidden(SWEEP_ANIMS);
  EXPECT_EQ(brushes.Count(), 2u) << "not of that kind";
  directory.CollectHidden(SweepMaskOfLayer(ObjectType::BRUSHPART));
  EXPECT_EQ(brushes.Count(), 1u);
}

TEST_F(RegistryTest, ChangingLeavesLayersAHiddenCopy) {
  Picture& brush = Make(1, 1);
  layers.layers = {{ObjectType::BRUSH, {1, 0}}};
  EXPECT_EQ(*brushes.FindObject({1, 0}, FIND_MODIFY | FIND_KEEP_LAYERS), &brush);
  EXPECT_EQ(brushes.Count(), 1u);
  EXPECT_EQ(*brushes.FindObject({1, 0}, FIND_MODIFY), &brush);
  brush.value = 2;
  ASSERT_EQ(brushes.Count(), 2u);
  const Picture* shown = *brushes.FindObject(layers.layers[0].id, FIND_HIDDEN);
  EXPECT_NE(shown, &brush);
  EXPECT_EQ(shown->value, 1);
  EXPECT_TRUE(shown->hidden);
  EXPECT_EQ(*brushes.FindObject({1, 0}, FIND_MODIFY), &brush);
  EXPECT_EQ(brushes.Count(), 2u) << "no layer shows it any more";

  layers.layers = {{ObjectType::BRUSH, {1, 0}}};
  brushes.hooks().clone = [](const Picture&) -> Result<std::unique_ptr<Picture>> {
    return Fail(Error::OutOfMemory);
  };
  EXPECT_EQ(FindError({1, 0}, FIND_MODIFY), Error::OutOfMemory);
  EXPECT_EQ(layers.layers[0].id, (ObjectId{1, 0}));
}

TEST_F(RegistryTest, WhatSomethingElseUsesStaysHidden) {
  bool used = true;
  brushes.hooks().inUse = [&used](const Picture&) { return used; };
  Make(1, 1);
  ASSERT_TRUE(brushes.FreeObject({1, 0}, true));
  EXPECT_EQ(brushes.Count(), 1u);
  directory.CollectHidden(SWEEP_BRUSHES);
  EXPECT_EQ(brushes.Count(), 1u);
  used = false;
  directory.CollectHidden(SWEEP_BRUSHES);
  EXPECT_EQ(brushes.Count(), 0u);
}

TEST_F(RegistryTest, ClipRegionsAreSweptByEveryCall) {
  const int before = Picture::alive;
  {
    Registry<Picture> regions{host, directory, kinds::clipRegion};
    regions.Append(std::make_unique<Picture>(1), {1, 0}).hidden = true;
    regions.Append(std::make_unique<Picture>(1), {2, 0});
    directory.CollectHidden(0);
    EXPECT_EQ(regions.Count(), 1u);
  }
  EXPECT_EQ(Picture::alive, before);
  directory.CollectHidden(~0u);
}

TEST(ObjectTypes, NamesAndNumbersAgree) {
  EXPECT_EQ(ObjectTypeName(1), "BGPIC");
  EXPECT_EQ(ObjectTypeName(28), "MASK");
  EXPECT_EQ(ObjectTypeName(43), "FONT");
  EXPECT_EQ(ObjectTypeName(44), "");
  EXPECT_EQ(ObjectTypeName(0), "");
  const auto constants = ObjectTypeConstants();
  for (std::size_t i = 0; i < 49; ++i) EXPECT_EQ(constants[i].value, static_cast<double>(i + 1));
  EXPECT_EQ(static_cast<int>(ObjectType::VECTORPATH), 49);
  EXPECT_EQ(static_cast<int>(ObjectType::ALPHACHANNEL), 30);
}

}  // namespace
}  // namespace quillmere
