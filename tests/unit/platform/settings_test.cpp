#include "platform/settings.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace quillmere {
namespace {

using Environment = std::map<std::string, std::string>;

std::expected<PlatformSettings, std::string> Read(const Environment& environment) {
  return ReadPlatformSettings([&environment](const char* name) -> const char* {
    const auto variable = environment.find(name);
    return variable != environment.end() ? variable->second.c_str() : nullptr;
  });
}

TEST(PlatformSettings, AScreenDecidesWhereNothingIsSaid) {
  EXPECT_TRUE(Read({})->headless);
  EXPECT_FALSE(Read({{"DISPLAY", ":0"}})->headless);
  EXPECT_FALSE(Read({{"WAYLAND_DISPLAY", "wayland-0"}})->headless);
  EXPECT_TRUE(Read({{"DISPLAY", ":0"}, {"QUILLMERE_PLATFORM", "headless"}})->headless);
  EXPECT_FALSE(Read({{"QUILLMERE_PLATFORM", "sdl"}})->headless);
}

TEST(PlatformSettings, ReadsEachVariable) {
  const auto settings = Read({{"QUILLMERE_SCREEN", "800x600"},
                              {"QUILLMERE_CLOCK", "real"},
                              {"QUILLMERE_INPUT", "in.txt"},
                              {"QUILLMERE_SHOT", "out.png"},
                              {"QUILLMERE_AUDIO", "out.wav"}});
  ASSERT_TRUE(settings.has_value());
  EXPECT_EQ(settings->screenWidth, 800);
  EXPECT_EQ(settings->screenHeight, 600);
  EXPECT_FALSE(settings->virtualClock);
  EXPECT_EQ(settings->inputFile, "in.txt");
  EXPECT_EQ(settings->shotFile, "out.png");
}

TEST(PlatformSettings, RefusesOtherValues) {
  EXPECT_EQ(Read({{"QUILLMERE_PLATFORM", "other"}}).error(),
            "QUILLMERE_PLATFORM: \"other\" is not sdl or headless");
  for (const char* screen : {"800", "800x", "x600", "0x600", "800x-1", "99999x10", "8x6x4", "a"}) {
    EXPECT_FALSE(Read({{"QUILLMERE_SCREEN", screen}}).has_value()) << screen;
  }
  EXPECT_FALSE(Read({{"QUILLMERE_CLOCK", "fast"}}).has_value());
  EXPECT_FALSE(Read({{"QUILLMERE_SHOT", "out.bmp"}}).has_value());
}

}  // namespace
}  // namespace quillmere
