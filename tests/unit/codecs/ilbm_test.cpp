#include "codecs/ilbm.h"

#include <gtest/gtest.h>

#include "codecs/picture_object.h"
#include "picture_samples.h"
#include "test_program.h"

namespace quillmere {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Shape {
  int width = 16;
  int height = 1;
  int planes = 1;
  int masking = 0;
  int compression = 0;
};

Bytes Chunk(const char* tag, const Bytes& data) {
  Bytes bytes(tag, tag + 4);
  const auto size = static_cast<std::uint32_t>(data.size());
  for (int shift = 24; shift >= 0; shift -= 8)
    bytes.push_back(static_cast<std::uint8_t>(size >> shift));
  bytes.insert(bytes.end(), data.begin(), data.end());
  return bytes;
}

Bytes Header(const Shape& shape) {
  const auto byte = [](int value) { return static_cast<std::uint8_t>(value); };
  return Chunk("BMHD", {byte(shape.width >> 8),
                        byte(shape.width),
                        byte(shape.height >> 8),
                        byte(shape.height),
                        0,
                        0,
                        0,
                        0,
                        byte(shape.planes),
                        byte(shape.masking),
                        byte(shape.compression),
                        0,
                        0,
                        1,
                        1,
                        1,
                        0,
                        16,
                        0,
                        1});
}

Bytes Mode(std::uint32_t mode) {
  return Chunk("CAMG",
               {0, 0, static_cast<std::uint8_t>(mode >> 8), static_cast<std::uint8_t>(mode)});
}

Bytes File(std::initializer_list<Bytes> chunks) {
  Bytes file{'F', 'O', 'R', 'M', 0, 0, 0, 0, 'I', 'L', 'B', 'M'};
  for (const Bytes& chunk : chunks) file.insert(file.end(), chunk.begin(), chunk.end());
  return file;
}

const Bytes twoColors{0x10, 0x20, 0x30, 0xF1, 0xF2, 0xF3};

class Ilbm : public ProgramTest {
 protected:
  Result<PixelImage> Read(const Bytes& bytes) {
    std::ofstream(PathOf("a"), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return ReadIlbm(host, PathOf("a"));
  }
  std::vector<std::uint32_t> Pixels(const Bytes& bytes) { return Read(bytes).value().pixels; }
  void ExpectRefused(const Bytes& bytes) {
    const auto image = Read(bytes);
    ASSERT_FALSE(image);
    EXPECT_EQ(image.error(), Error::UnknownImageFormat);
    EXPECT_EQ(host.errors.argument, PathOf("a"));
  }
};

TEST_F(Ilbm, FilesOfOtherProgramsAreRead) {
  EXPECT_EQ(ReadIlbm(host, samples::PathOf("rgb_24bit.iff"))->pixels,
            samples::Compute(samples::Color));
  EXPECT_EQ(ReadIlbm(host, samples::PathOf("palette.iff"))->pixels,
            samples::Compute(samples::PenColor));
  EXPECT_EQ(QueryIlbm(host, samples::PathOf("ham6.iff"))->height, samples::height);
  EXPECT_EQ(ReadIlbm(host, "/nowhere/a").error(), Error::CannotReadFile);
}

TEST_F(Ilbm, HoldAndModifyPicturesOfOtherProgramsAreRead) {
  const auto ham8 = MakePictureObject(samples::BytesOf("ham8.iff"));
  ASSERT_TRUE(ham8);
  EXPECT_EQ(ham8->hamBits, 8);
  EXPECT_EQ(samples::PixelsOf(*ham8), samples::PixelsOfPpm(samples::BytesOf("ham8.iff.ppm")));
  // Of 6 bits a component has one digit, which the object service doubles.
  const auto digits = [](std::vector<std::uint32_t> pixels) {
    for (std::uint32_t& word : pixels) word &= 0xF0F0F0;
    return pixels;
  };
  auto wanted = digits(samples::PixelsOfPpm(samples::BytesOf("ham6.iff.ppm")));
  EXPECT_EQ(digits(ReadIlbm(host, samples::PathOf("ham6.iff"))->pixels), wanted);
  for (std::uint32_t& word : wanted) word |= word >> 4;
  const auto ham6 = MakePictureObject(samples::BytesOf("ham6.iff"));
  ASSERT_TRUE(ham6);
  EXPECT_EQ(ham6->hamBits, 6);
  EXPECT_EQ(samples::PixelsOf(*ham6), wanted);
}

TEST_F(Ilbm, ChunksMayStandInAnyOrder) {
  const Bytes body = Chunk("BODY", {0x80, 0x01});
  const Bytes colors = Chunk("CMAP", twoColors);
  const auto wanted = Pixels(File({Header({}), colors, body}));
  EXPECT_EQ(wanted[0], 0xF1F2F3u);
  EXPECT_EQ(wanted[1], 0x102030u);
  EXPECT_EQ(wanted[15], 0xF1F2F3u);
  EXPECT_EQ(Pixels(File({Header({}), body, colors})), wanted);
  EXPECT_EQ(Pixels(File({colors, Header({}), body})), wanted);
  EXPECT_EQ(Pixels(File({body, colors, Header({})})), wanted);
}

TEST_F(Ilbm, MissingChunksAreRefused) {
  ExpectRefused({});
  ExpectRefused(File({Chunk("CMAP", twoColors), Chunk("BODY", {0, 0})}));
  ExpectRefused(File({Header({}), Chunk("CMAP", twoColors)}));
  ExpectRefused(File({Header({}), Chunk("BODY", {0, 0})}));
  ExpectRefused(File({Header({}), Chunk("CMAP", twoColors), Chunk("BODY", {0})}));
}

TEST_F(Ilbm, RunsAndLiterals) {
  // -128 is a run of 129 bytes; a row ends where it is full and drops what is too much.
  const Shape wide{.width = 129 * 8 + 8, .compression = 1};
  const auto colors = Chunk("CMAP", twoColors);
  auto pixels = Pixels(File({Header(wide), colors, Chunk("BODY", {0x80, 0xFF, 0, 0})}));
  EXPECT_EQ(pixels[129 * 8 - 1], 0xF1F2F3u);
  EXPECT_EQ(pixels[129 * 8], 0x102030u);
  const Shape rows{.height = 2, .compression = 1};
  pixels = Pixels(
      File({Header(rows), colors, Chunk("BODY", {0x80, 0xFF, 5, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF})}));
  EXPECT_EQ(pixels[15], 0xF1F2F3u);
  EXPECT_EQ(pixels[16], 0x102030u);
  ExpectRefused(File({Header(rows), colors, Chunk("BODY", {0xFF, 0xFF, 3, 1})}));
}

TEST_F(Ilbm, MaskPlaneIsPassedOver) {
  const Shape masked{.height = 2, .masking = 1};
  const auto pixels = Pixels(File({Header(masked), Chunk("CMAP", twoColors),
                                   Chunk("BODY", {0x80, 0, 0xFF, 0xFF, 0x40, 0, 0xFF, 0xFF})}));
  EXPECT_EQ(pixels[0], 0xF1F2F3u);
  EXPECT_EQ(pixels[1], 0x102030u);
  EXPECT_EQ(pixels[16], 0x102030u);
  EXPECT_EQ(pixels[17], 0xF1F2F3u);
}

TEST_F(Ilbm, HalfBriteDoublesTheColours) {
  Bytes colors(32 * 3, 0x80);
  colors[3] = 0xFF;
  // Pens 1 and 33.
  const Bytes body = Chunk("BODY", {0xC0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x40, 0});
  const auto pixels =
      Pixels(File({Header({.planes = 6}), Mode(0x80), Chunk("CMAP", colors), body}));
  EXPECT_EQ(pixels[0], 0xFF8080u);
  EXPECT_EQ(pixels[1], 0x7F4040u);
  EXPECT_EQ(pixels[2], 0x808080u);
}

TEST_F(Ilbm, HoldAndModifyStartsBlackAndClearsLowBits) {
  Bytes colors(16 * 3);
  colors[0] = 0x77;
  colors[3] = 0x12;
  colors[4] = 0x34;
  colors[5] = 0x56;
  // HAM6 codes 0x1F, 0x01, 0x2A, 0x3B: planes hold bits 0 to 5 of them.
  const Bytes body = Chunk("BODY", {0xD0, 0, 0xB0, 0, 0x80, 0, 0xB0, 0, 0x90, 0, 0x30, 0});
  const auto pixels =
      Pixels(File({Header({.planes = 6}), Mode(0x800), Chunk("CMAP", colors), body}));
  EXPECT_EQ(pixels[0], 0x0000F0u);
  EXPECT_EQ(pixels[1], 0x123456u);
  EXPECT_EQ(pixels[2], 0xA03456u);
  EXPECT_EQ(pixels[3], 0xA0B056u);
}

TEST_F(Ilbm, DepthsThatAreNoneStayBlackHereAndAreAlphaToTheObjectService) {
  Bytes data(64);
  data[2 * 7] = 0x80;   // red 128
  data[2 * 31] = 0x80;  // alpha 128
  const Bytes file = File({Header({.planes = 32}), Chunk("BODY", data)});
  EXPECT_EQ(Pixels(file), std::vector<std::uint32_t>(16, 0));
  const auto object = MakePictureObject(file);
  ASSERT_TRUE(object);
  EXPECT_EQ(object->depth, 32);
  EXPECT_EQ(object->pixels->At(0, 0), 0x80800000u);
}

TEST_F(Ilbm, TransparentPenIsKnownToTheObjectService) {
  auto header = Header({.masking = 2});
  header[8 + 13] = 1;
  const auto object =
      MakePictureObject(File({header, Chunk("CMAP", twoColors), Chunk("BODY", {0x80, 0})}));
  ASSERT_TRUE(object);
  EXPECT_EQ(object->transparentPen, 1);
}

}  // namespace
}  // namespace quillmere
