// Compiled scripts do on the machine what their model says.
#include <gtest/gtest.h>

#include <cmath>

#include "base/host.h"
#include "compile_helper.h"
#include "model.h"
#include "vm/vm.h"

namespace quillmere::qmc {
namespace {

/// What the script prints is noted in the program's state, where a room's record would be.
struct TraceState {
  static constexpr Room room = Room::lib;
  Trace trace;
};

CommandResult Show(VmState& state) {
  std::vector<double>& line = vmRoom<TraceState>(state).trace.emplace_back();
  for (int i = 1; i <= vmGetTop(state); ++i) line.push_back(vmToNumber(state, i));
  return 0;
}

CommandResult RawGet(VmState& state) {
  vmRawGet(state, 1);
  return 1;
}

constexpr VmCommandEntry commands[] = {{"Show", Show}, {"RawGet", RawGet}};

/// Runs a script on a machine with the two commands above.
Trace RunOnMachine(const std::string& text, ImageOptions options) {
  const auto compilation = CompileForTest(text);
  EXPECT_EQ(compilation->diagnostics.Render(compilation->sources), "") << text;
  const std::string image = WriteImage(compilation->code.main, options);
  Host host;
  TraceState trace;
  host.Enter(trace);
  VmState* state = vmOpen(host);
  vmPushValue(*state, vmGlobalsIndex);
  vmRegisterCommands(*state, "", commands);
  vmSetTop(*state, 0);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(image.data());
  EXPECT_TRUE(vmLoadImage(*state, {bytes, image.size()}, "test"));
  EXPECT_EQ(vmPCall(*state, 0, 0), 0) << text;
  vmClose(state);
  return std::move(trace.trace);
}

bool IsSame(const Trace& a, const Trace& b) {
  const auto isSame = [](double x, double y) { return x == y || (std::isnan(x) && std::isnan(y)); };
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!std::ranges::equal(a[i], b[i], isSame)) return false;
  }
  return true;
}

TEST(Differential, MachineAndModelAgree) {
  int lines = 0;
  for (unsigned seed = 0; seed < 500; ++seed) {
    const Model model(seed);
    const std::optional<Trace> expected = model.Run();
    if (!expected) continue;
    const bool strip = seed % 2 == 0;
    const std::endian order = seed % 3 == 0 ? std::endian::big : std::endian::little;
    std::string text = model.Text();
    // With a label in it, the main chunk gives each local a register of its own.
    if (seed % 5 == 0) text += "\nending:\n";
    const Trace actual = RunOnMachine(text, {.byteOrder = order, .strip = strip});
    ASSERT_TRUE(IsSame(*expected, actual)) << "seed " << seed << '\n' << text;
    lines += static_cast<int>(actual.size());
  }
  EXPECT_GT(lines, 1000);
}

}  // namespace
}  // namespace quillmere::qmc
