// Whatever compiles is an image that the machine takes, and whatever doesn't is told so.
#include <gtest/gtest.h>

#include "compile_helper.h"
#include "random_program.h"

namespace quillmere::qmc {
namespace {

void ExpectVerified(const CompiledCode& code, const std::string& text) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    for (const bool strip : {false, true}) {
      const std::string bytes = WriteImage(code.main, {.byteOrder = order, .strip = strip});
      const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
      const auto image = ReadImage({data, bytes.size()}, "");
      ASSERT_TRUE(image) << static_cast<int>(image.error()) << '\n' << text;
    }
  }
}

TEST(RandomProgram, IsAlwaysAnImageThatVerifies) {
  for (unsigned seed = 0; seed < 400; ++seed) {
    const std::string text = RandomProgram(seed).Write();
    const auto compilation = CompileForTest(text);
    ASSERT_EQ(compilation->diagnostics.Render(compilation->sources), "") << text;
    ExpectVerified(compilation->code, text);
  }
}

/// Faults at random places: each script either compiles to something that verifies or is refused
/// with a fault that has a place in it.
TEST(RandomProgram, WithFaultsIsRefusedOrVerifies) {
  std::mt19937 random(7);
  const auto pick = [&](std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
  };
  static constexpr const char* pieces[] = {
      "If",    "EndIf",  "Else",        "Next",     "(",      ")",  "{",  "}",    "[",
      "]",     "=",      ",",           "..",       "...",    "->", ".",  ":",    "\n",
      "\"",    "/*",     ";",           "Function", "For",    "In", "To", "Case", "Goto",
      "@",     "Return", "EndFunction", "%",        "Repeat", "$",  "#",  "'",    "Const #A = ",
      "Local", "Switch", "Then",        "1e",       "Until"};
  for (unsigned seed = 0; seed < 600; ++seed) {
    std::string text = RandomProgram(1000 + seed).Write();
    for (std::size_t faults = 1 + pick(4); faults > 0; --faults) {
      const std::size_t at = pick(text.size());
      if (pick(2) == 0) {
        text.erase(at, pick(12));
      } else {
        text.insert(at, std::string(" ") + pieces[pick(std::size(pieces))] + " ");
      }
      if (text.empty()) text = "x";
    }
    const auto compilation = CompileForTest(text);
    for (const Diagnostic& fault : compilation->diagnostics.List()) {
      ASSERT_LE(fault.position.offset, text.size());
      ASSERT_FALSE(fault.message.empty());
    }
    if (compilation->diagnostics.Empty()) ExpectVerified(compilation->code, text);
  }
}

}  // namespace
}  // namespace quillmere::qmc
