#include "input/event_queue.h"

#include <algorithm>
#include <utility>

namespace quillmere {

void RawEventQueue::Post(qmRawEvent event) {
  const std::scoped_lock lock(lock_);
  if (events_.size() < capacity) events_.push_back(std::move(event));
}

std::optional<qmRawEvent> RawEventQueue::Take() {
  const std::scoped_lock lock(lock_);
  std::size_t first = 0;
  while (first < events_.size() && events_[first].display == nullptr) ++first;
  std::optional<qmRawEvent> taken;
  if (first < events_.size()) taken = std::move(events_[first++]);
  events_.erase(events_.begin(), events_.begin() + static_cast<std::ptrdiff_t>(first));
  return taken;
}

bool RawEventQueue::DropThrough(const std::function<bool(const qmRawEvent&)>& matches) {
  const std::scoped_lock lock(lock_);
  const auto found = std::ranges::find_if(events_, matches);
  if (found == events_.end()) return false;
  events_.erase(events_.begin(), found + 1);
  return true;
}

void RawEventQueue::PurgeStale(SysTime now, std::int64_t timeout) {
  const std::scoped_lock lock(lock_);
  std::size_t keep = events_.size();
  while (keep > 0 && EventAge(events_[keep - 1].stamp, now) <= timeout) --keep;
  events_.erase(events_.begin(), events_.begin() + static_cast<std::ptrdiff_t>(keep));
}

void RawEventQueue::Clear() {
  const std::scoped_lock lock(lock_);
  events_.clear();
}

void RawEventQueue::Forget(const qmDisplay& display) {
  const std::scoped_lock lock(lock_);
  for (qmRawEvent& event : events_) {
    if (event.display == &display) event.display = nullptr;
  }
}

std::size_t RawEventQueue::Count() const {
  const std::scoped_lock lock(lock_);
  return events_.size();
}

std::int64_t EventAge(SysTime stamp, SysTime now) {
  constexpr std::int64_t microsecondsPerSecond = 1000000;
  const std::int64_t seconds =
      now.count() / microsecondsPerSecond - stamp.count() / microsecondsPerSecond;
  const std::int64_t micros =
      now.count() % microsecondsPerSecond - stamp.count() % microsecondsPerSecond;
  return micros / 1000 + seconds * 1000;
}

}  // namespace quillmere
