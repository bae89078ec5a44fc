#include <gtest/gtest.h>

#include "input/timers.h"

namespace quillmere {
namespace {

using std::chrono::milliseconds;

/// The numbers of the timers that a whole sweep finds.
std::vector<int> SweepAt(TimerRequests& timers, milliseconds now) {
  std::vector<int> fired;
  timers.StartSweep();
  while (!timers.SweepEnded()) {
    if (const auto timer = timers.NextFired(now)) fired.push_back(timer->id.number);
  }
  return fired;
}

TEST(TimerRequests, AnIntervalKeepsItsBeatWhenItIsNoticedLate) {
  TimerRequests timers;
  timers.Start(TimerKind::Interval, {1}, 100, milliseconds(0));
  EXPECT_TRUE(SweepAt(timers, milliseconds(99)).empty());
  EXPECT_EQ(SweepAt(timers, milliseconds(130)), std::vector{1});
  EXPECT_EQ(timers.EarliestDue(), milliseconds(200));
}

TEST(TimerRequests, LostPeriodsAreNotCaughtUp) {
  TimerRequests timers;
  timers.Start(TimerKind::Interval, {1}, 100, milliseconds(0));
  EXPECT_EQ(SweepAt(timers, milliseconds(2050)), std::vector{1});
  EXPECT_EQ(timers.EarliestDue(), milliseconds(2150));
  EXPECT_TRUE(SweepAt(timers, milliseconds(2060)).empty());
}

TEST(TimerRequests, ATimeoutFiresOnceAndAChangedPeriodWaitsForTheNextExpiry) {
  TimerRequests timers;
  timers.Start(TimerKind::Timeout, {1}, 50, milliseconds(0));
  timers.Start(TimerKind::Interval, {1}, 100, milliseconds(0));
  timers.Change({1}, 10);
  EXPECT_EQ(SweepAt(timers, milliseconds(60)), std::vector{1});
  EXPECT_EQ(timers.EarliestDue(), milliseconds(100));
  SweepAt(timers, milliseconds(100));
  EXPECT_EQ(timers.EarliestDue(), milliseconds(110));
}

TEST(TimerRequests, CancellingTheNextOneMovesTheSweepOn) {
  TimerRequests timers;
  for (int id = 1; id <= 3; ++id) timers.Start(TimerKind::Timeout, {id}, 10, milliseconds(0));
  timers.StartSweep();
  EXPECT_EQ(timers.NextFired(milliseconds(20))->id.number, 1);
  timers.Cancel(TimerKind::Timeout, {2});
  timers.Cancel(TimerKind::Interval, {3});
  EXPECT_EQ(timers.NextFired(milliseconds(20))->id.number, 3);
  EXPECT_TRUE(timers.SweepEnded());
  timers.Start(TimerKind::Timeout, {4}, 1, milliseconds(0));
  EXPECT_TRUE(timers.SweepEnded()) << "what starts behind the sweep waits for the next one";
}

}  // namespace
}  // namespace quillmere
