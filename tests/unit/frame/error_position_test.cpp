#include "frame/error_position.h"

#include "frame/preload.h"
#include "unit/files/platform_fixture.h"

namespace quillmere {
namespace {

class ErrorPosition : public FilesTest {
 protected:
  void SetUp() override {
    FilesTest::SetUp();
    machine.reset(vmOpen(host));
    ASSERT_TRUE(machine);
    files->clargs.scriptPath = "/dir/a.qma";
    host.flags.scriptPosition = true;
    vmRegistrySetString(*machine, "script", appletScriptName);
  }

  void FailAt(int line, const std::string& source = "?", const std::string& command = noCommand) {
    vmErrorPosition(*machine) = {.command = command, .source = source, .line = line};
  }
  std::string DebugLine() { return DebugLineOfError(*machine, "text"); }

  struct CloseMachine {
    void operator()(VmState* state) const { vmClose(state); }
  };
  std::unique_ptr<VmState, CloseMachine> machine;
};

TEST_F(ErrorPosition, IsCountedInTheSourceFile) {
  files->applet.includeRanges = {{1, 10, 0, "dir/main.qms", ""},
                                 {11, 30, 0, "inc.qms", ""},
                                 {31, 40, 10, "dir/main.qms", ""},
                                 {1, 40, 5, "other.qms", "chunk"}};
  FailAt(1);
  EXPECT_EQ(DebugLine(), "dir/main.qms:1: text\n");
  FailAt(30, "");
  EXPECT_EQ(DebugLine(), "inc.qms:20: text\n");
  FailAt(31);
  EXPECT_EQ(DebugLine(), "dir/main.qms:11: text\n");
  FailAt(2, "chunk");
  EXPECT_EQ(DebugLine(), "other.qms:7: text\n");
}

TEST_F(ErrorPosition, IsUnknownOutsideOfAllRanges) {
  files->applet.includeRanges = {{5, 10, 0, "main.qms", ""}};
  for (const int line : {4, 11, -1}) {
    FailAt(line);
    EXPECT_EQ(DebugLine(), "---:-1: text\n");
  }
  FailAt(7, "elsewhere");
  EXPECT_EQ(DebugLine(), "---:-1: text\n");
}

TEST_F(ErrorPosition, IsLeftOutWhileSwitchedOff) {
  host.flags.scriptPosition = false;
  FailAt(3);
  EXPECT_EQ(DebugLine(), "Error: text\n");
  EXPECT_EQ(RequestTextOfError(*machine, "text", false), "text");
}

TEST_F(ErrorPosition, CountsScriptsFromTheirFirstLine) {
  vmRegistrySetString(*machine, "script", "/dir/s.qms");
  vmRegistrySetNumber(*machine, "beginline", 10);
  files->applet.includeRanges = {{1, 5, 0, "/dir/s.qms", ""}, {1, 9, 0, "else", ""}};
  FailAt(12);
  EXPECT_EQ(DebugLine(), "/dir/s.qms:8: text\n");
}

TEST_F(ErrorPosition, StandsBelowTheMessageOfARequest) {
  files->applet.includeRanges = {{1, 10, 0, "dir/main.qms", ""}};
  FailAt(3);
  EXPECT_EQ(RequestTextOfError(*machine, "text", false), "text\nFile: main.qms (current line: 3)");
  FailAt(3, "?", "LoadBrush");
  EXPECT_EQ(RequestTextOfError(*machine, "text", false),
            "text\nFile: main.qms (current line: 3 - In function: LoadBrush)");
  EXPECT_EQ(RequestTextOfError(*machine, "text", true), "text");
}

}  // namespace
}  // namespace quillmere
