#include "platform/headless/input_script.h"

#include <gtest/gtest.h>

#include "platform/keys.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

std::string FaultOf(std::string_view text) {
  const auto script = ParseInputScript(text, "in.txt");
  return script ? "no fault" : script.error();
}

InputScript Parse(std::string_view text) {
  auto script = ParseInputScript(text, "in.txt");
  EXPECT_TRUE(script.has_value()) << script.error();
  return script.value_or(InputScript{});
}

TEST(InputScript, SkipsEmptyLinesAndComments) {
  const InputScript script = Parse("\n# 10 nonsense\n   \n5 close\r\n");
  ASSERT_EQ(script.actions.size(), 1U);
  EXPECT_EQ(script.actions[0].verb, UserVerb::Close);
  EXPECT_EQ(script.actions[0].at, 5ms);
}

TEST(InputScript, APressIsDownAndAMillisecondLaterUp) {
  const InputScript script = Parse("10 key a\n10 button left\n11 key F1 down");
  ASSERT_EQ(script.actions.size(), 5U);
  const auto expect = [&](std::size_t index, UserVerb verb, bool pressed, SysTime at) {
    EXPECT_EQ(script.actions[index].verb, verb) << index;
    EXPECT_EQ(script.actions[index].pressed, pressed) << index;
    EXPECT_EQ(script.actions[index].at, at) << index;
  };
  expect(0, UserVerb::Key, true, 10ms);
  expect(1, UserVerb::Button, true, 10ms);
  expect(2, UserVerb::Key, false, 11ms);
  expect(3, UserVerb::Button, false, 11ms);
  expect(4, UserVerb::Key, true, 11ms);
  EXPECT_EQ(script.actions[4].key, static_cast<std::uint32_t>(Key::F1));
}

TEST(InputScript, TextPressesOneKeyAfterTheOther) {
  const InputScript script = Parse(R"(0 text "l l\n\"é")");
  std::vector<std::uint32_t> pressed;
  for (const UserAction& action : script.actions) {
    if (action.pressed) pressed.push_back(action.key);
  }
  EXPECT_EQ(pressed,
            (std::vector<std::uint32_t>{'l', static_cast<std::uint32_t>(Key::Space), 'l',
                                        static_cast<std::uint32_t>(Key::Return), '"', 0xE9}));
  EXPECT_FALSE(script.actions[1].pressed) << "the first l is released before it is pressed again";
}

TEST(InputScript, LinesSpeakToTheWindowNamedLast) {
  const InputScript script = Parse("0 close\n0 window 2\n0 close\n0 window 1\n0 close");
  ASSERT_EQ(script.actions.size(), 3U);
  EXPECT_EQ(script.actions[0].window, 1);
  EXPECT_EQ(script.actions[1].window, 2);
  EXPECT_EQ(script.actions[2].window, 1);
}

TEST(InputScript, RepliesQueueUpBesideTheActions) {
  const InputScript script =
      Parse("0 reply cancel\n9 reply choice 2\n9 reply text \"a b\"\n9 reply file x \"y z\"");
  EXPECT_TRUE(script.actions.empty());
  ASSERT_EQ(script.replies.size(), 4U);
  EXPECT_TRUE(script.replies[0].cancelled);
  EXPECT_EQ(script.replies[1].choice, 2);
  EXPECT_EQ(script.replies[2].text, "a b");
  EXPECT_EQ(script.replies[3].paths, (std::vector<std::string>{"x", "y z"}));
}

TEST(InputScript, EveryOtherVerbHasItsArguments) {
  const InputScript script = Parse(
      "1 move 3 -4\n1 wheel up\n1 moveto 5 6\n1 resize 7 8\n1 drop 1 2 /a \"/b c\"\n"
      "1 clipboard \"hello\"\n1 joy 3 8 5\n1 damage\n1 break\n1 shot a.png\n1 screenshot b.png\n"
      "1 activate\n1 deactivate\n1 iconify\n1 restore\n1 button middle up");
  ASSERT_EQ(script.actions.size(), 16U);
  EXPECT_EQ(script.actions[0].y, -4);
  EXPECT_TRUE(script.actions[1].pressed);
  EXPECT_EQ(script.actions[4].texts, (std::vector<std::string>{"/a", "/b c"}));
  EXPECT_EQ(script.actions[6].x, 3);
  EXPECT_EQ(script.actions[6].joystick.direction, 8);
  EXPECT_EQ(script.actions[6].joystick.buttons, 5U);
  EXPECT_EQ(script.actions[15].button, MouseButton::Middle);
}

TEST(InputScript, FaultsNameFileAndLine) {
  EXPECT_EQ(FaultOf("# ok\n10 dance"), "in.txt:2: unknown verb \"dance\"");
  for (const char* line : {"x close",
                           "-1 close",
                           "1",
                           "1 key",
                           "1 key NOKEY",
                           "1 key a sideways",
                           "1 key a up more",
                           "1 move 1",
                           "1 move 1 y",
                           "1 move 99999999999 1",
                           "1 button fire",
                           "1 wheel left",
                           "1 resize 0 5",
                           "1 resize 5 99999",
                           "1 drop 1 2",
                           "1 joy 4 0 0",
                           "1 joy 0 9 0",
                           "1 reply",
                           "1 reply perhaps",
                           "1 reply choice",
                           "1 reply choice x",
                           "1 reply file",
                           "1 window 0",
                           "1 text \"open",
                           "1 text \"bad\\q\"",
                           "1 text \"a\"b",
                           "1 text \"a\\",
                           "1 shot a.bmp",
                           "1 close now"}) {
    EXPECT_TRUE(FaultOf(line).starts_with("in.txt:1: ")) << line;
  }
  EXPECT_EQ(FaultOf("5 close\n4 close"), "in.txt:2: the time falls");
}

}  // namespace
}  // namespace quillmere
