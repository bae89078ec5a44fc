#include "pixels/color_commands.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

#include "pixels/pixels_state.h"

namespace quillmere {
namespace {

/// Two commands that belong to another library, so that they can be called by name.
constexpr std::array parameterCommands{VmCommandEntry{"SetMaskMode", SetMaskMode},
                                       VmCommandEntry{"SetAlphaIntensity", SetAlphaIntensity}};

class ColorCommandsTest : public testing::Test {
 protected:
  ColorCommandsTest() {
    host.Enter(pixels);
    vmOpenLibrary(*state, "graphics", ColorCommands(), BlitConstants());
    vmOpenLibrary(*state, "brush", parameterCommands);
  }

  /// The number that a command gives, or its failure as a negative one.
  double Call(std::string_view name, std::initializer_list<VmArgument> arguments) {
    const int top = vmGetTop(*state);
    const int code = vmCallCommand(*state, name, 1, arguments);
    const double value = code == 0 ? vmToNumber(*state, -1) : -code;
    vmSetTop(*state, top);
    return value;
  }

  Host host;
  PixelsState pixels;
  std::unique_ptr<VmState, void (*)(VmState*)> state{vmOpen(host), vmClose};
};

TEST_F(ColorCommandsTest, JoinsAndTakesApart) {
  EXPECT_EQ(Call("RGB", {0x12, 0x34, 0x56}), 0x123456);
  EXPECT_EQ(Call("RGB", {0, 0x100, 0}), 0x10000) << "arguments are not masked";
  EXPECT_EQ(Call("RGB", {-1, 0, 0}), -65536) << "the result is signed";
  EXPECT_EQ(Call("ARGB", {255, 0xFF0000}), 4294901760.0);
  EXPECT_EQ(Call("Red", {0xFF123456u}), 0x12);
  EXPECT_EQ(Call("Green", {-1.0}), 255);
  EXPECT_EQ(Call("Blue", {4294967295.0}), 255);
}

TEST_F(ColorCommandsTest, MixesByNumbersAndPercentages) {
  EXPECT_EQ(Call("MixRGB", {0xFF000000u, 0xFFFFFF, 128}), 0x7F7F7F);
  EXPECT_EQ(Call("MixRGB", {0, 0xFFFFFF, std::string_view("100%")}), 0xFEFEFE);
  EXPECT_EQ(Call("MixRGB", {0, 0xFFFFFF, 256}), -static_cast<int>(Error::WrongUsage));
  EXPECT_EQ(Call("MixRGB", {0, 0xFFFFFF, -1}), -static_cast<int>(Error::WrongUsage));
}

TEST_F(ColorCommandsTest, AsksTheScreenThePaletteAndTheDice) {
  EXPECT_EQ(Call("GetRealColor", {0x123457}), 0x123457);
  EXPECT_EQ(Call("GetPen", {0}), 4294967295.0);
  const std::array<std::uint32_t, 2> palette{0x111111, 0x222222};
  int depth = 16;
  pixels.screenDepth = [&] { return depth; };
  pixels.outputPalette = [&] { return std::span<const std::uint32_t>(palette); };
  EXPECT_EQ(Call("GetRealColor", {0xFFFFFF}), 0xF8FCF8);
  depth = 15;
  EXPECT_EQ(Call("GetRealColor", {0xFFFFFF}), 0xF8F8F8);
  EXPECT_EQ(Call("GetPen", {-5}), 0x111111);
  EXPECT_EQ(Call("GetPen", {1}), 0x222222);
  EXPECT_EQ(Call("GetPen", {300}), 0) << "a short palette ends in black";
  // One draw of the shared generator, whose four-bit digits are doubled.
  qmRandomSeed(host.random, 42);
  qmRandomState again = host.random;
  const int drawn = static_cast<int>(Call("GetRandomColor", {}));
  static_cast<void>(qmRandomDouble(again));
  EXPECT_EQ(host.random.x, again.x);
  for (int shift = 0; shift < 24; shift += 8) EXPECT_EQ((drawn >> shift & 0xFF) % 17, 0);
}

TEST_F(ColorCommandsTest, SetsBlitParametersInTheirRange) {
  Call("SetMaskMode", {5});
  EXPECT_EQ(pixels.maskMode, MASKOR);
  EXPECT_EQ(Call("SetMaskMode", {6}), -static_cast<int>(Error::WrongUsage));
  EXPECT_EQ(pixels.maskMode, MASKOR);
  Call("SetAlphaIntensity", {255});
  EXPECT_EQ(pixels.alphaIntensity, 255);
  EXPECT_EQ(Call("SetAlphaIntensity", {256}), -static_cast<int>(Error::WrongUsage));
  EXPECT_EQ(Call("SetAlphaIntensity", {-2}), -static_cast<int>(Error::WrongUsage));
  Call("SetAlphaIntensity", {std::string_view("50%")});
  EXPECT_EQ(pixels.alphaIntensity, 127);
  Call("SetAlphaIntensity", {-1});
  EXPECT_EQ(pixels.alphaIntensity, VANILLACOPY);
}

}  // namespace
}  // namespace quillmere
