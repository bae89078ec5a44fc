#include "codecs/picture_writer.h"

#include <gtest/gtest.h>

#include "base/byte_order.h"
#include "codecs/ilbm.h"
#include "codecs/jpeg_writer.h"
#include "picture_samples.h"
#include "pixels/plane_convert.h"
#include "test_program.h"

namespace quillmere {
namespace {

using Bytes = std::vector<std::uint8_t>;

PixelView ViewOf(const std::vector<std::uint32_t>& pixels, int width = samples::width) {
  return {pixels.data(), width, static_cast<int>(pixels.size()) / width, width};
}

/// The picture that another program sees in a file.
std::vector<std::uint32_t> ReadWithTool(const std::string& command, const std::string& path) {
  const std::string out = path + ".ppm";
  EXPECT_EQ(std::system((command + " > " + out).c_str()), 0) << command;
  return samples::PixelsOfPpm(samples::BytesOfFile(out));
}

class PictureFile : public ProgramTest {};

TEST_F(PictureFile, BmpRowsAreAsTold) {
  const std::vector<std::uint32_t> one{0xFF112233};
  ASSERT_TRUE(WriteBmp(host, PathOf("a.bmp"), ViewOf(one, 1)));
  EXPECT_EQ(samples::BytesOfFile(PathOf("a.bmp")),
            (Bytes{'B', 'M', 58, 0, 0, 0, 0, 0, 0,  0, 54, 0, 0, 0, 40,   0,    0,    0, 1, 0,
                   0,   0,   1,  0, 0, 0, 1, 0, 24, 0, 0,  0, 0, 0, 0,    0,    0,    0, 0, 0,
                   0,   0,   0,  0, 0, 0, 0, 0, 0,  0, 0,  0, 0, 0, 0x33, 0x22, 0x11, 0}));
  const std::vector<std::uint32_t> five(5, 0xFFFFFF);
  ASSERT_TRUE(WriteBmp(host, PathOf("a.bmp"), ViewOf(five, 5)));
  EXPECT_EQ(samples::BytesOfFile(PathOf("a.bmp")).size(), 54u + 16u);
}

TEST_F(PictureFile, IlbmBytesAreAsTold) {
  // One white pixel: each plane row is 80 00, which the packer leaves a literal.
  const auto file = EncodeIlbm(ViewOf(std::vector<std::uint32_t>{0xFFFFFFFF}, 1)).value();
  ASSERT_EQ(file.size(), 48u + 24u * 3u);
  EXPECT_EQ(Bytes(file.begin(), file.begin() + 4), (Bytes{'F', 'O', 'R', 'M'}));
  EXPECT_EQ(LoadBig<std::uint32_t>(&file[4]), file.size() - 8);
  EXPECT_EQ(Bytes(file.begin() + 8, file.begin() + 44),
            (Bytes{'I', 'L', 'B', 'M', 'B', 'M', 'H', 'D', 0, 0, 0, 20, 0, 1, 0,   1,   0,   0,
                   0,   0,   24,  0,   1,   0,   0,   0,   1, 1, 0, 1,  0, 1, 'B', 'O', 'D', 'Y'}));
  EXPECT_EQ(LoadBig<std::uint32_t>(&file[44]), 24u * 3u);
  for (std::size_t at = 48; at < file.size(); at += 3) {
    EXPECT_EQ(Bytes(&file[at], &file[at] + 3), (Bytes{1, 0x80, 0}));
  }
  // Red only in its low bit stands in the first plane, blue's high bit in the last.
  const auto mixed = EncodeIlbm(ViewOf(std::vector<std::uint32_t>{0x010080}, 1)).value();
  EXPECT_EQ(mixed[49], 0x80);
  EXPECT_EQ(mixed[50], 0);
  EXPECT_EQ(Bytes(mixed.end() - 3, mixed.end()), (Bytes{1, 0x80, 0}));
}

TEST_F(PictureFile, OddIlbmBodyIsPadded) {
  // 32 pixels of one colour pack to 2 bytes a plane; 17 mixed ones to an odd number.
  std::vector<std::uint32_t> pixels(33, 0);
  pixels[0] = 0xFF0000;
  const auto file = EncodeIlbm(ViewOf(pixels, 33)).value();
  const std::uint32_t body = LoadBig<std::uint32_t>(&file[44]);
  EXPECT_EQ(LoadBig<std::uint32_t>(&file[4]), 40 + body + (body & 1));
  EXPECT_EQ(file.size(), 48 + body + (body & 1));
}

TEST_F(PictureFile, OtherProgramsSeeTheSamePixels) {
  const auto pixels = samples::Compute(samples::Color);
  const PixelView view = ViewOf(pixels);
  const std::string png = PathOf("a.png");
  const std::string bmp = PathOf("a.bmp");
  const std::string ilbm = PathOf("a.iff");
  ASSERT_TRUE(WritePng(host, png, view, false));
  ASSERT_TRUE(WriteBmp(host, bmp, view));
  ASSERT_TRUE(WriteIlbm(host, ilbm, view));
  EXPECT_EQ(ReadWithTool("pngtopnm " + png, png), pixels);
  EXPECT_EQ(ReadWithTool("bmptopnm -quiet " + bmp, bmp), pixels);
  EXPECT_EQ(ReadWithTool("convert " + bmp + " -depth 8 ppm:-", bmp), pixels);
  EXPECT_EQ(ReadWithTool("ilbmtoppm -quiet " + ilbm, ilbm), pixels);
  EXPECT_EQ(ReadIlbm(host, ilbm)->pixels, pixels);
}

TEST_F(PictureFile, PngKeepsAlpha) {
  const auto pixels = samples::Compute(samples::ColorWithAlpha);
  ASSERT_TRUE(WritePng(host, PathOf("a.png"), ViewOf(pixels), true));
  EXPECT_EQ(samples::PixelsOf(*MakePictureObject(samples::BytesOfFile(PathOf("a.png")))), pixels);
}

TEST_F(PictureFile, JpegIsTheOneOfTheReferenceCompressor) {
  // cjpeg -quality 85 made the sample of the same pixels; only the tables of its header differ in
  // nothing that a decoder sees.
  const auto pixels = samples::Compute(samples::Color);
  const auto file = EncodeJpeg(ViewOf(pixels), 85);
  ASSERT_TRUE(file);
  EXPECT_EQ(*file, samples::BytesOf("baseline.jpg"));

  std::vector<std::uint32_t> swapped;
  for (const std::uint32_t word : pixels) swapped.push_back(__builtin_bswap32(word) & ~255u);
  EXPECT_EQ(*EncodeJpeg(ViewOf(swapped), 85, JpegWordOrder::Bgra), *file);
}

/// A brush of the sample colours with what the test adds.
Planes SamplePlanes() {
  return ARGBToBitmap(samples::Compute(samples::Color), std::nullopt, samples::width,
                      samples::height, samples::width)
      .value();
}

PlanesView ViewOf(const Planes& planes) {
  return {*planes.bitmap, planes.mask.get(), planes.alpha.get()};
}

TEST_F(PictureFile, GifOfPlanesShowsEveryColourOfItsPalette) {
  // 13 colours that lie in the middle of their histogram cells, so the palette is exact.
  auto pixels = samples::Compute(samples::PenColor);
  for (std::uint32_t& word : pixels) word = (word & 0xF8FCF8) | 0x040204;
  const Planes planes =
      ARGBToBitmap(pixels, std::nullopt, samples::width, samples::height, samples::width).value();
  const std::string path = PathOf("a.gif");
  ASSERT_TRUE(WriteImage(host, path, ViewOf(planes), {.format = ImageFormat::Gif}));
  const auto object = MakePictureObject(samples::BytesOfFile(path));
  ASSERT_TRUE(object);
  EXPECT_EQ(samples::PixelsOf(*object), pixels);
  EXPECT_EQ(object->depth, 4);
  EXPECT_EQ(object->transparentPen, 12);
  EXPECT_EQ(ReadWithTool("convert " + path + " -alpha off -depth 8 ppm:-", path), pixels);
}

TEST_F(PictureFile, EveryFormatTakesPlanes) {
  const Planes planes = SamplePlanes();
  for (const auto format : {ImageFormat::Bmp, ImageFormat::Png, ImageFormat::Jpeg, ImageFormat::Gif,
                            ImageFormat::Ilbm}) {
    const std::string path = PathOf("a" + std::to_string(static_cast<int>(format)));
    ASSERT_TRUE(WriteImage(host, path, ViewOf(planes), {.format = format, .dither = true}));
    const auto object = MakePictureObject(samples::BytesOfFile(path));
    ASSERT_TRUE(object);
    EXPECT_EQ(object->width, samples::width);
  }
  const auto status =
      WriteImage(host, PathOf("x"), ViewOf(planes), {.format = static_cast<ImageFormat>(5)});
  ASSERT_FALSE(status);
  EXPECT_EQ(status.error(), Error::WrongUsage);
  EXPECT_FALSE(std::filesystem::exists(PathOf("x")));
}

TEST_F(PictureFile, FileThatCannotBeWrittenIsNamed) {
  const Planes planes = SamplePlanes();
  for (const std::string name : {"/nowhere/a", "/dev/full"}) {
    for (int format = 0; format < 5; ++format) {
      SCOPED_TRACE(name + " in format " + std::to_string(format));
      host.errors.argument.clear();
      const auto status =
          WriteImage(host, name, ViewOf(planes), {.format = static_cast<ImageFormat>(format)});
      ASSERT_FALSE(status);
      EXPECT_EQ(status.error(), Error::CannotWriteFile);
      EXPECT_EQ(host.errors.argument, name);
    }
  }
}

TEST(SaveCopy, MaskAndAlphaAreWorkedIn) {
  Planes planes =
      ARGBToBitmap(std::vector<std::uint32_t>{0xAA010203, 0xBB040506}, std::nullopt, 2, 1, 2)
          .value();
  using Words = std::vector<std::uint32_t>;
  EXPECT_EQ(*PrepareSaveCopy(ViewOf(planes), -1, false), (Words{0xFF010203, 0xFF040506}));

  planes.mask = AllocMask(2, 1, true).value();
  planes.mask->Set(1, 0, true);
  EXPECT_EQ(*PrepareSaveCopy(ViewOf(planes), 0, true), (Words{0x00010203, 0xFF040506}));
  EXPECT_EQ((*PrepareSaveCopy(ViewOf(planes), -1, false))[0], 0xFFFFFFFFu);
  EXPECT_EQ((*PrepareSaveCopy(ViewOf(planes), 0x123456, false))[0], 0x123456u);
  EXPECT_EQ((*PrepareSaveCopy(ViewOf(planes), 0x123456, false))[1] & 0xFFFFFF, 0x040506u);

  planes.mask.reset();
  planes.alpha = AllocAlphaMap(2, 1, true).value();
  planes.alpha->Row(0)[1] = 7;
  EXPECT_EQ(*PrepareSaveCopy(ViewOf(planes), 0x300000, false), (Words{0x00310203, 0x07040506}));
}

}  // namespace
}  // namespace quillmere
