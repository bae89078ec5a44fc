#include <gtest/gtest.h>
#include <png.h>
#include <signal.h>

#include <limits>

#include "open_platform.h"
#include "platform/opening.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Kind = WindowMessageKind;

std::vector<Kind> Kinds(const std::vector<WindowMessage>& messages) {
  std::vector<Kind> kinds;
  for (const WindowMessage& message : messages) kinds.push_back(message.kind);
  return kinds;
}

/// The pixels of a PNG file as 0xRRGGBB.
std::vector<std::uint32_t> ReadPng(const std::string& path, int& width) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  EXPECT_TRUE(png_image_begin_read_from_file(&image, path.c_str())) << path;
  EXPECT_EQ(image.format & (PNG_FORMAT_FLAG_ALPHA | PNG_FORMAT_FLAG_COLORMAP), 0U);
  image.format = PNG_FORMAT_RGB;
  std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(image));
  EXPECT_TRUE(png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr));
  width = static_cast<int>(image.width);
  std::vector<std::uint32_t> pixels;
  for (std::size_t i = 0; i + 2 < bytes.size(); i += 3) {
    pixels.push_back(bytes[i] << 16U | bytes[i + 1] << 8U | bytes[i + 2]);
  }
  return pixels;
}

TEST(PlatformOpening, EachStepThatFailsIsNamed) {
  for (const OpeningStep& step : OpeningSteps()) {
    Host host;
    HeadlessSettings settings;
    settings.missingStep = step.name;
    const auto platform = OpenHeadlessPlatform(host, settings);
    ASSERT_FALSE(platform.has_value()) << step.name;
    EXPECT_EQ(platform.error(), step.error) << step.name;
    if (step.error == Error::CannotOpen) {
      EXPECT_EQ(host.errors.argument, step.name);
    }
    EXPECT_FALSE(host.Has(Room::platform)) << step.name;
  }
}

TEST(PlatformOpening, TheHostKnowsThePlatformWhileItIsOpen) {
  Host host;
  {
    const auto platform = OpenHeadlessPlatform(host, {});
    ASSERT_TRUE(platform.has_value());
    EXPECT_EQ(&host.Of<Platform>(), platform->get());
  }
  EXPECT_FALSE(host.Has(Room::platform));
}

TEST(PlatformOpening, TheInterruptSignalIsTheBreakWhileThePlatformIsOpen) {
  const OpenPlatform platform;
  kill(getpid(), SIGINT);
  platform->waiting().SetPortOpen(true);
  EXPECT_EQ(platform->waiting().WaitForSignals({}), Wake::Break);
}

TEST(HeadlessWindow, KeepsItsPictureAndCutsWhatLiesOutside) {
  TempDirectory directory;
  HeadlessSettings settings;
  settings.shotFile = directory.File("last.png");
  const OpenPlatform platform("", std::move(settings));
  auto window = platform.OpenWindow({.width = 4, .height = 2});
  auto second = platform.OpenWindow({.width = 1, .height = 1});
  window->Fill(-5, -5, 100, 100, 0x102030);
  const std::vector<std::uint32_t> source = {1, 2, 3, 4, 5, 6};
  window->Update({source.data(), 3, 2, 3}, 1, 0, 3, -1, 50, 50);
  window->Update({source.data(), 3, 2, 3}, 2147483647, 0, -2147483648, 0, 2147483647, 2147483647);
  second.reset();
  EXPECT_FALSE(std::filesystem::exists(directory.File("last.png")));
  window.reset();
  int width = 0;
  EXPECT_EQ(ReadPng(directory.File("last.png"), width),
            (std::vector<std::uint32_t>{0x102030, 0x102030, 0x102030, 5, 0x102030, 0x102030,
                                        0x102030, 0x102030}));
  EXPECT_EQ(width, 4);
}

TEST(HeadlessWindow, TheUserTypesClicksAndMoves) {
  const OpenPlatform platform(
      "1 move 5 6\n2 button right\n5 wheel down\n6 key x\n8 moveto 100 50\n9 resize 30 20\n"
      "10 iconify\n11 damage\n12 close");
  const auto window = platform.OpenWindow(
      {.x = 10, .y = 10, .width = 40, .height = 40, .sizeable = true, .active = false});
  const auto messages = platform.MessagesUntil(20ms);
  ASSERT_EQ(Kinds(messages),
            (std::vector{Kind::MouseMove, Kind::MouseButton, Kind::MouseButton, Kind::Wheel,
                         Kind::Key, Kind::Key, Kind::Moved, Kind::Resized, Kind::Iconify,
                         Kind::Refresh, Kind::Close}));
  EXPECT_EQ(messages[1].x, 5);
  EXPECT_EQ(messages[1].y, 6);
  EXPECT_TRUE(messages[1].pressed);
  EXPECT_EQ(messages[1].button, MouseButton::Right);
  EXPECT_FALSE(messages[3].pressed);
  EXPECT_EQ(messages[4].key, 'x');
  EXPECT_TRUE(messages[6].byUser);
  const Rectangle now = window->Geometry();
  EXPECT_EQ(now.x, 100);
  EXPECT_EQ(now.width, 30);
  int x = 0;
  int y = 0;
  window->PointerPosition(x, y);
  EXPECT_EQ(x, 5 + 10 - 100) << "the pointer stays where it is on the screen";
}

TEST(HeadlessWindow, WhatItForbidsTheUserCannotDo) {
  const OpenPlatform platform(
      "1 moveto 1 1\n1 resize 9 9\n1 iconify\n1 close\n1 drop 1 1 /x\n1 window 2\n1 close");
  const auto window = platform.OpenWindow(
      {.width = 40, .height = 40, .fixed = true, .noClose = true, .noHide = true, .active = false});
  EXPECT_TRUE(platform.MessagesUntil(5ms).empty());
}

TEST(HeadlessWindow, DropsBecomeAbsolutePaths) {
  const OpenPlatform platform("1 drop 7 8 a /b");
  const auto window = platform.OpenWindow({.width = 40, .height = 40, .active = false});
  window->SetDropZone(true);
  const auto messages = platform.MessagesUntil(5ms);
  ASSERT_EQ(Kinds(messages), std::vector{Kind::Drop});
  EXPECT_EQ(messages[0].paths,
            (std::vector<std::string>{std::filesystem::absolute("a").string(), "/b"}));
}

TEST(HeadlessWindow, ModifiersChangeKeysAndTheReleaseMatchesThePress) {
  const OpenPlatform platform(
      "1 key LCONTROL down\n2 key c down\n3 key LCONTROL up\n4 key c up\n"
      "5 key RCONTROL down\n6 key a\n8 key RCONTROL up\n9 key LSHIFT down\n9 key RALT down");
  const auto window = platform.OpenWindow({.width = 40, .height = 40, .active = false});
  const auto messages = platform.MessagesUntil(20ms);
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_EQ(messages[0].key, keyControlC);
  EXPECT_EQ(messages[0].qualifiers, qualifierLeftControl);
  EXPECT_EQ(messages[1].key, keyControlC);
  EXPECT_FALSE(messages[1].pressed);
  EXPECT_EQ(platform->windows().GetQualifiers(), qualifierLeftShift | qualifierRightAlt);
}

TEST(HeadlessWindow, AWindowThatIsOpenedAgainKeepsItsNumber) {
  const OpenPlatform platform("1 window 2\n1 key a down\n5 key b down");
  const auto first = platform.OpenWindow({.identity = 7, .width = 4, .height = 4});
  auto second = platform.OpenWindow({.identity = 8, .width = 4, .height = 4});
  second.reset();
  EXPECT_EQ(Kinds(platform.MessagesUntil(2ms)),
            (std::vector{Kind::Active, Kind::Inactive, Kind::Active}))
      << "the line for the closed window is passed over";
  second = platform.OpenWindow({.identity = 8, .width = 4, .height = 4, .active = false});
  const auto messages = platform.MessagesUntil(10ms);
  ASSERT_EQ(Kinds(messages), std::vector{Kind::Key});
  EXPECT_EQ(messages[0].window, second.get());
  EXPECT_EQ(messages[0].key, 'b');
}

TEST(HeadlessWindow, MessagesOfAClosedWindowGo) {
  const OpenPlatform platform("1 key a\n3 close");
  auto window = platform.OpenWindow({.width = 4, .height = 4});
  platform->time().SleepUntil(5ms);
  window.reset();
  EXPECT_FALSE(platform->windows().GetNextWindowMessage().has_value());
}

TEST(HeadlessWindow, OnlyOneIsActive) {
  const OpenPlatform platform("5 activate\n6 deactivate");
  const auto first = platform.OpenWindow({.width = 4, .height = 4});
  const auto second = platform.OpenWindow({.width = 4, .height = 4});
  const auto messages = platform.MessagesUntil(10ms);
  ASSERT_EQ(Kinds(messages), (std::vector{Kind::Active, Kind::Inactive, Kind::Active,
                                          Kind::Inactive, Kind::Active, Kind::Inactive}));
  EXPECT_EQ(messages[3].window, second.get());
  EXPECT_EQ(messages[4].window, first.get());
}

TEST(HeadlessWindow, EndsItsWayAtTheReachOfWindows) {
  constexpr int far = std::numeric_limits<int>::max();
  const OpenPlatform platform;
  const auto window = platform.OpenWindow({.x = far, .y = -far, .width = 4, .height = 4});
  EXPECT_EQ(window->Geometry().x, windowReach);
  EXPECT_EQ(window->Geometry().y, -windowReach);
  window->MoveSize(-far, far, 4, 4);
  EXPECT_EQ(window->Geometry().x, -windowReach);
  EXPECT_EQ(window->Geometry().y, windowReach);
  const auto messages = platform.MessagesUntil(1ms);
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.back().x, -windowReach);
}

TEST(HeadlessWindow, TellsItsOwnChangesApart) {
  const OpenPlatform platform;
  const auto window = platform.OpenWindow({.width = 4, .height = 4, .active = false});
  window->MoveSize(9, 9, 5, 4);
  const auto messages = platform.MessagesUntil(1ms);
  ASSERT_EQ(Kinds(messages), (std::vector{Kind::Moved, Kind::Resized}));
  EXPECT_FALSE(messages[0].byUser);
  EXPECT_FALSE(messages[1].byUser);
}

TEST(HeadlessScreen, ShowsWindowsOverOneAnotherInTheirShapes) {
  HeadlessSettings settings;
  settings.screenWidth = 20;
  settings.screenHeight = 40;
  const OpenPlatform platform("", std::move(settings));
  const auto below = platform.OpenWindow({.width = 3, .height = 1});
  below->Fill(0, 0, 3, 1, 0x111111);
  const auto above = platform.OpenWindow({.x = 4,
                                          .y = 24,
                                          .width = 2,
                                          .height = 1,
                                          .borderless = true,
                                          .shape = WindowShape{2, 1, {255, 0}}});
  above->Fill(0, 0, 2, 1, 0x222222);
  const auto row = [&] {
    std::vector<std::uint32_t> pixels;
    const auto picture = platform->windows().GrabScreen({3, 24, 5, 1});
    for (const std::uint32_t pixel : picture->pixels) pixels.push_back(pixel & 0xFFFFFF);
    return pixels;
  };
  EXPECT_EQ(row(), (std::vector<std::uint32_t>{0, 0x222222, 0x111111, 0x111111, 0}));
  above->ToBack();
  EXPECT_EQ(row(), (std::vector<std::uint32_t>{0, 0x111111, 0x111111, 0x111111, 0}));
  above->ToFront();
  below->Iconify();
  EXPECT_EQ(row(), (std::vector<std::uint32_t>{0, 0x222222, 0, 0, 0}));
}

TEST(HeadlessScreen, ShotsShowWhatIsThereAtTheirTime) {
  TempDirectory directory;
  const OpenPlatform platform("5 shot " + directory.File("one.png") + "\n6 screenshot " +
                              directory.File("all.png") + "\n7 shot /nowhere/x.png");
  const auto window = platform.OpenWindow({.x = 1, .y = 2, .width = 2, .height = 1});
  window->Fill(0, 0, 2, 1, 0xABCDEF);
  platform->time().SleepUntil(10ms);
  int width = 0;
  EXPECT_EQ(ReadPng(directory.File("one.png"), width),
            (std::vector<std::uint32_t>{0xABCDEF, 0xABCDEF}));
  const auto all = ReadPng(directory.File("all.png"), width);
  EXPECT_EQ(width, 1920);
  EXPECT_EQ(all[26 * 1920 + 5], 0xABCDEFU);
  EXPECT_EQ(all[26 * 1920 + 4], 0U);
  EXPECT_EQ(platform.reports, "cannot write the picture /nowhere/x.png\n");
}

TEST(HeadlessScreen, HasModesUpToItsOwnSize) {
  OpenPlatform platform;
  EXPECT_TRUE(platform->windows().OpenPlatformScreen(640, 480, 32).has_value());
  EXPECT_EQ(platform->windows().GetDesktopInfo().width, 640);
  platform->windows().ClosePlatformScreen();
  EXPECT_EQ(platform->windows().GetDesktopInfo().width, 1920);
  const Status missing = platform->windows().OpenPlatformScreen(5000, 480, 32);
  ASSERT_FALSE(missing.has_value());
  EXPECT_EQ(missing.error(), Error::ScreenSizeUnsupported);
  EXPECT_EQ(platform.host.errors.argument, "5000x480x32");
}

RequesterAnswer Ask(const OpenPlatform& platform, RequesterCall call) {
  platform->requesters().Start(std::move(call));
  for (;;) {
    EXPECT_EQ(platform->waiting().WaitForSignals({}), Wake::Requester);
    if (auto answer = platform->requesters().TakeAnswer()) return *answer;
  }
}

TEST(HeadlessRequests, TakeTheQueuedRepliesAndPrintThem) {
  const OpenPlatform platform(
      "0 reply choice 1\n0 reply text \"a \\\"b\\\" c\"\n0 reply file /tmp/x \"/a b\"\n"
      "0 reply text wrong\n0 reply choice 3");
  using Call = RequesterCall::Kind;
  const RequesterCall choice{
      .kind = Call::Choice, .title = "T", .body = "one\ntwo", .buttons = {"Yes", "No"}};
  EXPECT_EQ(Ask(platform, choice).choice, 1);
  EXPECT_EQ(Ask(platform, {.kind = Call::String, .title = "S", .body = "B", .maxLength = 5}).text,
            "a \"b\"");
  EXPECT_EQ(Ask(platform, {.kind = Call::File,
                           .title = "F",
                           .defaultText = "/home",
                           .pattern = "#?(.png)",
                           .multiSelect = true})
                .paths.size(),
            2U);
  EXPECT_TRUE(Ask(platform, choice).cancelled) << "an answer of another kind";
  EXPECT_EQ(Ask(platform, choice).choice, 0) << "there is no third button";
  EXPECT_TRUE(Ask(platform, {.kind = Call::Path, .title = ""}).cancelled) << "no reply is left";
  EXPECT_EQ(platform.reports,
            "request: T: one\\ntwo [Yes|No] -> choice 1\n"
            "request: S: B [] -> text \"a \\\"b\\\"\"\n"
            "request: F: #?(.png) /home [] -> file /tmp/x \"/a b\"\n"
            "request: T: one\\ntwo [Yes|No] -> cancel\n"
            "request: T: one\\ntwo [Yes|No] -> cancel\n"
            "request: :  [] -> cancel\n");
}

TEST(HeadlessServices, ClipboardAndJoysticksFollowTheScript) {
  const OpenPlatform platform("5 clipboard \"new text\"\n6 joy 2 3 5");
  int changes = 0;
  ASSERT_TRUE(platform->clipboard().Watch([&] { ++changes; }).has_value());
  EXPECT_EQ(platform->clipboard().Read()->kind, ClipboardContent::Kind::Empty);
  EXPECT_EQ(platform->input().ReadJoystick(2).error(), Error::JoystickNotFound);
  platform->time().SleepUntil(10ms);
  EXPECT_EQ(changes, 0) << "only from within the message calls";
  (void)platform->windows().GetNextWindowMessage();
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(platform->clipboard().Read()->text, "new text");
  EXPECT_EQ(platform->input().CountJoysticks(), 1);
  EXPECT_EQ(platform->input().ReadJoystick(2)->direction, 3);
  EXPECT_EQ(platform->input().ReadJoystick(2)->buttons, 5U);
  EXPECT_EQ(platform->input().ReadJoystick(-1).error(), Error::JoystickNotFound);
  EXPECT_EQ(platform->input().ReadJoystick(4).error(), Error::JoystickNotFound);
}

TEST(HeadlessServices, PointersKeepTheirProportions) {
  const OpenPlatform platform;
  const std::vector<std::uint32_t> pixels(200 * 100, 0xFF00FF00);
  EXPECT_TRUE(platform->windows().MakePointer({pixels.data(), 200, 100, 200}, 199, 99).has_value());
  EXPECT_EQ(platform->windows().MakePointer({}, 0, 0).error(), Error::CannotCreatePointer);
}

}  // namespace
}  // namespace quillmere
