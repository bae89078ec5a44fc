// Applets as the player reads them: what a script declares comes out of the player's own parser.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "base/byte_order.h"
#include "compile_helper.h"
#include "files/applet_parser.h"
#include "qmc/applet_reader.h"
#include "qmc/build.h"

namespace quillmere::qmc {
namespace {

namespace fs = std::filesystem;

/// A directory of its own for each test.
class AppletTest : public testing::Test {
 protected:
  void SetUp() override {
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    directory_ = fs::temp_directory_path() / (std::string("qmc_") + info->name());
    fs::remove_all(directory_);
    fs::create_directories(directory_);
  }
  void TearDown() override { fs::remove_all(directory_); }

  fs::path Put(const std::string& name, const std::string& bytes) {
    fs::create_directories((directory_ / name).parent_path());
    std::ofstream(directory_ / name, std::ios::binary) << bytes;
    return directory_ / name;
  }

  BuildOptions OptionsFor(const std::string& script) {
    BuildOptions options;
    options.script = Put("main.qms", script);
    options.output = directory_ / "main.qma";
    return options;
  }

  /// Builds with the options and gives the bytes that were written.
  std::string Build(const BuildOptions& options) {
    EXPECT_EQ(BuildScript(options), "");
    return ReadWholeFile(options.output).value_or("");
  }

  static qmAppletInfo Parse(const std::string& bytes, std::int64_t origin = 0) {
    const auto shared = std::make_shared<std::vector<std::uint8_t>>(bytes.begin(), bytes.end());
    const auto file = qmFile::OverMemory(shared);
    qmAppletInfo info;
    ErrorContext errors;
    // The parser begins behind the magic, which its caller has read.
    file->SeekFile(origin + 4, SeekMode::Start);
    const Status status = ParseApplet(*file, origin, "main.qma", info, errors);
    EXPECT_TRUE(status) << static_cast<int>(status.error());
    return info;
  }

  qmAppletInfo Applet(const std::string& script) { return Parse(Build(OptionsFor(script))); }

  std::string Faults(const std::string& script) {
    const BuildOptions options = OptionsFor(script);
    const std::string faults = BuildScript(options);
    EXPECT_FALSE(fs::exists(options.output));
    EXPECT_FALSE(fs::exists(options.output.string() + ".part"));
    std::string codes;
    for (std::size_t at = faults.find(" ("); at != std::string::npos;
         at = faults.find(" (", at + 1)) {
      if (faults[at + 6] != ')') continue;
      codes += (codes.empty() ? "" : " ") + faults.substr(at + 2, 4);
    }
    return codes;
  }

  fs::path directory_;
};

TEST_F(AppletTest, CarriesTexts) {
  const qmAppletInfo info = Applet(
      "@TITLE \"My show\"\n@VERSION \"1.2\"\n@COPYRIGHT \"me\"\n@AUTHOR \"I\"\n"
      "@DESCRIPTION \"A \\\"show\\\"\"\nConst #SIZE = 2^10, #WHO = \"you\" .. 1\nx()");
  EXPECT_EQ(info.version, newestAppletVersion);
  EXPECT_EQ(info.title, "My show");
  EXPECT_EQ(info.versionText, "1.2");
  EXPECT_EQ(info.copyright, "me");
  EXPECT_EQ(info.author, "I");
  EXPECT_EQ(info.description, "A \"show\"");
  ASSERT_EQ(info.userConstants.size(), 2u);
  EXPECT_EQ(info.userConstants[0].name, "size");
  EXPECT_EQ(info.userConstants[0].number, 1024);
  EXPECT_EQ(info.userConstants[1].text, "you1");
  EXPECT_TRUE(info.preloadList.empty());
}

TEST_F(AppletTest, CarriesEveryOptionOfADisplay) {
  const qmAppletInfo info = Applet(
      "@DISPLAY {x = 3, y = #BOTTOM, width = 300, height = 200, color = $123456, title = \"T\",\n"
      "  borderless = True, sizeable = False, nohide = 1, layers = True, hidden = True,\n"
      "  scalemode = #SCALEMODE_LAYER, scalewidth = \"50%\", scaleheight = 400,\n"
      "  dragregion = {{x = 1, y = 2, width = 3, height = 4}, {x = 0, y = 0, width = 1, height = "
      "1}},\n"
      "  sizeregion = {{type = #BOX, x = 9, y = 8, width = 7, height = 6}}}\n"
      "@DISPLAY 7, {bgpic = 2, fillstyle = #FILLGRADIENT, gradientstartcolor = #RED,\n"
      "  gradientendcolor = #BLUE, gradientangle = -45, active = False}\nx()");
  ASSERT_EQ(info.preloadList.size(), 2u);
  const qmPreloadItem& item = info.preloadList[0];
  const DisplayDescription& first = item.display;
  EXPECT_EQ(item.kind, ObjectKind::Display);
  EXPECT_EQ(item.id, 1);
  EXPECT_EQ(item.line, 1);
  EXPECT_EQ(first.x, 3);
  EXPECT_EQ(first.y, -60000);
  EXPECT_EQ(first.width, 300);
  EXPECT_EQ(first.height, 200);
  EXPECT_EQ(first.fill.color, 0x123456u);
  EXPECT_EQ(first.title, "T");
  using namespace display_option;
  EXPECT_EQ(first.options, borderless | noHide | layers | hidden | layerScale | active);
  EXPECT_EQ(first.mask, borderless | sizeable | noHide | layers | hidden | layerScale | autoScale);
  EXPECT_EQ(first.scaleWidth, -50);
  EXPECT_EQ(first.scaleHeight, 400);
  ASSERT_EQ(first.dragRegions.size(), 2u);
  EXPECT_EQ(first.dragRegions[0].height, 4);
  ASSERT_EQ(first.sizeRegions.size(), 1u);
  EXPECT_EQ(first.sizeRegions[0].type, 14);
  EXPECT_EQ(first.sizeRegions[0].x, 9);
  const qmPreloadItem& other = info.preloadList[1];
  EXPECT_EQ(other.id, 7);
  EXPECT_EQ(other.line, 6);
  EXPECT_EQ(other.display.bgpic, 2);
  EXPECT_EQ(other.display.options, hasBGPic);
  EXPECT_EQ(other.display.mask, active);
  EXPECT_EQ(other.display.title, "Quillmere");
  EXPECT_EQ(other.display.fill.style, 2);
  EXPECT_EQ(other.display.fill.color, 0xFF0000u);
  EXPECT_EQ(other.display.fill.gradientEndColor, 0x0000FFu);
  EXPECT_EQ(other.display.fill.gradientAngle, -45);
}

TEST_F(AppletTest, LinksDeclaredFilesOnce) {
  Put("a.png", "picture A");
  Put("sub/b.wav", "sound");
  const BuildOptions options = OptionsFor(
      "@BGPIC 1, \"a.png\", {loadalpha = True, fillstyle = #FILLTEXTURE, texturebrush = 3,\n"
      "  texturex = 4, texturey = 5}\n"
      "@BRUSH 2, \"a.png\", {transparency = #RED, width = 10, height = 20, x = 1, y = 2,\n"
      "  globalalpha = 128}\n"
      "@ANIM 3, \"a.png\", {fromdisk = True, width = 8, height = 9, frames = 4, fpr = 2}\n"
      "@SPRITE 4, \"a.png\", {frames = 3}\n@SAMPLE 5, \"sub/b.wav\"\n"
      "@MUSIC 6, \"away.mp3\", {link = False}\nx()");
  const std::string bytes = Build(options);
  const qmAppletInfo info = Parse(bytes);
  ASSERT_EQ(info.preloadList.size(), 6u);
  const auto linked = [&](const qmPreloadItem& item) {
    return bytes.substr(item.linkOffset, item.linkSize);
  };
  const qmPreloadItem& bgpic = info.preloadList[0];
  EXPECT_EQ(bgpic.fileName, "a.png");
  EXPECT_EQ(linked(bgpic), "picture A");
  EXPECT_EQ(bgpic.arg1, -1);
  EXPECT_EQ(bgpic.arg2, 1u);
  EXPECT_EQ(bgpic.fill.style, 3);
  EXPECT_EQ(bgpic.fill.textureBrush, 3);
  EXPECT_EQ(bgpic.fill.textureY, 5);
  const qmPreloadItem& brush = info.preloadList[1];
  EXPECT_EQ(brush.linkOffset, bgpic.linkOffset);
  EXPECT_EQ(brush.arg1, 0xFF0000);
  EXPECT_EQ(brush.geometry.height, 20);
  EXPECT_EQ(brush.geometry.y, 2);
  EXPECT_EQ(brush.geometry.globalAlpha, 128);
  const qmPreloadItem& anim = info.preloadList[2];
  EXPECT_TRUE(anim.geometry.fromDisk);
  EXPECT_EQ(anim.geometry.width, 8);
  EXPECT_EQ(anim.geometry.framesPerRow, 2);
  EXPECT_EQ(anim.geometry.x, -1);
  EXPECT_EQ(info.preloadList[3].geometry.frames, 3);
  EXPECT_EQ(linked(info.preloadList[4]), "sound");
  EXPECT_EQ(info.preloadList[5].linkSize, 0u);
  EXPECT_EQ(info.preloadList[5].fileName, "away.mp3");
}

TEST_F(AppletTest, CarriesButtonsKeysFilesAndFonts) {
  Put("f.ttf", std::string("\0\1\0\0font", 8));
  Put("data.txt", "text");
  const std::string bytes = Build(
      OptionsFor("@BUTTON 1, 10, 20, 30, 40\n@KEY 2, \"ESC\"\n@FILE 3, \"data.txt\"\n"
                 "@FONT 4, \"f.ttf\", 24, {engine = #FONTENGINE_INBUILT, cache = False}\n"
                 "@FONT 5, #SANS, 12\n@LINKFONT \"Fancy\", \"f.ttf\"\n@LINK \"data.txt\"\nx()"));
  const qmAppletInfo info = Parse(bytes);
  ASSERT_EQ(info.preloadList.size(), 5u);
  EXPECT_EQ(info.preloadList[0].button[3], 40);
  EXPECT_EQ(info.preloadList[1].fileName, "ESC");
  EXPECT_EQ(info.preloadList[1].linkSize, 0u);
  EXPECT_EQ(info.preloadList[2].linkSize, 4u);
  EXPECT_EQ(info.preloadList[3].arg1, 24);
  EXPECT_EQ(info.preloadList[3].arg2, 4u | fontCacheOff);
  EXPECT_EQ(info.preloadList[3].linkSize, 8u);
  EXPECT_EQ(info.preloadList[4].fileName, ":::default_sans");
  EXPECT_EQ(info.preloadList[4].linkSize, 0u);
  ASSERT_EQ(info.linkedFiles.size(), 2u);
  EXPECT_EQ(info.linkedFiles[0].name, "::font:Fancy");
  EXPECT_EQ(info.linkedFiles[0].offset, info.preloadList[3].linkOffset);
  EXPECT_EQ(info.linkedFiles[1].name, "data.txt");
  EXPECT_EQ(bytes.substr(static_cast<std::size_t>(info.linkedFiles[1].offset), 4), "text");
}

TEST_F(AppletTest, CarriesScreenSettings) {
  const qmAppletInfo info = Applet(
      "@SCREEN {mode = \"FullScreen\", width = 800, height = 600, depth = 32,\n"
      "  hidetitlebar = True}\n@BACKFILL {type = \"Picture\", brush = 5, x = 7, scale = True}\n"
      "@LOCKSETTINGS\n@DISPLAY {desktop = True}\n@REQUIRE \"4.8\"\nx()");
  EXPECT_TRUE(info.settingsLocked);
  EXPECT_TRUE(info.displayDesktop);
  EXPECT_EQ(info.displayMode, 2);
  EXPECT_EQ(info.scrWidth, 800);
  EXPECT_EQ(info.scrHeight, 600);
  EXPECT_EQ(info.scrDepth, 32);
  EXPECT_EQ(info.hideTitleBar, 1);
  EXPECT_EQ(info.backfillMode, BackfillKind::Picture);
  EXPECT_EQ(info.backfillBrush, 5);
  EXPECT_EQ(info.pictureX, 7);
  EXPECT_EQ(info.pictureY, centeredPosition);
  EXPECT_TRUE(info.pictureScaled);
}

TEST_F(AppletTest, NamesTheLinesOfIncludedFiles) {
  Put("inc/second.qms", "b()\n@INCLUDE \"third.qms\"\nc()\n");
  Put("inc/third.qms", "d()");
  const qmAppletInfo info =
      Applet("a()\n@INCLUDE \"inc/second.qms\" ; comment\ne()\nf()\nlabel:\n");
  const auto sourceOf = [&](std::int32_t line) -> std::string {
    for (const IncludeRange& range : info.includeRanges) {
      if (line < range.first || line > range.last) continue;
      return range.source + ":" + std::to_string(line - range.first + range.base + 1);
    }
    return "none";
  };
  const auto code = ReadImage(info.bytecode, "");
  ASSERT_TRUE(code);
  // Each call is two instructions; the one that loads the function tells the line.
  std::string lines;
  for (std::size_t pc = 0; pc + 1 < code->code.size(); pc += 2) {
    lines += fs::path(sourceOf(code->lines[pc])).filename().string() + ' ';
  }
  EXPECT_EQ(info.includeRanges[0].source, "main.qms");
  EXPECT_EQ(lines, "main.qms:1 second.qms:1 third.qms:1 second.qms:3 main.qms:3 main.qms:4 ");
  ASSERT_EQ(info.labels.size(), 1u);
  EXPECT_EQ(info.labels[0].name, "label");
  EXPECT_EQ(info.labels[0].position, 12u);
}

TEST_F(AppletTest, ReportsFaultsOfIncludedFilesThere) {
  Put("second.qms", "b()\nx = )\n");
  const BuildOptions options = OptionsFor("a()\n@INCLUDE \"second.qms\"\ny = (\n");
  const std::string faults = BuildScript(options);
  EXPECT_NE(faults.find("second.qms:2:5: Value expected! (1024)"), std::string::npos) << faults;
  EXPECT_NE(faults.find("main.qms:3:6: Value expected! (1024)"), std::string::npos) << faults;
}

TEST_F(AppletTest, RefusesFaultyDeclarations) {
  EXPECT_EQ(Faults("@NOSUCH 1\nx()"), "1221");
  // The name is what is wrong, whatever stands behind it and around it.
  EXPECT_EQ(Faults("@NOSUCH 1 2\nx()"), "1221");
  EXPECT_EQ(Faults("@NOSUCH =\n@NORTHIS\nx()"), "1221 1221");
  EXPECT_EQ(Faults("If x Then\n  @NOSUCH\nEndIf\nx()"), "1221");
  EXPECT_EQ(Faults("If x Then\n  @TITLE \"a\"\nEndIf\nx()"), "1018");
  EXPECT_EQ(Faults("@BRUSH 1, \"missing.png\"\nx()"), "1213");
  EXPECT_EQ(Faults("@INCLUDE \"missing.qms\"\nx()"), "1213");
  EXPECT_EQ(Faults("@INCLUDE \"main.qms\"\nx()"), "1110");
  EXPECT_EQ(Faults("@KEY 0, \"A\"\n@KEY 1.5, \"A\"\n@KEY \"a\", \"A\"\nx()"), "1069 1069 1138");
  EXPECT_EQ(Faults("@KEY 1, \"A\"\n@KEY 1, \"B\"\nx()"), "1061");
  EXPECT_EQ(Faults("@KEY 1\n@KEY 1, \"B\", 3\nx()"), "1014 1061 1193");
  EXPECT_EQ(Faults("@DISPLAY {wdth = 3}\nx()"), "1222");
  EXPECT_EQ(Faults("@DISPLAY {width = 0}\n@DISPLAY {}\nx()"), "1055 1061");
  EXPECT_EQ(Faults("@DISPLAY {title = 5, width = \"a\"}\nx()"), "1247 1189");
  EXPECT_EQ(Faults("@DISPLAY {desktop = True, bgpic = 1}\nx()"), "1086");
  EXPECT_EQ(Faults("@BRUSH 1, \"a\", {link = False, transparency = 1, loadalpha = 1}\nx()"),
            "1223");
  EXPECT_EQ(Faults("@BACKFILL {type = \"Gradient\", startcolor = 1}\nx()"), "1243");
  EXPECT_EQ(Faults("@REQUIRE \"4.9\"\nx()"), "1053");
  EXPECT_EQ(Faults("@TITLE \"" + std::string(256, 'x') + "\"\nx()"), "1373");
  EXPECT_EQ(Faults("@KEY 1, \"" + std::string(1024, 'x') + "\"\nx()"), "1373");
  Put("bad.ttf", "no font");
  EXPECT_EQ(Faults("@LINKFONT \"A\", \"bad.ttf\"\nx()"), "1333");
}

TEST_F(AppletTest, LeavesDeclaredFilesOutsideOnRequest) {
  BuildOptions options = OptionsFor("@BRUSH 1, \"missing.png\"\nx()");
  options.linkFiles = false;
  Put("extra.bin", "more");
  options.files = {(directory_ / "extra.bin").string()};
  const std::string bytes = Build(options);
  const qmAppletInfo info = Parse(bytes);
  EXPECT_EQ(info.preloadList[0].linkSize, 0u);
  ASSERT_EQ(info.linkedFiles.size(), 1u);
  EXPECT_EQ(info.linkedFiles[0].size, 4);
}

TEST_F(AppletTest, CompressesAsAWhole) {
  BuildOptions options = OptionsFor("@TITLE \"squeezed\"\nx()");
  const std::string plain = Build(options);
  options.compress = true;
  const std::string packed = Build(options);
  EXPECT_EQ(packed.substr(0, 8), std::string("QMZ\0\0\0\0\0", 8));
  const auto a = ListApplet(plain);
  const auto b = ListApplet(packed);
  ASSERT_TRUE(a && b);
  EXPECT_EQ(a->text, b->text);
  EXPECT_EQ(a->bytecode, b->bytecode);
  EXPECT_FALSE(ListApplet(packed.substr(0, packed.size() - 1)));
}

TEST_F(AppletTest, AppendsToAPlayerAndReplacesWhatIsThere) {
  const std::string key = "\xC0\xDE\xCA\xFE\xC0\xCA\xC0\x1A";
  const std::string player = "PROGRAM" + std::string(32, 't') + "\xDE\xAD\xC0\xDE" + key + "REST";
  BuildOptions options = OptionsFor("@TITLE \"one\"\nx()");
  options.player = Put("player", player);
  options.output = directory_ / "show";
  const std::string first = Build(options);
  const auto permissions = fs::status(options.output).permissions();
  EXPECT_NE(permissions & fs::perms::owner_exec, fs::perms::none);
  const auto offset =
      LoadBig<std::uint32_t>(reinterpret_cast<const std::uint8_t*>(first.data()) + 39);
  EXPECT_EQ(offset, player.size());
  EXPECT_EQ(Parse(first, offset).title, "one");
  EXPECT_NE(ListApplet(first)->text.find("one"), std::string::npos);

  options.player = Put("again", first);
  const std::string second = Build(options);
  EXPECT_EQ(second, first);

  options.player = Put("plain", "no marker");
  options.output = directory_ / "never";
  EXPECT_NE(BuildScript(options).find("(1214)"), std::string::npos);
  EXPECT_FALSE(fs::exists(options.output));
}

TEST_F(AppletTest, KeepsTheOldOutputWhenAScriptIsFaulty) {
  const BuildOptions good = OptionsFor("x()");
  const std::string before = Build(good);
  const BuildOptions bad = OptionsFor("x(");
  EXPECT_NE(BuildScript(bad), "");
  EXPECT_EQ(*ReadWholeFile(bad.output), before);
}

TEST_F(AppletTest, NeverWritesOverTheScript) {
  BuildOptions options = OptionsFor("x()");
  options.output = options.script;
  EXPECT_NE(BuildScript(options).find("(1060)"), std::string::npos);
  EXPECT_EQ(*ReadWholeFile(options.script), "x()");
}

TEST_F(AppletTest, ListingSurvivesEveryCut) {
  Put("a.png", "picture");
  const std::string bytes =
      Build(OptionsFor("@BRUSH 1, \"a.png\"\n@DISPLAY {}\n@LINK \"a.png\"\nConst #A = 1\nl:\nx()"));
  const std::size_t whole = bytes.size() - 4;
  EXPECT_TRUE(ListApplet(bytes.substr(0, whole)));
  for (std::size_t size = 0; size < whole; ++size) {
    EXPECT_FALSE(ListApplet(bytes.substr(0, size))) << size;
  }
}

}  // namespace
}  // namespace quillmere::qmc
