#include <gtest/gtest.h>

#include "open_platform.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

TEST(VirtualClock, MovesByAMicrosecondAReading) {
  const OpenPlatform platform;
  const SysTime first = platform->time().GetSysTime();
  EXPECT_EQ(platform->time().GetSysTime() - first, 1us);
  const LocalTime now = platform->time().Now();
  EXPECT_EQ(FormatDate(DateForm::ShortDate, now), "01-Jan-20");
  EXPECT_EQ(FormatDate(DateForm::DateAndTime, now), "01-01-20 00:00:00");
  EXPECT_EQ(FormatDate(DateForm::DayName, now), "Wednesday");
}

TEST(VirtualClock, TheCalendarGoesOnWithTheClock) {
  const OpenPlatform platform;
  platform->time().SleepUntil(59 * 24h + 23h + 59min + 59s);
  EXPECT_EQ(FormatDate(DateForm::DateAndTime, platform->time().Now()), "02-29-20 23:59:59");
  platform->time().SleepUntil(60 * 24h);
  EXPECT_EQ(FormatDate(DateForm::ShortDate, platform->time().Now()), "01-Mar-20");
}

TEST(VirtualClock, AWaitJumpsToItsDeadlineOrToTheNextLineOfInput) {
  const OpenPlatform platform("500 close");
  const auto window = platform.OpenWindow({.width = 10, .height = 10, .active = false});
  EXPECT_EQ(platform->waiting().WaitForSignals(300ms), Wake::Timer);
  EXPECT_EQ(platform->waiting().WaitForSignals(10min), Wake::Input);
  EXPECT_EQ(platform->time().GetSysTime(), 500ms + 1us);
  EXPECT_EQ(platform->waiting().WaitForSignals(10min), Wake::Input) << "until it is fetched";
  EXPECT_EQ(platform->windows().GetNextWindowMessage()->kind, WindowMessageKind::Close);
  EXPECT_EQ(platform->waiting().WaitForSignals(10min), Wake::Timer);
}

TEST(VirtualClock, AWaitThatNothingCanEndIsABreak) {
  const OpenPlatform platform("20 close\n40 break");
  EXPECT_EQ(platform->waiting().WaitForSignals({}), Wake::Break) << "the line of no window passes";
  EXPECT_EQ(platform->time().GetSysTime(), 40ms + 1us);
  EXPECT_EQ(platform->waiting().WaitForSignals({}), Wake::Break);
  EXPECT_EQ(platform->waiting().WaitForSignals({}), Wake::Break);
}

TEST(VirtualClock, ABreakIsToldOnce) {
  const OpenPlatform platform("5 break");
  EXPECT_FALSE(platform->waiting().TakeBreak());
  platform->time().SleepUntil(10ms);
  EXPECT_TRUE(platform->waiting().TakeBreak());
  EXPECT_FALSE(platform->waiting().TakeBreak());
}

TEST(VirtualClock, PulsesComeOnceAndCanBeGivenUp) {
  const OpenPlatform platform;
  platform->waiting().StartPulse(100ms);
  platform->waiting().StartPulse(30ms);
  EXPECT_EQ(platform->waiting().WaitForSignals(1s), Wake::Pulse);
  EXPECT_EQ(platform->time().GetSysTime(), 30ms + 1us);
  platform->waiting().StartPulse(10ms);
  platform->waiting().AbortPulse();
  EXPECT_EQ(platform->waiting().WaitForSignals(1s), Wake::Timer);
}

TEST(VirtualClock, VerticalBlanksStandAtEverySixtiethOfASecond) {
  const OpenPlatform platform;
  for (int blank = 1; blank <= 60; ++blank) {
    platform->time().WaitVerticalBlank();
  }
  EXPECT_EQ(platform->time().GetSysTime(), 1s + 1us);
  platform->time().WaitVerticalBlank();
  EXPECT_EQ(platform->time().GetSysTime(), 1016667us + 1us);
}

TEST(VirtualClock, AnEventOfAnotherTaskWakesAWaitWithAnOpenPort) {
  const OpenPlatform platform;
  platform->waiting().SetPortOpen(true);
  const auto task = PlatformTask::Create(
      "other", 0, [&](const std::stop_token&) { platform->waiting().SignalEvent(); });
  EXPECT_EQ(platform->waiting().WaitForSignals({}), Wake::Event);
}

TEST(RealClock, PulsesAndDeadlinesTakeRealTime) {
  HeadlessSettings settings;
  settings.virtualClock = false;
  const OpenPlatform platform("2 break", std::move(settings));
  EXPECT_EQ(platform->waiting().WaitForSignals({}), Wake::Break);
  EXPECT_GE(platform->time().GetSysTime(), 2ms);
  platform->waiting().StartPulse(1ms);
  EXPECT_EQ(platform->waiting().WaitForSignals({}), Wake::Pulse);
  platform->waiting().StartPulse(1h);
  const SysTime soon = platform->time().GetSysTime() + 1ms;
  EXPECT_EQ(platform->waiting().WaitForSignals(soon), Wake::Timer);
}

}  // namespace
}  // namespace quillmere
