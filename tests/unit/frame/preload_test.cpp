#include "frame/preload.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

qmPreloadItem Picture(ObjectKind kind, const std::string& file, std::uint32_t loadAlpha = 0,
                      std::int32_t frames = -1) {
  qmPreloadItem item;
  item.kind = kind;
  item.fileName = file;
  item.arg2 = loadAlpha;
  item.geometry.frames = frames;
  return item;
}

qmPreloadItem Display(std::int32_t id, std::uint32_t options = 0, std::uint32_t mask = 0) {
  qmPreloadItem item;
  item.kind = ObjectKind::Display;
  item.id = id;
  item.display.options = options;
  item.display.mask = mask;
  return item;
}

TEST(MarkSharedPictures, ReadsEachFileOnce) {
  std::vector<qmPreloadItem> items = {
      Picture(ObjectKind::Brush, "a.png"),
      Picture(ObjectKind::BGPic, "A.png"),
      Picture(ObjectKind::Sprite, "A.PNG", 1, 4),
      Picture(ObjectKind::Brush, "b.png"),
      Picture(ObjectKind::Brush, "a.png"),
      Picture(ObjectKind::Anim, "b.png"),
      Picture(ObjectKind::Anim, "b.png", 0, 0),
      Picture(ObjectKind::Brush, ""),
      Picture(ObjectKind::Brush, ""),
  };
  MarkSharedPictures(items);
  std::string marks;
  for (const qmPreloadItem& item : items) {
    marks += item.cachedLoad ? 'l' : item.cacheAlpha ? 'A' : item.cache ? 'c' : '-';
  }
  EXPECT_EQ(marks, "A-l-l----");
}

TEST(MarkSharedPictures, KeepsAlphaOnlyWhereItIsMissing) {
  std::vector<qmPreloadItem> items = {Picture(ObjectKind::Brush, "a", 1),
                                      Picture(ObjectKind::Brush, "a", 1)};
  MarkSharedPictures(items);
  EXPECT_TRUE(items[0].cache);
  EXPECT_FALSE(items[0].cacheAlpha);
  EXPECT_TRUE(items[1].cachedLoad);
}

TEST(CompleteDisplays, AddsDisplayOne) {
  qmAppletInfo applet;
  applet.preloadList = {Display(2)};
  CompleteDisplays(applet);
  ASSERT_EQ(applet.preloadList.size(), 2u);
  const qmPreloadItem& added = applet.preloadList.back();
  EXPECT_EQ(added.id, 1);
  EXPECT_EQ(added.display.title, "Quillmere");
  EXPECT_EQ(added.display.width, 640);
  EXPECT_EQ(added.display.height, 480);
  EXPECT_EQ(added.display.x, centeredPosition);
  EXPECT_EQ(added.display.options, display_option::active);
  EXPECT_EQ(added.display.fill.style, 1);
  CompleteDisplays(applet);
  EXPECT_EQ(applet.preloadList.size(), 2u);
}

TEST(CompleteDisplays, GivesWhatTheAppletLeavesOpen) {
  using namespace display_option;
  qmAppletInfo applet;
  applet.windowFlags = borderless | sizeable;
  applet.scaleWidth = 100;
  applet.scaleHeight = -50;
  applet.preloadList = {Display(1, active, borderless), Display(2)};
  applet.preloadList[1].display.scaleWidth = 7;
  CompleteDisplays(applet);
  EXPECT_EQ(applet.preloadList[0].display.options, active | sizeable);
  EXPECT_EQ(applet.preloadList[0].display.scaleWidth, 100);
  EXPECT_EQ(applet.preloadList[1].display.options, borderless | sizeable);
  EXPECT_EQ(applet.preloadList[1].display.scaleWidth, 7);
  EXPECT_EQ(applet.preloadList[1].display.scaleHeight, -50);
}

TEST(CompleteDisplays, LeavesLockedAppletsAlone) {
  qmAppletInfo applet;
  applet.windowFlags = display_option::borderless;
  applet.scaleWidth = 100;
  applet.settingsLocked = true;
  applet.preloadList = {Display(1)};
  CompleteDisplays(applet);
  EXPECT_EQ(applet.preloadList[0].display.options, 0u);
  EXPECT_EQ(applet.preloadList[0].display.scaleWidth, 0);
}

}  // namespace
}  // namespace quillmere
