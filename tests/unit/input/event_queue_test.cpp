#include "input/event_queue.h"

#include <gtest/gtest.h>

#include "scene/display.h"

namespace quillmere {
namespace {

using std::chrono::milliseconds;

qmRawEvent At(milliseconds stamp, std::int32_t value, qmDisplay* display) {
  return {.a = value, .stamp = stamp, .display = display};
}

TEST(RawEventQueue, DropsWhatComesWhenItIsFull) {
  RawEventQueue queue;
  qmDisplay display;
  for (int i = 0; i < 300; ++i) queue.Post(At(milliseconds(0), i, &display));
  EXPECT_EQ(queue.Count(), RawEventQueue::capacity);
  EXPECT_EQ(queue.Take()->a, 0);
  queue.Post(At(milliseconds(0), 1000, &display));
  int last = -1;
  while (auto event = queue.Take()) last = event->a;
  EXPECT_EQ(last, 1000);
}

TEST(RawEventQueue, PassesOverTheEventsOfADisplayThatHasGone) {
  RawEventQueue queue;
  qmDisplay first;
  qmDisplay second;
  queue.Post(At(milliseconds(0), 1, &first));
  queue.Post(At(milliseconds(0), 2, &second));
  queue.Post(At(milliseconds(0), 3, &first));
  queue.Forget(first);
  EXPECT_EQ(queue.Take()->a, 2);
  EXPECT_FALSE(queue.Take());
  EXPECT_EQ(queue.Count(), 0u);
}

TEST(RawEventQueue, AStaleEventTakesAllBeforeItAlong) {
  RawEventQueue queue;
  qmDisplay display;
  queue.Post(At(milliseconds(5000), 1, &display));
  queue.Post(At(milliseconds(1000), 2, &display));
  queue.Post(At(milliseconds(4000), 3, &display));
  queue.PurgeStale(milliseconds(5500), 1500);
  EXPECT_EQ(queue.Take()->a, 3);

  queue.Post(At(milliseconds(4000), 4, &display));
  queue.PurgeStale(milliseconds(5500), 1500);
  EXPECT_EQ(queue.Count(), 1u) << "an age equal to the timeout is not stale";
}

TEST(EventAge, TruncatesMicrosecondsApartFromSeconds) {
  const auto at = [](std::int64_t microseconds) { return SysTime(microseconds); };
  EXPECT_EQ(EventAge(at(0), at(1999)), 1);
  EXPECT_EQ(EventAge(at(999'999), at(1'000'000)), 1) << "1000 less 999.999, truncated to 999";
  EXPECT_EQ(EventAge(at(500), at(2'000'000)), 2000);
}

}  // namespace
}  // namespace quillmere
