// Each limit of the platform, at the limit and one past it.
#include <gtest/gtest.h>

#include <fstream>

#include "open_platform.h"
#include "platform/pointer_image.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/posix_locale.h"
#include "platform/posix/volumes.h"
#include "platform/settings.h"

namespace quillmere {
namespace {

bool TakesScreen(const std::string& size) {
  return ReadPlatformSettings([&size](const char* name) -> const char* {
           return std::string_view(name) == "QUILLMERE_SCREEN" ? size.c_str() : nullptr;
         })
      .has_value();
}

bool TakesLine(const std::string& line) {
  return ParseInputScript(line, "in").has_value();
}

TEST(PlatformLimits, SidesOfTheScreen) {
  const std::string longest = std::to_string(largestScreenSide);
  const std::string tooLong = std::to_string(largestScreenSide + 1);
  EXPECT_TRUE(TakesScreen(longest + "x1"));
  EXPECT_TRUE(TakesScreen("1x" + longest));
  EXPECT_FALSE(TakesScreen(tooLong + "x1"));
  EXPECT_FALSE(TakesScreen("1x" + tooLong));
  EXPECT_FALSE(TakesScreen("0x1"));
  EXPECT_TRUE(TakesLine("1 resize 1 " + longest));
  EXPECT_FALSE(TakesLine("1 resize " + tooLong + " 1"));
}

TEST(PlatformLimits, NumbersOfTheInputScript) {
  const std::string largest = std::to_string(largestScriptNumber);
  const std::string tooLarge = std::to_string(largestScriptNumber + 1);
  EXPECT_TRUE(TakesLine(largest + " close"));
  EXPECT_FALSE(TakesLine(tooLarge + " close"));
  EXPECT_TRUE(TakesLine("1 move " + largest + " -" + largest));
  EXPECT_FALSE(TakesLine("1 move " + tooLarge + " 0"));
  EXPECT_FALSE(TakesLine("1 move 0 -" + tooLarge));
  EXPECT_TRUE(TakesLine("1 joy 3 8 " + largest));
  EXPECT_FALSE(TakesLine("1 joy 4 8 0"));
}

TEST(PlatformLimits, SidesOfAWindow) {
  const OpenPlatform platform;
  const auto window = platform.OpenWindow({.width = largestWindowSide, .height = 1});
  EXPECT_EQ(window->Geometry().width, largestWindowSide);
  for (const auto& [width, height] :
       {std::pair{largestWindowSide + 1, 1}, {1, largestWindowSide + 1}, {0, 1}, {1, -1}}) {
    const auto refused = platform->windows().OpenPlatformWindow({.width = width, .height = height});
    EXPECT_EQ(refused.error(), Error::UnableOpenWindow) << width << "x" << height;
  }
  window->MoveSize(0, 0, 1, largestWindowSide + 1);
  EXPECT_EQ(window->Geometry().height, largestWindowSide) << "a later size is cut";
}

TEST(PlatformLimits, SidesOfAPointer) {
  const auto sizeOf = [](int width, int height, int hotX, int hotY) {
    const std::vector<std::uint32_t> pixels(
        static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0xFF00FF00);
    const auto pointer = MakePointerImage({pixels.data(), width, height, width}, hotX, hotY);
    EXPECT_TRUE(pointer.has_value());
    const MemoryPointer& made = **pointer;
    return std::array{made.image.width, made.image.height, made.hotX, made.hotY};
  };
  constexpr int side = largestPointerSide;
  EXPECT_EQ(sizeOf(side, side, side - 1, 3), (std::array{side, side, side - 1, 3}));
  EXPECT_EQ(sizeOf(side + 1, 1, side, 0), (std::array{side, 1, side - 1, 0}));
  EXPECT_EQ(sizeOf(200, 100, 199, 99), (std::array{64, 32, 63, 31}));
  EXPECT_EQ(sizeOf(3, 3, -5, 99), (std::array{3, 3, 0, 2})) << "the hot spot stays in the picture";
}

TEST(PlatformLimits, SizeOfACatalog) {
  TempDirectory directory;
  const std::string path = directory.File("big.catalog");
  std::ofstream(path, std::ios::binary) << std::string("FORM\0\0\0\4CTLG", 12);
  PosixFiles files;
  PosixLocale locale(files);
  std::filesystem::resize_file(path, largestCatalog);
  EXPECT_NE(locale.OpenCatalog(path, 0), nullptr);
  std::filesystem::resize_file(path, largestCatalog + 1);
  EXPECT_EQ(locale.OpenCatalog(path, 0), nullptr);
}

TEST(PlatformLimits, LengthOfAComment) {
  TempDirectory directory;
  const std::string path = directory.File("a");
  std::ofstream(path) << "x";
  PosixFiles files;
  const std::string longest(longestComment, 'c');
  // The file system may allow less, but never is a comment cut.
  const bool taken = files.SetComment(path, longest);
  EXPECT_EQ(files.Examine(path)->comment, taken ? longest : "");
  EXPECT_FALSE(files.SetComment(path, longest + "c"));
  EXPECT_EQ(files.Examine(path)->comment, taken ? longest : "");
}

TEST(PlatformLimits, CountOfFontDirectories) {
  TempDirectory directory;
  std::filesystem::create_directories(directory.File("Fonts/one/two"));
  const std::string font = directory.File("Fonts/one/two/only-here.ttf");
  std::ofstream(font) << "x";
  EXPECT_EQ(Volumes("/tmp", directory.Path(), 3).Map("FONTS:only-here.ttf"), font);
  EXPECT_NE(Volumes("/tmp", directory.Path(), 2).Map("FONTS:only-here.ttf"), font);
}

}  // namespace
}  // namespace quillmere
