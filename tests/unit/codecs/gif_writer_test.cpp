#include "codecs/gif_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "base/byte_order.h"
#include "codecs/gif_lzw.h"
#include "picture_samples.h"
#include "test_program.h"

namespace quillmere {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// One frame as it stands in a file.
struct StoredFrame {
  int controlFlags = 0;
  int delay = 0;
  int transparent = 0;
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  int bits = 0;
  int codeSize = 0;
  Bytes indexes;
};

class GifFile : public ProgramTest {
 protected:
  static constexpr int width = 8;
  static constexpr int height = 6;

  void SetUp() override {
    writer_ = std::move(GifOpen(host, PathOf("a.gif"), width, height).value());
    for (std::size_t i = 0; i < palette_.size(); ++i) {
      palette_[i] = static_cast<std::uint32_t>(i * 0x010203);
    }
  }

  void Write(Bytes indexes, bool optimize, int colors = 8, int transparent = -1, int delay = 0) {
    Palette palette = palette_;
    ASSERT_TRUE(GifWriteFrame(*writer_, {indexes, palette, colors, delay, transparent, optimize}));
  }

  /// Ends the file and reads its frames.
  std::vector<StoredFrame> Finish() {
    EXPECT_TRUE(GifClose(std::move(writer_)));
    file_ = samples::BytesOfFile(PathOf("a.gif"));
    std::vector<StoredFrame> frames;
    std::span<const std::uint8_t> rest = std::span<const std::uint8_t>(file_).subspan(13 + 768);
    while (rest[0] != 0x3B) frames.push_back(TakeFrame(rest, frames.empty()));
    EXPECT_EQ(rest.size(), 1u);
    return frames;
  }

  static StoredFrame TakeFrame(std::span<const std::uint8_t>& rest, bool first) {
    StoredFrame frame;
    EXPECT_EQ(rest[0], 0x21);
    EXPECT_EQ(rest[1], 0xF9);
    frame.controlFlags = rest[3];
    frame.delay = LoadLittle<std::uint16_t>(&rest[4]);
    frame.transparent = rest[6];
    rest = rest.subspan(8);
    if (first) {
      EXPECT_EQ(std::string(rest.begin() + 3, rest.begin() + 14), "NETSCAPE2.0");
      rest = rest.subspan(19);
    }
    EXPECT_EQ(rest[0], 0x2C);
    frame.left = LoadLittle<std::uint16_t>(&rest[1]);
    frame.top = LoadLittle<std::uint16_t>(&rest[3]);
    frame.width = LoadLittle<std::uint16_t>(&rest[5]);
    frame.height = LoadLittle<std::uint16_t>(&rest[7]);
    EXPECT_EQ(rest[9] & 0xF8, 0x80);
    frame.bits = (rest[9] & 7) + 1;
    rest = rest.subspan(10 + (std::size_t{3} << frame.bits));
    frame.codeSize = rest[0];
    frame.indexes.resize(static_cast<std::size_t>(frame.width) * frame.height);
    EXPECT_TRUE(DecodeGifData(rest, frame.indexes));
    return frame;
  }

  GifWriterPtr writer_;
  Palette palette_{};
  Bytes file_;
};

Bytes Blank() {
  return Bytes(48, 1);
}

TEST_F(GifFile, HeadIsByteForByteAsTold) {
  Write(Blank(), false, 2, -1, 129);
  const auto frames = Finish();
  Bytes head{'G', 'I', 'F', '8', '9', 'a', 8, 0, 6, 0, 0xF7, 0, 0};
  const std::string text = "Amiga rules!";
  std::ranges::copy(text, std::back_inserter(head));
  head.resize(13 + 768);
  EXPECT_EQ(Bytes(file_.begin(), file_.begin() + 781), head);
  EXPECT_EQ(frames[0].controlFlags, 5);
  EXPECT_EQ(frames[0].delay, 12);
  EXPECT_EQ(frames[0].transparent, 1);
  EXPECT_EQ(frames[0].indexes, Blank());
}

TEST_F(GifFile, BitsFollowTheNumberOfColours) {
  for (const int colors : {1, 2, 3, 4, 5, 128, 129, 256}) Write(Bytes(48, 0), false, colors);
  const auto frames = Finish();
  const int bits[] = {1, 1, 2, 2, 3, 7, 8, 8};
  for (std::size_t i = 0; i < frames.size(); ++i) {
    EXPECT_EQ(frames[i].bits, bits[i]) << i;
    EXPECT_EQ(frames[i].codeSize, std::max(2, bits[i])) << i;
  }
}

TEST_F(GifFile, EntriesBehindTheColoursBecomeWhite) {
  Palette palette = palette_;
  Bytes indexes = Blank();
  ASSERT_TRUE(GifWriteFrame(*writer_, {indexes, palette, 5}));
  EXPECT_EQ(palette[4], palette_[4]);
  EXPECT_EQ(palette[5], 0xFFFFFFFFu);
  EXPECT_EQ(palette[255], 0xFFFFFFFFu);
}

TEST_F(GifFile, OptimisedFramesHoldTheChangedRectangle) {
  Bytes indexes = Blank();
  Write(indexes, true);
  indexes[2 * width + 5] = 3;
  indexes[4 * width + 2] = 4;
  Write(indexes, true);
  // The next is compared with the true picture, not with what was hidden in it.
  indexes[2 * width + 5] = 1;
  Write(indexes, true);
  const auto frames = Finish();
  EXPECT_EQ(frames[0].width, width);
  const StoredFrame& second = frames[1];
  EXPECT_EQ(second.left, 2);
  EXPECT_EQ(second.top, 2);
  EXPECT_EQ(second.width, 4);
  EXPECT_EQ(second.height, 3);
  EXPECT_EQ(second.transparent, 7);
  EXPECT_EQ(second.indexes, (Bytes{7, 7, 7, 3, 7, 7, 7, 7, 4, 7, 7, 7}));
  EXPECT_EQ(frames[2].left, 5);
  EXPECT_EQ(frames[2].top, 2);
  EXPECT_EQ(frames[2].indexes, Bytes{1});
}

TEST_F(GifFile, RectangleReachesChangesOutsideOfTheFirstAndLastColumn) {
  Bytes indexes = Blank();
  Write(indexes, true);
  indexes[0 * width + 3] = 2;
  indexes[1 * width + 0] = 2;
  indexes[1 * width + 7] = 2;
  indexes[2 * width + 4] = 2;
  Write(indexes, true);
  const auto frames = Finish();
  EXPECT_EQ(frames[1].left, 0);
  EXPECT_EQ(frames[1].width, 8);
  EXPECT_EQ(frames[1].top, 0);
  EXPECT_EQ(frames[1].height, 3);
}

TEST_F(GifFile, SameColoursUnderOtherIndexesAreNoChange) {
  Write(Blank(), true);
  Palette palette = palette_;
  std::swap(palette[1], palette[2]);
  Bytes indexes(48, 2);
  ASSERT_TRUE(GifWriteFrame(*writer_, {indexes, palette, 8, 0, -1, true}));
  const auto frames = Finish();
  EXPECT_EQ(frames[1].left, 0);
  EXPECT_EQ(frames[1].top, 0);
  EXPECT_EQ(frames[1].width, 2);
  EXPECT_EQ(frames[1].height, 1);
  EXPECT_EQ(frames[1].indexes, (Bytes{7, 7}));
}

TEST_F(GifFile, AKeyMakesWholeFrames) {
  Write(Blank(), true);
  Write(Blank(), true, 8, 7);
  Write(Blank(), true);
  const auto frames = Finish();
  EXPECT_EQ(frames[1].controlFlags, 9);
  EXPECT_EQ(frames[1].width, width);
  EXPECT_EQ(frames[1].height, height);
  EXPECT_EQ(frames[2].width, 2);
}

TEST_F(ProgramTest, UnchangedFrameOfANarrowGifIsCutToIt) {
  auto writer = std::move(GifOpen(host, PathOf("n.gif"), 1, 3).value());
  Palette palette{};
  for (int i = 0; i < 2; ++i) {
    Bytes indexes{0, 1, 0};
    ASSERT_TRUE(GifWriteFrame(*writer, {indexes, palette, 4, 0, -1, true}));
  }
  ASSERT_TRUE(GifClose(std::move(writer)));
  const auto object = MakePictureObject(samples::BytesOfFile(PathOf("n.gif")));
  ASSERT_TRUE(object);
  EXPECT_EQ(object->width, 1);
}

TEST_F(ProgramTest, GifThatCannotBeWrittenNamesTheFile) {
  const auto writer = GifOpen(host, "/nowhere/a.gif", 4, 4);
  ASSERT_FALSE(writer);
  EXPECT_EQ(writer.error(), Error::CannotWriteFile);
  EXPECT_EQ(host.errors.argument, "/nowhere/a.gif");
}

}  // namespace
}  // namespace quillmere
