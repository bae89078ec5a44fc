#include "frame/command_line.h"

#include "unit/files/platform_fixture.h"

namespace quillmere {
namespace {

class CommandLine : public FilesTest {
 protected:
  /// Reads and weighs a line from a fresh start.
  Error Evaluate(const std::string& text, bool isAppended = false) {
    auto line = ParseArgumentLine(text);
    if (!line) return line.error();
    return Evaluate(*line, isAppended);
  }
  Error Evaluate(const ArgumentLine& line, bool isAppended = false) {
    files->clargs = {};
    files->applet = {};
    files->clargs.selfPath = "/self";
    const Status status = EvaluateCommandLine(host, line, isAppended);
    return status ? Error::None : status.error();
  }

  const qmCLArgs& clargs() const { return files->clargs; }
  const qmAppletInfo& applet() const { return files->applet; }
};

TEST_F(CommandLine, NeedsAFileUnlessAnAppletIsAppended) {
  EXPECT_EQ(Evaluate(""), Error::UserAbort);
  EXPECT_EQ(Evaluate("-QUIET -mine"), Error::UserAbort);
  EXPECT_EQ(Evaluate("a.qma -COMPILE out"), Error::None);
  EXPECT_EQ(clargs().scriptPath, "a.qma");
  EXPECT_EQ(clargs().compileTarget, "out");
  EXPECT_TRUE(clargs().compileRequested);
  EXPECT_FALSE(clargs().quiet);
  for (const char* text : {"", "other.qma"}) {
    EXPECT_EQ(Evaluate(text, true), Error::None);
    EXPECT_EQ(clargs().scriptPath, "/self");
    EXPECT_TRUE(clargs().quiet);
  }
}

TEST_F(CommandLine, SetsWindowFlags) {
  using namespace display_option;
  const std::pair<const char*, std::uint32_t> options[] = {{"BORDERLESS", borderless},
                                                           {"SIZEABLE", sizeable},
                                                           {"FIXED", fixed},
                                                           {"NOHIDE", noHide},
                                                           {"HIDEPOINTER", hidePointer},
                                                           {"NOMODESWITCH", noModeSwitch},
                                                           {"USEQUARTZ", useQuartz},
                                                           {"FITSCALE", fitScale},
                                                           {"KEEPPROPORTIONS", keepProportions},
                                                           {"AUTOSCALE", autoScale},
                                                           {"LAYERSCALE", layerScale}};
  for (const auto& [name, bit] : options) {
    EXPECT_EQ(Evaluate(std::string("f -") + name), Error::None);
    EXPECT_EQ(applet().windowFlags, bit) << name;
  }
  EXPECT_EQ(Evaluate("f -AUTOSCALE -LAYERSCALE"), Error::WrongArguments);
}

TEST_F(CommandLine, ReadsScaleSizesOnlyWithAScaleEngine) {
  EXPECT_EQ(Evaluate("f -AUTOSCALE -SMOOTHSCALE -SCALEWIDTH 50% -SCALEHEIGHT 600"), Error::None);
  EXPECT_EQ(applet().scaleWidth, -50);
  EXPECT_EQ(applet().scaleHeight, 600);
  EXPECT_EQ(applet().windowFlags, display_option::autoScale | display_option::smoothScale);
  EXPECT_EQ(Evaluate("f -SMOOTHSCALE -SCALEWIDTH no"), Error::None);
  EXPECT_EQ(applet().windowFlags, 0u);
  EXPECT_EQ(Evaluate("f -LAYERSCALE -SCALEWIDTH no"), Error::ValueExpected);
}

TEST_F(CommandLine, ChoosesOneDisplayMode) {
  const std::pair<const char*, std::int32_t> modes[] = {
      {"WINDOW", 1}, {"FULLSCREEN", 2}, {"OWNSCREEN", 5}, {"FAKEFULLSCREEN", 6}};
  for (const auto& [name, mode] : modes) {
    EXPECT_EQ(Evaluate(std::string("f -") + name), Error::None);
    EXPECT_EQ(applet().displayMode, mode) << name;
    EXPECT_EQ(applet().overrideMask, override_bit::displayMode);
  }
  for (const char* clash :
       {"-OWNSCREEN -FULLSCREEN", "-OWNSCREEN -FAKEFULLSCREEN", "-FULLSCREEN -FAKEFULLSCREEN"}) {
    EXPECT_EQ(Evaluate(std::string("f ") + clash), Error::WrongArguments) << clash;
  }
  EXPECT_EQ(Evaluate("f -PUBSCREEN nowhere"), Error::PublicScreenNotFound);
}

TEST_F(CommandLine, NotesWhatItOverrides) {
  EXPECT_EQ(Evaluate("f -SCRWIDTH 800 -SCRHEIGHT $258 -DEPTH 16 -HIDETITLEBAR"), Error::None);
  EXPECT_EQ(applet().scrWidth, 800);
  EXPECT_EQ(applet().scrHeight, 600);
  EXPECT_EQ(applet().scrDepth, 16);
  EXPECT_EQ(applet().hideTitleBar, 1);
  EXPECT_EQ(applet().overrideMask, 1u | 2 | 4 | 32);
}

TEST_F(CommandLine, ChecksTheBackfill) {
  for (const char* wrong :
       {"COLOUR", "COLOR", "GRADIENT -STARTCOLOR 1", "RAINBOW -ENDCOLOR 1", "TEXTURE", "PICTURE",
        "PICTURE -BRUSH 1 -BRUSHFILE x", "COLOR -STARTCOLOR 1 -BRUSH 1 -BRUSHFILE x"}) {
    EXPECT_EQ(Evaluate(std::string("f -BACKFILL ") + wrong), Error::WrongBackfill) << wrong;
  }
  EXPECT_EQ(Evaluate("f -BACKFILL color -STARTCOLOR $"), Error::SyntaxError);
  EXPECT_EQ(Evaluate("f -STARTCOLOR junk -PICXPOS junk"), Error::None);
  EXPECT_EQ(Evaluate("f -BACKFILL rainbow -STARTCOLOR $FF0000 -ENDCOLOR 255"), Error::None);
  EXPECT_EQ(applet().backfillMode, BackfillKind::Gradient);
  EXPECT_EQ(applet().backfillStart, 0xFF0000u);
  EXPECT_EQ(applet().backfillEnd, 255u);
  EXPECT_EQ(Evaluate("f -BACKFILL Picture -BRUSHFILE p.png -SCALEPICTURE -PICXPOS 7"), Error::None);
  EXPECT_EQ(applet().backfillFile, "p.png");
  EXPECT_TRUE(applet().pictureScaled);
  EXPECT_EQ(applet().pictureX, 7);
  EXPECT_EQ(applet().pictureY, centeredPosition);
  EXPECT_EQ(applet().pictureTrans, -1);
  EXPECT_EQ(applet().overrideMask, override_bit::backfill);
}

TEST_F(CommandLine, AddsExecutableTypes) {
  EXPECT_EQ(Evaluate("f"), Error::None);
  EXPECT_EQ(clargs().exeTypes, 4u);
  EXPECT_EQ(Evaluate("f -EXETYPE linux+MacOS86+applet"), Error::None);
  EXPECT_EQ(clargs().exeTypes, 0x80u | 0x200 | 0x20);
  for (const char* wrong : {"\"\"", "amiga", "linux+", "+linux", "linux,macos"}) {
    EXPECT_EQ(Evaluate(std::string("f -EXETYPE ") + wrong), Error::UnknownExecutableType) << wrong;
  }
}

TEST_F(CommandLine, KeepsTextsAndSwitches) {
  EXPECT_EQ(Evaluate("f -QUIET -NOSOUND -MASTERVOLUME 12 -SCRIPTALIAS \"my game\" -PRIVATE3 p "
                     "-COMPRESS -OVERWRITE -LOCKSETTINGS -ICON16X16 a -ICON512X512 b"),
            Error::None);
  EXPECT_TRUE(clargs().quiet && clargs().noSound && clargs().compress && clargs().overwrite &&
              clargs().lockSettings);
  EXPECT_EQ(clargs().masterVolume, 12);
  EXPECT_EQ(clargs().scriptAlias, "my game");
  EXPECT_EQ(clargs().privatePath3, "p");
  EXPECT_EQ(clargs().icons.front(), "a");
  EXPECT_EQ(clargs().icons.back(), "b");
}

TEST_F(CommandLine, ReadsLinkListsOnlyToCompile) {
  const std::string list = directory.Put("list", "one.png\r\n\ntwo.png");
  EXPECT_EQ(Evaluate("f -LINKFILES missing"), Error::None);
  EXPECT_EQ(Evaluate("f -COMPILE x -LINKFILES missing"), Error::CannotReadFile);
  EXPECT_EQ(Evaluate("f -COMPILE x -LINKFONTS \"" + list + "\""), Error::None);
  EXPECT_EQ(clargs().fontsToLink, (std::vector<std::string>{"one.png", "two.png"}));
}

TEST_F(CommandLine, FindsTheFirstFaultFirst) {
  EXPECT_EQ(Evaluate("f -AUTOSCALE -LAYERSCALE -BACKFILL junk"), Error::WrongArguments);
  EXPECT_EQ(Evaluate("f -DEPTH junk -BACKFILL junk"), Error::ValueExpected);
  EXPECT_EQ(Evaluate("f -BACKFILL junk -EXETYPE junk"), Error::WrongBackfill);
  EXPECT_EQ(Evaluate("f -EXETYPE junk -FULLSCREEN -FAKEFULLSCREEN"), Error::UnknownExecutableType);
}

TEST_F(CommandLine, ChecksTheVideoTarget) {
  ArgumentLine line;
  line.fileName = "f";
  line[Slot::VideoFile] = directory.Path("v.avi");
  line[Slot::VideoRate] = "25";
  EXPECT_EQ(Evaluate(line), Error::None);
  EXPECT_EQ(clargs().videoPath, std::filesystem::canonical(directory.Path("v.avi")).string());
  EXPECT_EQ(clargs().videoRate, 25);
  EXPECT_EQ(clargs().videoQuality, 90);
  EXPECT_EQ(clargs().videoMode, 2u);
  EXPECT_EQ(applet().windowFlags, display_option::autoScale);
  // The request about the file that is there now finds no answer.
  EXPECT_EQ(Evaluate(line), Error::UserAbort);
  line[Slot::Overwrite] = "1";
  EXPECT_EQ(Evaluate(line), Error::None);
  line[Slot::VideoFile] = directory.Path("no/dir");
  EXPECT_EQ(Evaluate(line), Error::CannotWriteFile);
  line[Slot::Compile] = "x";
  EXPECT_EQ(Evaluate(line), Error::WrongArguments);
}

TEST_F(CommandLine, ReadsTheVideoMode) {
  ArgumentLine line;
  line.fileName = "f";
  line[Slot::VideoFile] = directory.Path("v.avi");
  line[Slot::Overwrite] = "1";
  const auto modeOf = [&](const char* text) {
    line[Slot::VideoMode] = text;
    const Error error = Evaluate(line);
    return error == Error::None ? static_cast<int>(clargs().videoMode) : static_cast<int>(error);
  };
  EXPECT_EQ(modeOf("raw"), 1);
  EXPECT_EQ(modeOf("Wait+VERBOSE"), 6);
  EXPECT_EQ(modeOf("verbose"), 6);
  EXPECT_EQ(modeOf("raw+verbose"), 5);
  EXPECT_EQ(modeOf("verbose+raw"), 1331);
  EXPECT_EQ(modeOf("raw+wait"), 1331);
  EXPECT_EQ(modeOf("wait+raw"), 1331);
  EXPECT_EQ(modeOf("raw+"), 1330);
  EXPECT_EQ(modeOf("fast"), 1330);
}

}  // namespace
}  // namespace quillmere
