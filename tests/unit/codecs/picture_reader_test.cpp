#include "codecs/picture_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "codecs/ilbm.h"
#include "codecs/picture_sniffer.h"
#include "picture_samples.h"
#include "test_program.h"

namespace quillmere {
namespace {

using Bytes = std::vector<std::uint8_t>;

class PictureReader : public ProgramTest {
 protected:
  /// Writes bytes to a file and returns its path.
  std::string Put(const Bytes& bytes, const std::string& name = "file") {
    std::ofstream(PathOf(name), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return PathOf(name);
  }
};

Bytes Join(std::initializer_list<std::string_view> texts) {
  Bytes bytes;
  for (const std::string_view text : texts) bytes.insert(bytes.end(), text.begin(), text.end());
  return bytes;
}

TEST_F(PictureReader, SizesOfAllFormatsAreFound) {
  for (const char* name :
       {"rgb.png", "baseline.jpg", "progressive.jpg", "rgb.bmp", "rgb_top_down.bmp", "palette.gif",
        "rgb_little.tif", "rgb_big_lzw.tif", "palette.iff", "rgb.webp", "rgb.tga", "palette.pcx",
        "palette.xpm", "rgb.ppm"}) {
    const auto size = QueryPicture(host, samples::PathOf(name));
    ASSERT_TRUE(size) << name;
    EXPECT_EQ(size->width, samples::width) << name;
    EXPECT_EQ(size->height, samples::height) << name;
    EXPECT_FALSE(size->hasAlpha) << name;
  }
}

TEST_F(PictureReader, HeadersTellOfAlphaInRgbaPngAlone) {
  EXPECT_TRUE(QueryPicture(host, samples::PathOf("rgba.png"))->hasAlpha);
  EXPECT_FALSE(QueryPicture(host, samples::PathOf("gray_alpha.png"))->hasAlpha);
  EXPECT_FALSE(QueryPicture(host, samples::PathOf("rgb_key.png"))->hasAlpha);
  EXPECT_FALSE(QueryPicture(host, samples::PathOf("rgba.bmp"))->hasAlpha);
  // The sniffer does not know the format, the decoder does.
  EXPECT_TRUE(QueryPicture(host, samples::PathOf("rgba.webp"))->hasAlpha);
}

TEST_F(PictureReader, SniffingNeedsNothingButTheHeader) {
  const auto sniff = [](const Bytes& bytes) {
    const auto file = qmFile::OverMemory(std::make_shared<const Bytes>(bytes));
    return SniffPicture(*file);
  };
  const auto png = samples::BytesOf("rgba.png");
  EXPECT_TRUE(sniff(Bytes(png.begin(), png.begin() + 26)));
  EXPECT_FALSE(sniff(Bytes(png.begin(), png.begin() + 25)));
  const auto gif = samples::BytesOf("palette.gif");
  EXPECT_TRUE(sniff(Bytes(gif.begin(), gif.begin() + 10)));
  EXPECT_FALSE(sniff(Bytes(gif.begin(), gif.begin() + 9)));

  // A JPEG with filling before its frame header and data that look like a marker.
  const auto jpeg = sniff(Join({{"\xFF\xD8\xFF\xE0\x00\x10JFIF\0\x01\x01\0\0\x01\0\x01\0\0", 20},
                                {"xx\xFF\0\xFF\xFF\xFF\xC2\0\x11\x08\x01\x02\x03\x04", 15}}));
  ASSERT_TRUE(jpeg);
  EXPECT_EQ(jpeg->height, 0x0102);
  EXPECT_EQ(jpeg->width, 0x0304);
  // Lengths of 0 go on, none goes back.
  EXPECT_FALSE(sniff(Join({{"\xFF\xD8\xFF\xE0\0\0JFIF\0\0\xFF\xE1\0\0\xFF\xE1\0\0", 20}})));
  // A Huffman table is no frame header, an APP marker without JFIF or Exif no JPEG to the sniffer.
  EXPECT_FALSE(
      sniff(Join({{"\xFF\xD8\xFF\xE0\x00\x06"
                   "Exif\xFF\xC4\0\x11\x08\x01\x02\x03",
                   18}})));

  const auto tiff = sniff(Join({{"MM\0\x2A\0\0\0\x08\0\x02\x01\0\0\x03\0\0\0\x01\0\x25\0\0", 22},
                                {"\x01\x01\0\x03\0\0\0\x01\0\x17\0\0", 12}}));
  ASSERT_TRUE(tiff);
  EXPECT_EQ(tiff->width, 0x25);
  EXPECT_EQ(tiff->height, 0x17);
  EXPECT_FALSE(sniff(Join({{"II\x2A\0\x08\0\0\0\0\0", 10}})));

  const auto ilbm = sniff(Join({{"FORM\0\0\0\x20ILBMxyBMHD\0\0\0\x14\0\x09\0\x08", 26}}));
  ASSERT_TRUE(ilbm);
  EXPECT_EQ(ilbm->width, 9);
  EXPECT_EQ(ilbm->height, 8);
  EXPECT_FALSE(sniff({}));
}

TEST_F(PictureReader, FailuresNameTheFile) {
  const auto expect = [&](const Result<DecodedPicture>& picture, Error error,
                          const std::string& name) {
    ASSERT_FALSE(picture);
    EXPECT_EQ(picture.error(), error);
    EXPECT_EQ(host.errors.argument, name);
  };
  expect(ReadPicture(host, "/nowhere/a.png"), Error::CannotReadFile, "/nowhere/a.png");
  const std::string text = Put(Join({"no picture at all, but long enough to look like one"}));
  expect(ReadPicture(host, text), Error::UnknownImageFormat, text);
  const std::string opaque = samples::PathOf("rgb.png");
  PictureOptions options;
  options.alphaMode = AlphaMode::Required;
  expect(ReadPicture(host, opaque, options), Error::NoAlphaChannel, opaque);
  EXPECT_EQ(QueryPicture(host, "/nowhere/a.png").error(), Error::CannotReadFile);
  EXPECT_EQ(QueryPicture(host, text).error(), Error::UnknownImageFormat);
}

TEST_F(PictureReader, AlphaModes) {
  const auto read = [&](const char* name, AlphaMode mode) {
    PictureOptions options;
    options.alphaMode = mode;
    return ReadPicture(host, samples::PathOf(name), options).value();
  };
  EXPECT_FALSE(read("rgba.png", AlphaMode::None).hasAlpha);
  EXPECT_TRUE(read("rgba.png", AlphaMode::Required).hasAlpha);
  EXPECT_TRUE(read("rgba.png", AlphaMode::Optional).hasAlpha);
  EXPECT_FALSE(read("rgb.png", AlphaMode::Optional).hasAlpha);
  const auto rgba = read("rgba.png", AlphaMode::RgbaWords);
  const auto rgb = read("rgb.png", AlphaMode::RgbaWords);
  for (int y = 0; y < samples::height; ++y) {
    for (int x = 0; x < samples::width; ++x) {
      const std::uint32_t word = samples::ColorWithAlpha(x, y);
      ASSERT_EQ(rgba.pixels->At(x, y), word << 8 | word >> 24);
      ASSERT_EQ(rgb.pixels->At(x, y), samples::Color(x, y) << 8 | 255);
    }
  }
}

TEST_F(PictureReader, TransparentPenOfAPngIsAnAlphaChannel) {
  PictureOptions options;
  options.alphaMode = AlphaMode::Required;
  const auto picture = ReadPicture(host, samples::PathOf("palette_transparent.png"), options);
  ASSERT_TRUE(picture);
  EXPECT_TRUE(picture->hasAlpha);
  EXPECT_EQ(samples::WordsOf(picture->pixels), samples::Compute([](int x, int y) {
              return (samples::Pen(x, y) == 0 ? 0u : 0xFF000000u) | samples::PenColor(x, y);
            }));
  EXPECT_EQ(ReadPicture(host, samples::PathOf("palette.png"), options).error(),
            Error::NoAlphaChannel);
  EXPECT_EQ(ReadPicture(host, samples::PathOf("palette_transparent.gif"), options).error(),
            Error::NoAlphaChannel);
}

TEST_F(PictureReader, PalettesComeAlong) {
  const auto picture = ReadPicture(host, samples::PathOf("palette.gif"));
  ASSERT_TRUE(picture && picture->palette);
  EXPECT_EQ(picture->depth, 4);
  EXPECT_EQ(picture->transparentKey, -1);
  EXPECT_FALSE(ReadPicture(host, samples::PathOf("rgb.png"))->palette);
}

TEST_F(PictureReader, PenTableReplacesTheFirstColours) {
  PictureOptions options;
  options.penTable = {0x111111, 0x222222};
  options.globalAlpha = true;
  const auto plain = ReadPicture(host, samples::PathOf("palette_transparent.gif")).value();
  const auto picture =
      ReadPicture(host, samples::PathOf("palette_transparent.gif"), options).value();
  EXPECT_EQ((*picture.palette)[0], 0x111111u);
  EXPECT_EQ((*picture.palette)[1], 0x222222u);
  EXPECT_EQ((*picture.palette)[2], (*plain.palette)[2]);
  EXPECT_EQ(picture.transparentKey, -1);
}

TEST_F(PictureReader, TransparentPenGetsAColourOfItsOwn) {
  PictureOptions options;
  options.globalAlpha = true;
  const auto picture =
      ReadPicture(host, samples::PathOf("palette_transparent.gif"), options).value();
  EXPECT_EQ(picture.transparentKey, 0xA8A8A8);
  for (int y = 0; y < samples::height; ++y) {
    for (int x = 0; x < samples::width; ++x) {
      ASSERT_EQ(picture.pixels->At(x, y),
                samples::Pen(x, y) == 0 ? 0xA8A8A8 : samples::PenColor(x, y));
    }
  }
  EXPECT_EQ(ReadPicture(host, samples::PathOf("palette.gif"), options)->transparentKey, -1);
}

TEST_F(PictureReader, PenColourIsForPicturesOfTwoPens) {
  PictureOptions options;
  options.penColor = 0x00FF00;
  const auto picture = ReadPicture(host, samples::PathOf("bits.gif"), options).value();
  const auto plain = ReadPicture(host, samples::PathOf("bits.gif")).value();
  EXPECT_EQ(static_cast<std::uint32_t>(picture.transparentKey), (*plain.palette)[0]);
  EXPECT_EQ((*picture.palette)[1], 0x00FF00u);
  EXPECT_EQ(ReadPicture(host, samples::PathOf("palette.gif"), options)->transparentKey, -1);
}

TEST_F(PictureReader, PicturesComeFromPartsOfFilesAndFromMemory) {
  const auto png = samples::BytesOf("rgb.png");
  Bytes container(100, 0xEE);
  std::ranges::copy(png, std::back_inserter(container));
  container.resize(container.size() + 50, 0xEE);
  const std::string path = Put(container);
  const std::string chunk =
      MakeChunkName("a/rgb.png", 100, static_cast<std::int64_t>(png.size()), 0, path);
  EXPECT_EQ(samples::WordsOf(ReadPicture(host, chunk)->pixels), samples::Compute(samples::Color));
  EXPECT_EQ(QueryPicture(host, chunk)->width, samples::width);

  const auto shared = std::make_shared<const Bytes>(png);
  EXPECT_EQ(samples::WordsOf(ReadPicture(host, DefineDecoderMemory(host, shared))->pixels),
            samples::Compute(samples::Color));
  EXPECT_EQ(samples::WordsOf(ReadPictureBytes(host, png, "rgb.png")->pixels),
            samples::Compute(samples::Color));
}

TEST_F(PictureReader, PicturesComeFromTheClipboard) {
  const std::vector<std::uint32_t> pixels{0x112233, 0x445566};
  ASSERT_TRUE(host.Of<Platform>().clipboard().WriteImage({pixels.data(), 2, 1, 2}));
  const auto picture = ReadPicture(host, ":::clipboard");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 2);
  EXPECT_EQ(picture->pixels->Color(0, 0), 0x112233u);
  EXPECT_EQ(QueryPicture(host, ":::clipboard")->height, 1);
}

TEST_F(PictureReader, IlbmWrittenToTheClipboardIsDecoded) {
  ServeClipboardPictures(host);
  const auto ilbm = samples::BytesOf("palette.iff");
  {
    const auto file = OpenFile(host, ":::clipboard", OpenMode::Write);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->WriteBytes(ilbm), ilbm.size());
  }
  const auto picture = ReadPicture(host, ":::clipboard");
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, samples::width);
  EXPECT_EQ(picture->pixels->Color(3, 1), samples::PenColor(3, 1));
}

}  // namespace
}  // namespace quillmere
