// Whole runs of the program on applets that are made byte by byte.
#include "frame/program.h"

#include "files/compressed_file.h"
#include "unit/files/applet_bytes.h"
#include "unit/files/platform_fixture.h"
#include "vm/image.h"

namespace quillmere {
namespace {

/// A main chunk that calls functions by name, each on a line of its own with one text, or with none
/// when that is empty.
std::string CallsOf(const std::vector<std::pair<std::string, std::string>>& calls) {
  ImageFunction main;
  for (const auto& [function, text] : calls) {
    const int constant = static_cast<int>(main.constants.size());
    main.constants.emplace_back(function);
    main.constants.emplace_back(text);
    main.code.push_back(vmEncodeABx(OP_GETGLOBAL, 0, constant));
    main.code.push_back(vmEncodeABx(OP_LOADK, 1, constant + 1));
    main.code.push_back(vmEncodeABC(OP_CALL, 0, text.empty() ? 1 : 2, 1));
    main.lines.resize(main.code.size(), constant / 2 + 1);
  }
  main.code.push_back(vmEncodeABC(OP_RETURN, 0, 1, 0));
  main.lines.push_back(static_cast<int>(calls.size()) + 1);
  return WriteImage(main);
}

/// What a run has left behind.
struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

class ProgramTest : public testing::Test {
 protected:
  Outcome Run(const std::vector<std::string>& arguments,
              std::optional<std::uint32_t> appended = std::nullopt) {
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Outcome outcome;
    outcome.status = Program(appended).Run(pointers);
    std::fflush(stdout);
    outcome.out = testing::internal::GetCapturedStdout();
    outcome.err = testing::internal::GetCapturedStderr();
    return outcome;
  }

  std::string Put(AppletBytes bytes,
                  const std::vector<std::pair<std::string, std::string>>& calls) {
    return directory.Put("a.qma", bytes.Bytecode(CallsOf(calls)).Bytes());
  }

  /// A line table for a chunk of few lines.
  static AppletBytes Applet() {
    AppletBytes bytes;
    bytes.Version(4, 8).Tag(AppletTag::LineTableOfChunks).U32(1);
    return bytes.U32(1).U32(100).U32(0).Text("main.qms").Text("");
  }

  KeepCurrentDirectory keepsDirectory;
  TestDirectory directory;
  OwnTempDirectory temp;
};

TEST_F(ProgramTest, EndsSilentlyWithoutAFile) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"-QUIET"}, {"-DEBUGDEVICE", "@stdout"}}) {
    const Outcome outcome = Run(arguments);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
  }
}

TEST_F(ProgramTest, TellsItsProgressAndPlays) {
  const std::string path = Put(Applet(), {{"debugprint", "hello"}, {"debugprint", "world"}});
  const Outcome outcome = Run({path});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out,
            "Opening script a.qma... done\nCompiling script... done\nLoading applet a.qma done\n"
            "Preparing display\nAnd Action!\n");
  EXPECT_EQ(outcome.err, "hello\nworld\n");
  EXPECT_EQ(Run({path, "-QUIET"}).out, "");
  EXPECT_EQ(Run({path, "-SCRIPTALIAS", "Kites"}).out.substr(0, 22), "Opening script Kites..");
}

TEST_F(ProgramTest, TellsWhereAScriptFailed) {
  const std::string path = Put(Applet(), {{"debugprint", "one"}, {"nothing", ""}});
  EXPECT_EQ(Run({path, "-QUIET", "-DEBUGDEVICE", "@stdout"}).out,
            "one\nmain.qms:2: Function nothing() not found!\n");
  const Outcome shown = Run({path, "-QUIET"});
  EXPECT_EQ(shown.status, 0);
  EXPECT_EQ(shown.err,
            "one\nrequest: QuillmerePlayer: Function nothing() not found!\\nFile: main.qms "
            "(current line: 2 - In function: <<unnamed>>) [OK] -> cancel\n");
}

TEST_F(ProgramTest, TellsWhatCannotBePlayed) {
  const std::string text = directory.Put("notes.txt", "DebugPrint(1)");
  EXPECT_EQ(Run({text, "-DEBUGDEVICE", "@stdout"}).out,
            "Opening script notes.txt... failed\nError: notes.txt is no Quillmere applet!\n");
  EXPECT_EQ(Run({"no/such", "-DEBUGDEVICE", "@stdout"}).out,
            "Error: File no/such does not exist!\n");
  const std::string broken = directory.Put("b.qma", Applet().Bytecode("junk junk").Bytes());
  EXPECT_EQ(Run({broken, "-QUIET", "-DEBUGDEVICE", "@stdout"}).out,
            "Error: Bad bytecode signature!\n");
  const std::string newer = directory.Put("n.qma", AppletBytes().Version(4, 9).Bytes());
  EXPECT_EQ(Run({newer, "-QUIET", "-DEBUGDEVICE", "@stdout"}).out,
            "Error: This applet requires at least Quillmere 4.9!\n");
}

TEST_F(ProgramTest, RefusesToCompile) {
  const std::string path = Put(Applet(), {{"debugprint", "ran"}});
  EXPECT_EQ(Run({path, "-COMPILE", "out", "-QUIET", "-DEBUGDEVICE", "@stdout"}).out,
            "Error: Compilation is not possible with QuillmerePlayer!\n");
  EXPECT_EQ(Run({path, "-COMPILE"}).err,
            "request: QuillmerePlayer: Wrong arguments specified! [OK] -> cancel\n");
}

TEST_F(ProgramTest, ListsCommandsAndConstants) {
  const std::string commands = directory.Path("commands");
  const std::string constants = directory.Path("constants");
  const Outcome outcome =
      Run({"not.opened", "-PRIVATE1", commands.c_str(), "-PRIVATE2", constants.c_str()});
  EXPECT_EQ(outcome.out + outcome.err, "");
  std::istringstream lines(directory.Get("commands"));
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "::string");
  std::vector<std::string> libraries = {line};
  while (line != "::end" && std::getline(lines, line)) {
    const int count = std::stoi(line);
    for (int i = 0; i < count; ++i) {
      std::getline(lines, line);
      EXPECT_FALSE(line.starts_with("::"));
    }
    std::getline(lines, line);
    EXPECT_TRUE(line.starts_with("::")) << line;
    libraries.push_back(line);
  }
  EXPECT_FALSE(std::getline(lines, line));
  EXPECT_GT(libraries.size(), 5u);
  EXPECT_NE(directory.Get("commands").find("\nDebugPrint\n"), std::string::npos);
  EXPECT_NE(("\n" + directory.Get("constants")).find("\nPI\n"), std::string::npos);

  std::filesystem::remove(commands);
  Run({"not.opened", "-PRIVATE2", constants.c_str()});
  EXPECT_FALSE(std::filesystem::exists(commands));
  EXPECT_EQ(Run({"x", "-PRIVATE1", "/no/where", "-DEBUGDEVICE", "@stdout"}).out,
            "Error: Cannot write to file /no/where !\n");
}

TEST_F(ProgramTest, MakesObjectsBeforeTheFirstInstruction) {
  AppletBytes bytes = Applet();
  bytes.Tag(AppletTag::Data).U32(8);
  const std::uint32_t name = bytes.Size();
  bytes.Text("missing").Tag(AppletTag::Objects).U32(1);
  bytes.U8(1).U32(1).U32(name).U32(8).U32(0).U32(0).U32(0xFFFFFFFF).U32(0).U32(42);
  for (int i = 0; i < 5; ++i) bytes.I16(-1);
  const std::string path = Put(bytes, {{"debugprint", "ran"}});
  EXPECT_EQ(Run({path, "-QUIET", "-DEBUGDEVICE", "@stdout"}).out,
            "main.qms:42: Cannot read file missing !\n");
  EXPECT_EQ(Run({path, "-QUIET"}).err,
            "request: QuillmerePlayer: Cannot read file missing !\\nFile: main.qms "
            "(current line: 42 - In function: LoadBrush) [OK] -> cancel\n");
}

TEST_F(ProgramTest, OpensTheDefaultDisplay) {
  const std::string path = Put(Applet(), {});
  const std::string shot = directory.Path("shot.png");
  setenv("QUILLMERE_SHOT", shot.c_str(), 1);
  Run({path, "-QUIET"});
  unsetenv("QUILLMERE_SHOT");
  const std::string png = directory.Get("shot.png");
  ASSERT_GT(png.size(), 24u);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(png.data());
  EXPECT_EQ(LoadBig<std::uint32_t>(bytes + 16), 640u);
  EXPECT_EQ(LoadBig<std::uint32_t>(bytes + 20), 480u);
}

TEST_F(ProgramTest, LeavesNothingOfACompressedApplet) {
  const std::string plain = Put(Applet(), {{"debugprint", "hello"}});
  const std::string packed = directory.Path("packed.qma");
  {
    Host host;
    const auto platform = PlatformOpen(host);
    FilesState files(host);
    ASSERT_TRUE(Compress(host, compressedAppletMagic, plain, packed));
  }
  EXPECT_EQ(Run({packed, "-QUIET", "-DEBUGDEVICE", "@stdout"}).out, "hello\n");
  const std::string bytes = directory.Get("packed.qma");
  const std::string cut = directory.Put("cut.qma", bytes.substr(0, bytes.size() - 9));
  EXPECT_EQ(Run({cut, "-QUIET", "-DEBUGDEVICE", "@stdout"}).out,
            "Error: Invalid or incomplete deflate data (zlib)!\n");
  EXPECT_EQ(temp.Count(), 0u);
}

TEST_F(ProgramTest, EntersConstantsOfTheApplet) {
  AppletBytes bytes = Applet();
  bytes.Tag(AppletTag::UserConstants).Text("MINE").Text("value").Text("");
  const std::string path = Put(bytes, {{"getconstant", "#mine"}, {"getconstant", "#other"}});
  EXPECT_EQ(Run({path, "-QUIET", "-DEBUGDEVICE", "@stdout"}).out,
            "main.qms:2: Constant not found!\n");
}

TEST_F(ProgramTest, KnowsNoLabelOutsideOfTheMainChunk) {
  // The wait goes on as without a label, until nothing can happen any more.
  AppletBytes bytes = Applet();
  bytes.Tag(AppletTag::Data).U32(2);
  const std::uint32_t name = bytes.Size();
  bytes.Text("x").Tag(AppletTag::Objects).U32(1);
  bytes.U8(6).U32(1).U32(name).U32(2).U32(0).U32(0).U32(0).U32(0).U32(1);
  bytes.Tag(AppletTag::Labels).U32(1).U32(100000).Text("onkeydown1");
  const std::string path = Put(bytes, {{"waitevent", ""}, {"debugprint", "behind"}});
  const std::string input = directory.Put("in.txt", "5 key x\n");
  setenv("QUILLMERE_INPUT", input.c_str(), 1);
  const Outcome outcome = Run({path, "-QUIET", "-DEBUGDEVICE", "@stdout"});
  unsetenv("QUILLMERE_INPUT");
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "");
}

TEST_F(ProgramTest, LeavesTheProgramTwice) {
  // Two programs may live in one process.
  const std::string path = Put(Applet(), {{"debugprint", "x"}});
  EXPECT_EQ(Run({path, "-QUIET"}).err, "x\n");
  EXPECT_EQ(Run({path, "-QUIET"}).err, "x\n");
}

}  // namespace
}  // namespace quillmere
