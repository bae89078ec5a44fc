#include "lib/icon_file.h"

#include <gtest/gtest.h>

#include "base/byte_order.h"
#include "lib/icon_picture.h"

namespace quillmere {
namespace {

using Bytes = std::vector<std::uint8_t>;

void AppendWords(Bytes& out, std::initializer_list<int> words) {
  for (const int word : words) {
    out.push_back(static_cast<std::uint8_t>(word >> 8));
    out.push_back(static_cast<std::uint8_t>(word));
  }
}

void AppendText(Bytes& out, std::string_view text) {
  AppendWords(out, {0, static_cast<int>(text.size()) + 1});
  out.insert(out.end(), text.begin(), text.end());
  out.push_back(0);
}

/// A picture of 17 by 2 pixels in 3 planes.
void AppendImage(Bytes& out) {
  AppendWords(out, {0, 0, 17, 2, 3, 0, 1, 0x0700, 0, 0});
  out.insert(out.end(), 2 * 2 * 2 * 3, 0x5A);
}

/// A project with a drawer's window, two pictures, a tool, two settings and a tail.
Bytes MakeIcon() {
  Bytes out(IconFile::recordSize, 0);
  StoreBig<std::uint16_t>(out.data(), 0xE310);
  StoreBig<std::uint16_t>(out.data() + 2, 1);
  out[48] = 4;
  for (const std::size_t pointer : {22, 26, 50, 54, 66}) {
    StoreBig<std::uint32_t>(out.data() + pointer, 1);
  }
  out.insert(out.end(), 56, 0xDD);
  AppendImage(out);
  AppendImage(out);
  AppendText(out, "SYS:Tool");
  AppendWords(out, {0, 12});
  AppendText(out, "A=1");
  AppendText(out, "(B)");
  for (const char c : std::string_view("FORMtail")) out.push_back(static_cast<std::uint8_t>(c));
  return out;
}

TEST(IconFile, TakesItselfApartAndTogether) {
  const Bytes bytes = MakeIcon();
  const std::optional<IconFile> icon = ParseIcon(bytes);
  ASSERT_TRUE(icon);
  EXPECT_EQ(icon->Type(), 4);
  EXPECT_EQ(icon->images.size(), 56u + 2 * (20 + 24));
  EXPECT_EQ(icon->defaultTool, "SYS:Tool");
  EXPECT_EQ(icon->toolTypes, (std::vector<std::string>{"A=1", "(B)"}));
  EXPECT_EQ(std::string(icon->rest.begin(), icon->rest.end()), "FORMtail");
  EXPECT_EQ(BuildIcon(*icon), bytes);
}

TEST(IconFile, ShowsItsPictureInTheColoursOfTheDesktop) {
  Bytes bytes = MakeIcon();
  const std::size_t firstPlane = IconFile::recordSize + 56 + 20;
  bytes[firstPlane] = 0x3F;  // beside 0x5A in the two other planes
  const auto picture = IconPicture(*ParseIcon(bytes));
  ASSERT_TRUE(picture);
  ASSERT_EQ(picture->width, 17);
  ASSERT_EQ(picture->pixels.size(), 34u);
  EXPECT_EQ(picture->pixels[0] >> 24, 0u) << "pen 0 is transparent";
  EXPECT_EQ(picture->pixels[1], 0xFFAA907Cu) << "pen 6";
  EXPECT_EQ(picture->pixels[3], 0xFFFFA997u) << "pen 7";
  EXPECT_EQ(picture->pixels[16] >> 24, 0u) << "the third byte of a row of four";
  EXPECT_EQ(picture->pixels[18], 0xFFFFA997u) << "the second row";
  Bytes none(IconFile::recordSize, 0);
  StoreBig<std::uint16_t>(none.data(), 0xE310);
  EXPECT_FALSE(IconPicture(*ParseIcon(none)));
}

TEST(IconFile, KeepsTheRestWhenSettingsChange) {
  std::optional<IconFile> icon = ParseIcon(MakeIcon());
  ASSERT_TRUE(icon);
  icon->SetType(3);
  icon->toolTypes = std::vector<std::string>{"NEW"};
  icon->defaultTool.reset();
  const std::optional<IconFile> again = ParseIcon(BuildIcon(*icon));
  ASSERT_TRUE(again);
  EXPECT_EQ(again->Type(), 3);
  EXPECT_EQ(again->toolTypes, std::vector<std::string>{"NEW"});
  EXPECT_FALSE(again->defaultTool);
  EXPECT_EQ(again->images, icon->images);
  EXPECT_EQ(again->rest, icon->rest);
}

TEST(IconFile, RefusesEveryFileThatIsCutShort) {
  const Bytes bytes = MakeIcon();
  const std::size_t tail = 8;
  for (std::size_t size = 0; size < bytes.size() - tail; ++size) {
    EXPECT_FALSE(ParseIcon(std::span(bytes).first(size))) << size;
  }
  Bytes other = bytes;
  other[0] = 0x89;
  EXPECT_FALSE(ParseIcon(other));
}

TEST(IconFile, RefusesCountsThatTheFileCannotHold) {
  Bytes bytes = MakeIcon();
  const std::size_t listAt = bytes.size() - 8 - (4 + 4) - (4 + 4) - 4;
  for (const std::uint32_t count : {0u, 3u, 0x7FFFFFFCu, 0xFFFFFFFFu}) {
    StoreBig(bytes.data() + listAt, count);
    EXPECT_FALSE(ParseIcon(bytes)) << count;
  }
}

struct ToolTypeCase {
  std::string_view text;
  std::string_view key;
  std::string_view value;
  bool enabled;
};

TEST(ToolType, ReadsEachForm) {
  const ToolTypeCase cases[] = {
      {"KEY=value", "KEY", "value", true},
      {"  K E Y =  two words  ", "KEY", "two words", true},
      {"(KEY=value)", "KEY", "value", false},
      {"KEY", "KEY", "", true},
      {"(KEY)", "KEY", "", false},
      {"KEY behind", "KEY", "", true},
      {"KEY=\"a ) b \" c", "KEY", "a ) b ", true},
      {"KEY=\"open", "KEY", "open", true},
      {"KEY=a=b", "KEY", "a=b", true},
      {"KEY=", "KEY", "", true},
      {"(", "", "", false},
  };
  for (const ToolTypeCase& item : cases) {
    const std::optional<ToolType> toolType = ParseToolType(item.text);
    ASSERT_TRUE(toolType) << item.text;
    EXPECT_EQ(toolType->key, item.key) << item.text;
    EXPECT_EQ(toolType->value, item.value) << item.text;
    EXPECT_EQ(toolType->enabled, item.enabled) << item.text;
  }
  EXPECT_FALSE(ParseToolType(""));
  EXPECT_FALSE(ParseToolType("   "));
  EXPECT_EQ(ToolTypeText({"KEY", "value", false}), "(KEY=value)");
  EXPECT_EQ(ToolTypeText({"KEY", "", true}), "KEY");
}

}  // namespace
}  // namespace quillmere
