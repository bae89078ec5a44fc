// The way from the platform's messages to the input state and the raw queue.
#include <gtest/gtest.h>

#include <thread>

#include "input/input_state.h"
#include "input/libraries.h"
#include "input/pump.h"
#include "platform/memory_screen.h"
#include "unit/scene/stage.h"

namespace quillmere {
namespace {

/// A stage with an input side, whose user acts out a script.
class InputStage {
 public:
  explicit InputStage(std::vector<UserAction> actions = {})
      : stage_({.settings = {}, .input = {.actions = std::move(actions), .replies = {}}}),
        input(stage_.host) {
    stage_.host.Enter(input);
    EXPECT_TRUE(OpenEventLibrary(stage_.State()));
  }
  ~InputStage() {
    CloseDisplays(*stage_.scene);
    CloseEventLibrary(stage_.State());
    stage_.scene->hooks = {};
  }
  InputStage(const InputStage&) = delete;
  InputStage& operator=(const InputStage&) = delete;

  Stage* operator->() { return &stage_; }
  bool Pump() { return PumpPlatformEvents(stage_.State()); }
  DisplayInput& OfDisplay() { return stage_.Display().input; }

 private:
  Stage stage_;

 public:
  InputState input;
};

UserAction KeyAction(char key, bool pressed) {
  return {.verb = UserVerb::Key, .pressed = pressed, .key = static_cast<std::uint32_t>(key)};
}

TEST(Pump, AFloodLosesEventsButNoState) {
  std::vector<UserAction> flood;
  constexpr int rounds = 20000;
  for (int i = 0; i < rounds; ++i) {
    const bool pressed = i % 2 == 1;
    flood.push_back(KeyAction('a', pressed));
    flood.push_back({.verb = UserVerb::Button, .pressed = pressed, .button = MouseButton::Left});
    flood.push_back({.verb = UserVerb::Move, .x = i % 300, .y = 7});
    flood.push_back({.verb = UserVerb::MoveTo, .x = i % 100, .y = 9});
    flood.push_back(KeyAction('b', !pressed));
  }
  InputStage stage(flood);
  EXPECT_FALSE(stage.Pump());
  EXPECT_EQ(stage.input.queue.Count(), RawEventQueue::capacity);
  EXPECT_TRUE(stage.OfDisplay().keyState['a']);
  EXPECT_FALSE(stage.OfDisplay().keyState['b']);
  EXPECT_TRUE(stage.OfDisplay().leftMouseDown);
  EXPECT_TRUE(stage.OfDisplay().mouseMoved);
  EXPECT_EQ(stage->Display().windowX, (rounds - 1) % 100);
  // Those that found a place are the first, in their order, and the queue works on.
  const auto first = stage.input.queue.Take();
  ASSERT_TRUE(first);
  EXPECT_EQ(first->kind, RawEventKind::WindowActive);
  const auto second = stage.input.queue.Take();
  ASSERT_TRUE(second);
  EXPECT_EQ(second->kind, RawEventKind::Key);
  EXPECT_EQ(second->c, 'a');
  PostRawEvent(stage.input, stage->Display(), RawEventKind::WheelUp);
  EXPECT_EQ(stage.input.queue.Count(), RawEventQueue::capacity - 1);
}

TEST(Pump, OtherTasksMayPostMeanwhile) {
  InputStage stage;
  constexpr int posts = 5000;
  std::vector<std::jthread> tasks;
  for (int task = 0; task < 3; ++task) {
    tasks.emplace_back([&] {
      for (int i = 0; i < posts; ++i) {
        stage.input.queue.Post({.kind = RawEventKind::ClipboardChanged,
                                .stamp = SysTime(i),
                                .display = &stage->Display(),
                                .attachment = {"text"}});
      }
    });
  }
  int taken = 0;
  for (int i = 0; i < posts; ++i) {
    if (const auto event = stage.input.queue.Take()) {
      ++taken;
      ASSERT_EQ(event->attachment.size(), 1u);
    }
    if (i % 100 == 0) stage.input.queue.PurgeStale(SysTime(10000000), 1500);
  }
  tasks.clear();
  EXPECT_LE(stage.input.queue.Count(), RawEventQueue::capacity);
  EXPECT_LE(taken, 3 * posts);
}

TEST(Pump, ABackdropPassesClicksOn) {
  InputStage stage;
  ASSERT_EQ(stage->Call("CreateDisplay", {Arg(), Fields({{"private1", 1}, {"width", 50}})}), 0);
  qmDisplay& backdrop = *stage->scene->displays.All().begin();
  ASSERT_TRUE(OpenDisplayWindow(*stage->scene, backdrop, true));
  stage.Pump();
  EXPECT_FALSE(stage.OfDisplay().windowActive);
  stage.input.queue.Clear();
  auto& window = dynamic_cast<MemoryWindow&>(*backdrop.window);
  window.Post({.kind = WindowMessageKind::MouseButton, .pressed = true});
  stage.Pump();
  EXPECT_FALSE(backdrop.input.leftMouseDown);
  EXPECT_TRUE(stage.OfDisplay().windowActive);
  while (const auto event = stage.input.queue.Take()) {
    EXPECT_NE(event->kind, RawEventKind::LeftMouse);
  }
}

TEST(Pump, ARequestKeepsTheUserFromHidingAndSwitching) {
  InputStage stage;
  stage.OfDisplay().requesterActive = true;
  auto& window = dynamic_cast<MemoryWindow&>(*stage->Display().window);
  const auto press = [&](int key) {
    for (const bool pressed : {true, false}) {
      window.Post({.kind = WindowMessageKind::Key,
                   .pressed = pressed,
                   .key = key,
                   .qualifiers = qualifierLeftCommand});
    }
    stage.Pump();
  };
  press('h');
  press(static_cast<int>(Key::Return));
  window.Post({.kind = WindowMessageKind::Iconify});
  stage.Pump();
  EXPECT_EQ(stage->Display().state, DisplayState::Open);
  EXPECT_FALSE(stage->scene->fullScreen);
  stage.OfDisplay().requesterActive = false;
  press('h');
  EXPECT_EQ(stage->Display().state, DisplayState::Minimized);
  EXPECT_FALSE(stage.OfDisplay().keyState['h']) << "it is no key of the script";
}

TEST(Waiting, EndsWhenTheWindowClosesUnderIt) {
  InputStage stage;
  // Sounds are asked after at each sweep; here one takes the window away.
  int asked = 0;
  stage.input.nextSoundEvent = [&]() -> std::optional<SoundEvent> {
    if (++asked == 3) CloseDisplayWindow(*stage->scene, stage->Display());
    return std::nullopt;
  };
  stage.input.Global(GlobalSlot::SampleEnd).func = 1;
  stage->platform->waiting().SignalEvent();
  stage.input.timers.Start(TimerKind::Interval, ObjectId{99, 0}, 10, SysTime(0));
  EXPECT_EQ(stage->Call("WaitEvent"), static_cast<int>(Error::DisplayIsClosed));
  EXPECT_GE(asked, 3);
  EXPECT_EQ(stage->Call("WaitLeftMouse"), static_cast<int>(Error::DisplayIsClosed));
  stage.input.Global(GlobalSlot::SampleEnd).func = vmNoRef;
}

TEST(Sounds, WaitUntilSomebodyListens) {
  InputStage stage;
  int asked = 0;
  stage.input.nextSoundEvent = [&]() -> std::optional<SoundEvent> {
    ++asked;
    return std::nullopt;
  };
  ASSERT_EQ(stage->Call("CheckEvent"), 0);
  EXPECT_EQ(asked, 0);
}

TEST(Waiting, SleepsOnlyAfterAWholeSweep) {
  InputStage stage;
  // A sound has ended while the sweep stood behind the sounds, and its signal is gone.
  int told = 0;
  stage.input.nextSoundEvent = [&]() -> std::optional<SoundEvent> {
    if (told++ > 0) return std::nullopt;
    return SoundEvent{.slot = GlobalSlot::SampleEnd, .id = {7, 0}, .time = 1, .starts = 2};
  };
  vmSetTop(stage->State(), 0);
  vmPushClosure(
      stage->State(), [](VmState&) -> CommandResult { return 0; }, 0);
  stage.input.Global(GlobalSlot::SampleEnd).func = vmRef(stage->State(), vmRegistryIndex);
  stage.input.sweep.stage = SweepStage::AfterEvent;
  ASSERT_EQ(stage->Call("WaitEvent"), 0);
  EXPECT_FALSE(vmQuitFlag(stage->State())) << "nothing would ever have ended the sleep";
  EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace quillmere
