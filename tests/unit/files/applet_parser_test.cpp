#include "files/applet_parser.h"

#include <gtest/gtest.h>

#include "unit/files/applet_bytes.h"

namespace quillmere {
namespace {

class AppletParser : public testing::Test {
 protected:
  /// Reads bytes and gives the failure, if there is one; `info` holds what was read.
  Status Parse(std::string_view bytes, std::int64_t origin = 0) {
    return ParseApplet(*FileOf(bytes), origin, path, info, errors);
  }
  Status Parse(const AppletBytes& bytes) { return Parse(bytes.Bytes()); }
  Error ErrorOf(const AppletBytes& bytes) {
    const Status status = Parse(bytes);
    return status ? Error::None : status.error();
  }

  const std::string path = "/tmp/applet.qma";
  qmAppletInfo info;
  ErrorContext errors;
};

const std::string_view code =
    "\x1B"
    "code";

TEST_F(AppletParser, ReadsTextsAndBytecodeAndNothingBehindIt) {
  AppletBytes bytes;
  bytes.Version(4, 8).Tag(AppletTag::Title).Text("A title");
  bytes.Tag(AppletTag::VersionText).Text("$VER: 1").Tag(AppletTag::Copyright).Text("(c)");
  bytes.Tag(AppletTag::Author).Text("me").Tag(AppletTag::Description).Text("what");
  bytes.Bytecode(code).U8(99).Raw("garbage");
  ASSERT_TRUE(Parse(bytes));
  EXPECT_EQ(info.title, "A title");
  EXPECT_EQ(info.versionText, "$VER: 1");
  EXPECT_EQ(info.copyright, "(c)");
  EXPECT_EQ(info.author, "me");
  EXPECT_EQ(info.description, "what");
  EXPECT_EQ(std::string(info.bytecode.begin(), info.bytecode.end()), code);
  EXPECT_TRUE(info.preloadList.empty());
}

TEST_F(AppletParser, CutsTheTitleAtItsLimit) {
  ASSERT_TRUE(Parse(AppletBytes()
                        .Tag(AppletTag::Title)
                        .Text(std::string(appletTitleLimit + 1, 't'))
                        .Bytecode(code)));
  EXPECT_EQ(info.title, std::string(appletTitleLimit, 't'));
}

TEST_F(AppletParser, RefusesNewerVersionsOnly) {
  for (const auto& [major, minor] : {std::pair{4, 9}, {5, 0}, {255, 255}}) {
    EXPECT_EQ(ErrorOf(AppletBytes().Version(major, minor).Bytecode(code)),
              Error::NewerPlayerRequired);
    EXPECT_EQ(errors.argument, std::to_string(major) + "." + std::to_string(minor));
  }
  for (const auto& [major, minor] : {std::pair{4, 8}, {3, 255}, {0, 0}}) {
    EXPECT_TRUE(Parse(AppletBytes().Version(major, minor).Bytecode(code)));
  }
}

TEST_F(AppletParser, KnowsAllTagsUpToTheLast) {
  EXPECT_EQ(ErrorOf(AppletBytes().U8(appletTagCount).Bytecode(code)), Error::UnknownSection);
  EXPECT_EQ(ErrorOf(AppletBytes().U8(255)), Error::UnknownSection);
  EXPECT_EQ(ErrorOf(AppletBytes()), Error::UnexpectedEndOfFile);
  EXPECT_EQ(ErrorOf(AppletBytes().Tag(AppletTag::Objects).U32(1).Object(ObjectKind{11}, 1)),
            Error::UnknownSection);
  EXPECT_EQ(ErrorOf(AppletBytes().Tag(AppletTag::Backfill).U8(5)), Error::UnknownSection);
}

const DisplayDescription& FirstDisplay(const qmAppletInfo& info) {
  return info.preloadList.at(0).display;
}

TEST_F(AppletParser, MakesADefaultDisplayForItsSettings) {
  AppletBytes bytes;
  bytes.Tag(AppletTag::DisplayTitle).I16(5).Raw(std::string_view("Name\0", 5));
  bytes.Tag(AppletTag::DisplaySize).I16(320).I16(-1).Tag(AppletTag::DisplayColor).U32(0x123456);
  bytes.Tag(AppletTag::DisplayPosition).U32(5).U32(0xFFFFFFFE);
  bytes.Tag(AppletTag::Borderless).U8(1).Tag(AppletTag::Fixed).U8(0).Tag(AppletTag::Sizeable).U8(2);
  bytes.Tag(AppletTag::HidePointer).U8(1).Tag(AppletTag::NoModeSwitch).U8(1);
  bytes.Tag(AppletTag::NoHide).U8(0).Bytecode(code);
  ASSERT_TRUE(Parse(bytes));
  ASSERT_EQ(info.preloadList.size(), 1u);
  EXPECT_EQ(info.preloadList[0].kind, ObjectKind::Display);
  EXPECT_EQ(info.preloadList[0].id, 1);
  const DisplayDescription& display = FirstDisplay(info);
  using namespace display_option;
  EXPECT_EQ(display.title, "Name");
  EXPECT_EQ(display.width, 320);
  EXPECT_EQ(display.height, -1);
  EXPECT_EQ(display.fill.style, 1);
  EXPECT_EQ(display.fill.color, 0x123456u);
  EXPECT_EQ(display.x, 5);
  EXPECT_EQ(display.y, -2);
  EXPECT_EQ(display.options, active | borderless | sizeable | hidePointer | noModeSwitch);
  EXPECT_EQ(display.mask, borderless | fixed | sizeable | hidePointer | noModeSwitch | noHide);
}

TEST_F(AppletParser, ReadsTheScaleMode) {
  using namespace display_option;
  for (const bool layers : {false, true}) {
    info = {};
    AppletBytes bytes;
    bytes.Tag(AppletTag::ScaleMode).U8(layers ? 3 : 0).U32(800).U32(0xFFFFFFCE).U8(layers ? 1 : 0);
    ASSERT_TRUE(Parse(bytes.Bytecode(code)));
    const DisplayDescription& display = FirstDisplay(info);
    EXPECT_EQ(display.options, active | (layers ? layerScale | smoothScale : autoScale));
    EXPECT_EQ(display.mask, layerScale | autoScale | smoothScale);
    EXPECT_EQ(display.scaleWidth, 800);
    EXPECT_EQ(display.scaleHeight, -50);
  }
}

AppletBytes DisplayRecord(int minor) {
  AppletBytes bytes;
  bytes.Version(4, minor).Tag(AppletTag::Objects).U32(1).Object(ObjectKind::Display, 2);
  for (const std::uint32_t word : {9u, 10u, 11u, 12u, 13u, 0xABCDEFu, 0x1FFFFu, 0x55u, 14u, 15u}) {
    bytes.U32(word);
  }
  bytes.U32(1).U32(1).U32(2).U32(3).U32(4).U32(5);
  bytes.U32(0);
  bytes.I16(3).Raw("abc");
  if (minor >= 7) bytes.U8(2).U32(0x111111).I16(-45).U32(21).U32(22).U32(23);
  return bytes.Bytecode(code);
}

TEST_F(AppletParser, ReadsDisplayRecordsOfBothKinds) {
  for (const int minor : {6, 7}) {
    info = {};
    ASSERT_TRUE(Parse(DisplayRecord(minor)));
    const qmPreloadItem& item = info.preloadList.at(0);
    const DisplayDescription& display = item.display;
    EXPECT_EQ(item.id, 2);
    EXPECT_EQ(item.line, 7);
    EXPECT_EQ(display.bgpic, 9);
    EXPECT_EQ(display.height, 13);
    EXPECT_EQ(display.options, 0x1FFFFu);
    EXPECT_EQ(display.mask, 0x55u);
    EXPECT_EQ(display.scaleHeight, 15);
    EXPECT_EQ(display.title, "abc");
    EXPECT_EQ(display.fill.color, 0xABCDEFu);
    ASSERT_EQ(display.dragRegions.size(), 1u);
    EXPECT_EQ(display.dragRegions[0].height, 5);
    EXPECT_TRUE(display.sizeRegions.empty());
    EXPECT_EQ(display.fill.style, minor >= 7 ? 2 : 1);
    EXPECT_EQ(display.fill.gradientAngle, minor >= 7 ? -45 : 0);
    EXPECT_EQ(display.fill.textureY, minor >= 7 ? 23 : 0);
  }
}

AppletBytes ScreenSections() {
  AppletBytes bytes;
  bytes.Version(4, 8).Tag(AppletTag::DisplayMode).U8(2).Tag(AppletTag::HideTitleBar).U8(1);
  bytes.Tag(AppletTag::ScreenSize).I16(800).I16(600).Tag(AppletTag::ScreenDepth).U8(24);
  return bytes.Tag(AppletTag::Backfill).U8(2).U32(0x10).U32(0x20);
}

TEST_F(AppletParser, SetsWhatTheCommandLineLeftOpen) {
  ASSERT_TRUE(Parse(ScreenSections().Bytecode(code)));
  EXPECT_EQ(info.displayMode, 2);
  EXPECT_EQ(info.hideTitleBar, 1);
  EXPECT_EQ(info.scrWidth, 800);
  EXPECT_EQ(info.scrHeight, 600);
  EXPECT_EQ(info.scrDepth, 24);
  EXPECT_EQ(info.backfillMode, BackfillKind::Gradient);
  EXPECT_EQ(info.backfillEnd, 0x20u);
}

TEST_F(AppletParser, LeavesWhatTheCommandLineSet) {
  info.overrideMask = 0x3F;
  info.scrWidth = 1;
  ASSERT_TRUE(Parse(ScreenSections().Bytecode(code)));
  EXPECT_EQ(info.displayMode, 0);
  EXPECT_EQ(info.hideTitleBar, -1);
  EXPECT_EQ(info.scrWidth, 1);
  EXPECT_EQ(info.scrDepth, -1);
  EXPECT_EQ(info.backfillMode, BackfillKind::None);
  EXPECT_EQ(info.backfillEnd, 0u);
}

TEST_F(AppletParser, LocksItsSettings) {
  info.overrideMask = 0x3F;
  info.windowFlags = 0xFF;
  info.scaleWidth = 3;
  ASSERT_TRUE(Parse(AppletBytes()
                        .Tag(AppletTag::LockSettings)
                        .Tag(AppletTag::ScreenDepth)
                        .U8(16)
                        .Bytecode(code)));
  EXPECT_TRUE(info.settingsLocked);
  EXPECT_EQ(info.windowFlags, 0u);
  EXPECT_EQ(info.scaleWidth, 0);
  EXPECT_EQ(info.scrDepth, 16);
}

TEST_F(AppletParser, ReadsBackfillPicturesOfBothKinds) {
  for (const int minor : {1, 2}) {
    info = {};
    AppletBytes bytes;
    bytes.Version(3, minor).Tag(AppletTag::Backfill).U8(4).U32(3).U32(4).U32(5).U32(6).U32(7);
    if (minor == 2) bytes.U8(1);
    ASSERT_TRUE(Parse(bytes.Bytecode(code)));
    EXPECT_EQ(info.backfillBrush, 3);
    EXPECT_EQ(info.pictureY, 5);
    EXPECT_EQ(info.backfillEnd, 7u);
    EXPECT_EQ(info.pictureScaled, minor == 2);
  }
}

TEST_F(AppletParser, ReadsNamesAndDataFromTheirPlace) {
  AppletBytes bytes;
  bytes.Version(4, 8).Tag(AppletTag::Data).U32(9);
  const std::uint32_t data = bytes.Size();
  bytes.Raw(std::string_view("pic.png\0D", 9)).Tag(AppletTag::Objects).U32(2);
  bytes.U8(3).U32(5).U32(data).U32(8).U32(data + 8).U32(1).U32(0xFF).U32(0).U32(3);
  bytes.Object(ObjectKind::Button, 6).I16(1).I16(-2).I16(3).I16(4).Bytecode(code);
  const std::string player = "the player itself";
  ASSERT_TRUE(Parse(player + bytes.Bytes(), static_cast<std::int64_t>(player.size())));
  const qmPreloadItem& music = info.preloadList.at(0);
  EXPECT_EQ(music.kind, ObjectKind::Music);
  EXPECT_EQ(music.fileName, "pic.png");
  EXPECT_EQ(music.linkOffset, data + 8);
  EXPECT_EQ(music.linkSize, 1u);
  EXPECT_EQ(music.arg1, 0xFF);
  EXPECT_EQ(music.container, path);
  EXPECT_EQ(info.preloadList.at(1).button[1], -2);
}

TEST_F(AppletParser, TakesNamesUpToTheirLimit) {
  for (const std::uint32_t size : {objectNameLimit, objectNameLimit + 1}) {
    info = {};
    AppletBytes bytes;
    bytes.Tag(AppletTag::Data).U32(size);
    const std::uint32_t at = bytes.Size();
    bytes.Text(std::string(size - 1, 'n')).Tag(AppletTag::Objects).U32(1);
    bytes.U8(8).U32(1).U32(at).U32(size).U32(0).U32(0).U32(0).U32(0).U32(0).Bytecode(code);
    const Status status = Parse(bytes);
    if (size == objectNameLimit) {
      ASSERT_TRUE(status);
      EXPECT_EQ(info.preloadList.at(0).fileName.size(), size - 1);
    } else {
      EXPECT_EQ(status.error(), Error::InternalLimit);
    }
  }
}

TEST_F(AppletParser, ReadsAnimsAndBackgroundsOfEachVersion) {
  struct Case {
    int major;
    int minor;
    bool fromDisk;
    bool geometry;
    bool fill;
  };
  for (const Case& version : {Case{2, 9, false, false, false}, Case{3, 0, true, false, false},
                              Case{4, 0, true, false, false}, Case{4, 1, true, true, false},
                              Case{4, 6, true, true, false}, Case{4, 7, true, true, true}}) {
    info = {};
    AppletBytes bytes;
    bytes.Version(version.major, version.minor).Tag(AppletTag::Objects).U32(4);
    bytes.Object(ObjectKind::Anim, 1);
    if (version.fromDisk) bytes.U8(1);
    if (version.geometry) bytes.I16(10).I16(11).I16(12).I16(13).I16(14).I16(15);
    bytes.Object(ObjectKind::BGPic, 2);
    if (version.fill) bytes.U8(3).U32(1).U32(2).I16(-3).U32(4).U32(5).U32(6);
    bytes.Object(ObjectKind::Brush, 3).I16(20).I16(21).I16(22).I16(23).I16(-1);
    bytes.Object(ObjectKind::Sprite, 4).I16(30).I16(31).I16(32).I16(33).I16(34).I16(35);
    ASSERT_TRUE(Parse(bytes.Bytecode(code)));
    const PictureGeometry& anim = info.preloadList.at(0).geometry;
    EXPECT_EQ(anim.fromDisk, version.fromDisk);
    EXPECT_EQ(anim.framesPerRow, version.geometry ? 13 : -1);
    EXPECT_EQ(info.preloadList.at(1).fill.style, version.fill ? 3 : 0);
    EXPECT_EQ(info.preloadList.at(1).fill.textureX, version.fill ? 5 : 0);
    EXPECT_EQ(info.preloadList.at(2).geometry.x, 22);
    EXPECT_EQ(info.preloadList.at(2).geometry.globalAlpha, -1);
    EXPECT_EQ(info.preloadList.at(3).geometry.frames, 32);
    EXPECT_EQ(info.preloadList.at(3).geometry.y, 35);
  }
}

TEST_F(AppletParser, ReadsLineTablesLabelsAndConstants) {
  AppletBytes bytes;
  bytes.Tag(AppletTag::LineTable).U32(1).U32(1).U32(9).U32(0).Text("a.qms");
  bytes.Tag(AppletTag::LineTableOfChunks).U32(1).U32(10).U32(19).U32(3).Text("b.qms").Text("f");
  bytes.Tag(AppletTag::Labels).U32(2).U32(4).Text("start").U32(5).Text("End");
  bytes.Tag(AppletTag::UserConstants).Text("TEXT").Text("abc").Text("NUM").U8(0).F64(-2.5);
  ASSERT_TRUE(Parse(bytes.Text("").Bytecode(code)));
  ASSERT_EQ(info.includeRanges.size(), 2u);
  EXPECT_EQ(info.includeRanges[0].source, "a.qms");
  EXPECT_EQ(info.includeRanges[0].chunk, "") << "the main chunk";
  EXPECT_EQ(info.includeRanges[1].base, 3);
  EXPECT_EQ(info.includeRanges[1].chunk, "f");
  ASSERT_EQ(info.labels.size(), 2u);
  EXPECT_EQ(info.labels[1].name, "End");
  EXPECT_EQ(info.labels[1].position, 5u);
  ASSERT_EQ(info.userConstants.size(), 2u);
  EXPECT_EQ(info.userConstants[0].text, "abc");
  EXPECT_FALSE(info.userConstants[1].text);
  EXPECT_EQ(info.userConstants[1].number, -2.5);
}

TEST_F(AppletParser, ReadsLinkedFilesInPlaceAndElsewhere) {
  AppletBytes bytes;
  bytes.Tag(AppletTag::LinkedFiles).U32(2).U32(0xFFFFFFFF);
  bytes.Text("in.place").U32(4);
  const std::uint32_t at = bytes.Size();
  bytes.Raw("data").Text("::font:x").U32(linkedDataElsewhere).U32(77).U32(88).Bytecode(code);
  ASSERT_TRUE(Parse("0123" + bytes.Bytes(), 4));
  ASSERT_EQ(info.linkedFiles.size(), 2u);
  EXPECT_EQ(info.linkedFiles[0].offset, at);
  EXPECT_EQ(info.linkedFiles[0].size, 4);
  EXPECT_EQ(info.linkedFiles[0].container, path);
  EXPECT_EQ(info.linkedFiles[1].size, 77);
  EXPECT_EQ(info.linkedFiles[1].offset, 88);
}

/// An applet that has every kind of section and of record.
AppletBytes FullApplet() {
  AppletBytes bytes;
  bytes.Version(4, 8).Tag(AppletTag::Title).Text("t").Tag(AppletTag::DisplayTitle).I16(1).Raw("d");
  bytes.Tag(AppletTag::DisplaySize).I16(1).I16(2).Tag(AppletTag::DisplayColor).U32(3);
  bytes.Tag(AppletTag::DisplayPosition).U32(4).U32(5).Tag(AppletTag::DisplayDesktop);
  bytes.Tag(AppletTag::ScaleMode).U8(0).U32(1).U32(2).U8(1).Tag(AppletTag::Borderless).U8(1);
  bytes.Tag(AppletTag::LockSettings).Tag(AppletTag::DisplayMode).U8(1);
  bytes.Tag(AppletTag::ScreenSize).I16(1).I16(2);
  bytes.Tag(AppletTag::Backfill).U8(4).U32(1).U32(2).U32(3).U32(4).U32(5).U8(1);
  bytes.Tag(AppletTag::LineTable).U32(1).U32(1).U32(2).U32(0).Text("s");
  bytes.Tag(AppletTag::LineTableOfChunks).U32(1).U32(1).U32(2).U32(0).Text("s").Text("c");
  bytes.Tag(AppletTag::Labels).U32(1).U32(1).Text("l");
  bytes.Tag(AppletTag::UserConstants).Text("A").Text("x").Text("B").U8(0).F64(1).Text("");
  bytes.Tag(AppletTag::LinkedFiles).U32(2).U32(0).Text("f").U32(3).Raw("abc");
  bytes.Text("g").U32(linkedDataElsewhere).U32(1).U32(1);
  bytes.Tag(AppletTag::Data).U32(4);
  const std::uint32_t at = bytes.Size();
  bytes.Text("abc").Tag(AppletTag::Objects).U32(3);
  bytes.U8(1).U32(1).U32(at).U32(4).U32(at).U32(4).U32(0).U32(0).U32(0);
  bytes.I16(1).I16(2).I16(3).I16(4).I16(5);
  bytes.Object(ObjectKind::BGPic, 1).U8(1).U32(1).U32(2).I16(3).U32(4).U32(5).U32(6);
  bytes.Raw(DisplayRecord(8).Bytes().substr(12));
  return bytes;
}

TEST_F(AppletParser, FindsTheEndWhereverTheFileIsCut) {
  const std::string bytes = FullApplet().Bytes();
  ASSERT_TRUE(Parse(bytes));
  for (std::size_t size = 4; size < bytes.size(); ++size) {
    info = {};
    const Status status = Parse(std::string_view(bytes).substr(0, size));
    ASSERT_FALSE(status) << size;
    EXPECT_EQ(status.error(), Error::UnexpectedEndOfFile) << size;
  }
}

TEST_F(AppletParser, TakesNoMemoryForCountsThatCannotBe) {
  for (const AppletTag tag :
       {AppletTag::Bytecode, AppletTag::Objects, AppletTag::LineTable, AppletTag::Labels,
        AppletTag::LineTableOfChunks, AppletTag::LinkedFiles, AppletTag::Data}) {
    AppletBytes bytes;
    bytes.Tag(tag).U32(0xFFFFFFFF).Raw(std::string(100, '\1'));
    EXPECT_EQ(ErrorOf(bytes), Error::UnexpectedEndOfFile) << static_cast<int>(tag);
  }
  // The counts of regions, inside of a display record.
  const std::string display = DisplayRecord(8).Bytes();
  for (const std::size_t at : {12u + 33 + 40, 12u + 33 + 40 + 24}) {
    std::string damaged = display;
    damaged.replace(at, 4, 4, '\xFF');
    const Status status = Parse(damaged);
    ASSERT_FALSE(status);
    EXPECT_EQ(status.error(), Error::UnexpectedEndOfFile);
  }
  AppletBytes title;
  title.Tag(AppletTag::DisplayTitle).I16(-1).Raw("short");
  EXPECT_EQ(ErrorOf(title), Error::UnexpectedEndOfFile);
}

TEST_F(AppletParser, SurvivesEveryDamagedByte) {
  const std::string bytes = FullApplet().Bytes();
  for (std::size_t at = 4; at < bytes.size(); ++at) {
    for (const char value : {'\0', '\1', '\x7F', '\xFF'}) {
      std::string damaged = bytes;
      damaged[at] = value;
      info = {};
      const Status status = Parse(damaged);
      const Error error = status ? Error::None : status.error();
      EXPECT_TRUE(error == Error::None || error == Error::UnexpectedEndOfFile ||
                  error == Error::UnknownSection || error == Error::NewerPlayerRequired ||
                  error == Error::InternalLimit)
          << at << ": " << static_cast<int>(error);
    }
  }
}

}  // namespace
}  // namespace quillmere
