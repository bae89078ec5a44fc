#include "codecs/picture_object.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

#include "picture_samples.h"

namespace quillmere {
namespace {

using namespace samples;

constexpr int noPen = -1;

struct Sample {
  const char* name;
  PixelFunction pixels;
  int depth;
  /// The pen that must be transparent is the one of this place, (0, 0); noPen for none.
  bool hasTransparentPen = false;
};

class LosslessPicture : public testing::TestWithParam<Sample> {};

TEST_P(LosslessPicture, HasThePixelsThatWereDrawn) {
  const Sample& sample = GetParam();
  const auto bytes = BytesOf(sample.name);
  const auto object = MakePictureObject(bytes);
  ASSERT_TRUE(object);
  EXPECT_EQ(object->width, width);
  EXPECT_EQ(object->height, height);
  EXPECT_EQ(object->depth, sample.depth);
  EXPECT_EQ(PixelsOf(*object), Compute(sample.pixels));
  const int pen = object->transparentPen ? *object->transparentPen : noPen;
  EXPECT_EQ(pen, sample.hasTransparentPen ? object->pens[0] : noPen);

  const auto header = ExaminePictureObject(bytes);
  ASSERT_TRUE(header);
  EXPECT_EQ(header->width, width);
  EXPECT_EQ(header->height, height);
}

std::uint32_t OpaqueColor(int x, int y) {
  return 0xFF000000 | Color(x, y);
}
std::uint32_t OpaquePenColor(int x, int y) {
  return 0xFF000000 | PenColor(x, y);
}

std::uint32_t KeyedColor(int x, int y) {
  const std::uint32_t color = Color(x, y);
  return color == 0 ? 0 : 0xFF000000 | color;
}

const Sample losslessSamples[] = {
    {"rgb.png", Color, 24},
    {"rgb_interlaced.png", Color, 24},
    {"rgb_16bit.png", Color, 24},
    {"rgb_16bit_interlaced.png", Color, 24},
    {"rgb_key.png", KeyedColor, 32},
    {"rgba.png", ColorWithAlpha, 32},
    {"gray.png", Gray, 8},
    {"gray_alpha.png", GrayWithAlpha, 32},
    {"palette.png", PenColor, 4},
    {"palette_interlaced.png", PenColor, 4},
    {"palette_transparent.png", PenColor, 4, true},
    {"bits.png", Bit, 1},
    {"rgb.bmp", Color, 24},
    {"rgb_top_down.bmp", Color, 24},
    {"rgb_os2.bmp", Color, 24},
    {"rgba.bmp", ColorWithAlpha, 32},
    {"palette.bmp", PenColor, 4},
    {"palette_rle.bmp", PenColor, 8},
    {"bits.bmp", Bit, 1},
    {"palette.gif", PenColor, 4},
    {"palette_interlaced.gif", PenColor, 4},
    {"palette_transparent.gif", PenColor, 4, true},
    {"animated.gif", PenColor, 4},
    {"bits.gif", Bit, 1},
    {"rgb_little.tif", Color, 24},
    {"rgb_big_lzw.tif", Color, 24},
    {"rgb_deflate.tif", Color, 24},
    {"rgb_tiled.tif", Color, 24},
    {"rgb_16bit.tif", Color, 24},
    {"rgb_separate.tif", Color, 24},
    {"rgba.tif", ColorWithAlpha, 32},
    {"palette.tif", PenColor, 4},
    {"gray.tif", Gray, 8},
    {"bits_fax.tif", Bit, 1},
    {"rgb_24bit.iff", Color, 24},
    {"palette.iff", PenColor, 4},
    {"palette_plain.iff", PenColor, 4},
    {"rgba.webp", ColorWithAlpha, 32},
    {"rgb.webp", Color, 24},
    {"rgb.tga", Color, 24},
    {"rgb_rle.tga", Color, 24},
    {"palette.tga", PenColor, 4},
    {"rgb.pcx", Color, 24},
    {"palette.pcx", PenColor, 8},
    {"palette.xpm", PenColor, 4},
    {"rgb.ppm", Color, 24},
    {"rgb_text.ppm", Color, 24},
    {"gray.pgm", Gray, 8},
    {"bits.pbm", Bit, 1},
    {"rgba.ico", ColorWithAlpha, 32},
    {"rgb.ico", OpaqueColor, 32},
    {"palette.ico", OpaquePenColor, 32},
    {"several.ico", ColorWithAlpha, 32},
};

std::string TestName(const testing::TestParamInfo<Sample>& info) {
  std::string name = info.param.name;
  for (char& c : name) c = c == '.' ? '_' : c;
  return name;
}

INSTANTIATE_TEST_SUITE_P(Samples, LosslessPicture, testing::ValuesIn(losslessSamples), TestName);

// Larger icons are PNG files within.
TEST(IconPicture, MayBePng) {
  const auto png = BytesOf("rgba.png");
  std::vector<std::uint8_t> icon{0, 0, 1, 0, 1, 0, width, height, 0, 0, 1, 0, 32, 0};
  for (const std::size_t number : {png.size(), std::size_t{22}}) {
    for (int i = 0; i < 4; ++i) icon.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
  }
  icon.insert(icon.end(), png.begin(), png.end());
  const auto object = MakePictureObject(icon);
  ASSERT_TRUE(object);
  EXPECT_EQ(PixelsOf(*object), Compute(ColorWithAlpha));
}

TEST(JpegPicture, HasThePixelsThatTheReferenceDecoderMakes) {
  for (const char* name : {"baseline.jpg", "progressive.jpg", "gray.jpg", "restarts.jpg",
                           "sampling_411.jpg", "arithmetic.jpg"}) {
    SCOPED_TRACE(name);
    const auto object = MakePictureObject(BytesOf(name));
    ASSERT_TRUE(object);
    EXPECT_EQ(object->depth, 24);
    EXPECT_EQ(PixelsOf(*object), PixelsOfPpm(BytesOf(std::string(name) + ".ppm")));
  }
}

TEST(JpegPicture, InksBecomeLight) {
  const auto object = MakePictureObject(BytesOf("cmyk.jpg"));
  ASSERT_TRUE(object);
  const auto wanted = Compute(Color);
  const auto pixels = PixelsOf(*object);
  double error = 0;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    for (const int shift : {0, 8, 16}) {
      const int got = static_cast<int>(pixels[i] >> shift & 255);
      error += std::abs(got - static_cast<int>(wanted[i] >> shift & 255));
    }
  }
  EXPECT_LT(error / (3.0 * static_cast<double>(wanted.size())), 12.0);
}

TEST(GifPicture, FrameStandsAtItsPlaceOnTheScreen) {
  const auto object = MakePictureObject(BytesOf("offset.gif"));
  ASSERT_TRUE(object);
  EXPECT_EQ(object->width, width);
  const auto pixels = PixelsOf(*object);
  for (int y = 4; y < 14; ++y) {
    for (int x = 5; x < 25; ++x) {
      ASSERT_EQ(pixels[static_cast<std::size_t>(y) * width + x], PenColor(x, y)) << x << ' ' << y;
    }
  }
}

// A file that ends early is refused, unless all that it lost are bytes that no pixel needs.
TEST(DamagedPicture, CutFilesAreRefused) {
  for (const Sample& sample : losslessSamples) {
    const auto bytes = BytesOf(sample.name);
    for (std::size_t tenth = 0; tenth < 10; ++tenth) {
      SCOPED_TRACE(testing::Message() << sample.name << " cut to " << tenth << " tenths");
      std::vector<std::uint8_t> cut(bytes.begin(), bytes.begin() + bytes.size() * tenth / 10);
      const auto object = MakePictureObject(cut);
      if (object) {
        EXPECT_EQ(PixelsOf(*object), Compute(sample.pixels));
      } else {
        EXPECT_EQ(object.error(), Error::UnknownImageFormat);
      }
    }
  }
}

TEST(DamagedPicture, CutJpegsAreRefused) {
  for (const char* name : {"baseline.jpg", "progressive.jpg", "restarts.jpg", "cmyk.jpg"}) {
    const auto bytes = BytesOf(name);
    for (std::size_t tenth = 0; tenth < 10; ++tenth) {
      SCOPED_TRACE(testing::Message() << name << " cut to " << tenth << " tenths");
      const std::span<const std::uint8_t> cut(bytes.data(), bytes.size() * tenth / 10);
      const auto object = MakePictureObject(cut);
      ASSERT_FALSE(object);
      EXPECT_EQ(object.error(), Error::UnknownImageFormat);
    }
  }
}

TEST(DamagedPicture, FlippedBytesDoNoHarm) {
  for (const Sample& sample : losslessSamples) {
    const auto bytes = BytesOf(sample.name);
    for (std::size_t at = 0; at < bytes.size(); at += 1 + bytes.size() / 150) {
      auto damaged = bytes;
      damaged[at] ^= 0xFF;
      const auto object = MakePictureObject(damaged);
      if (object) {
        EXPECT_EQ(PixelsOf(*object).size(),
                  static_cast<std::size_t>(object->width) * object->height);
      }
    }
  }
}

// Decoders that believe these headers read or write beyond their memory.
TEST(DamagedPicture, HeadersThatContradictThemselvesAreRefused) {
  const auto refuses = [](const char* name, std::size_t at, int value) {
    auto bytes = BytesOf(name);
    bytes[at] = static_cast<std::uint8_t>(value);
    bytes[at + 1] = static_cast<std::uint8_t>(value >> 8);
    return !MakePictureObject(bytes);
  };
  constexpr std::size_t pcxRowBytes = 66;
  EXPECT_TRUE(refuses("palette.pcx", pcxRowBytes, width - 1));
  EXPECT_TRUE(refuses("palette.pcx", pcxRowBytes, 0x8684));
  constexpr std::size_t tgaColors = 5;
  EXPECT_TRUE(refuses("palette.tga", tgaColors, 257));
}

/// A file of a header that promises 60000 by 60000 pixels and ten bytes of data.
struct Promise {
  const char* name;
  std::vector<std::uint8_t> header;
};

std::vector<std::uint8_t> WithSize(const char* sample, std::size_t keep,
                                   std::initializer_list<std::pair<std::size_t, int>> patches,
                                   bool big) {
  auto bytes = BytesOf(sample);
  bytes.resize(keep);
  for (const auto& [at, size] : patches) {
    const std::uint32_t value = 60000;
    for (int i = 0; i < size; ++i) {
      bytes[at + static_cast<std::size_t>(big ? size - 1 - i : i)] =
          static_cast<std::uint8_t>(value >> (8 * i));
    }
  }
  for (std::uint8_t i = 0; i < 10; ++i) bytes.push_back(i);
  return bytes;
}

template <std::size_t size>
std::vector<std::uint8_t> BytesOfText(const char (&text)[size]) {
  return {text, text + size - 1};
}

TEST(DamagedPicture, EmptyPromisesAreRefusedBeforeMemoryIsTaken) {
  const Promise promises[] = {
      {"bmp", WithSize("rgb.bmp", 54, {{18, 4}, {22, 4}}, false)},
      {"rle bmp", WithSize("palette_rle.bmp", 1078, {{18, 4}, {22, 4}}, false)},
      {"gif", WithSize("palette.gif", 71, {{6, 2}, {8, 2}, {66, 2}, {68, 2}}, false)},
      {"ilbm", WithSize("palette.iff", 150, {{20, 2}, {22, 2}}, true)},
      {"deep ilbm", WithSize("rgb_24bit.iff", 150, {{20, 2}, {22, 2}}, true)},
      {"tga", WithSize("rgb.tga", 18, {{12, 2}, {14, 2}}, false)},
      {"rle tga", WithSize("rgb_rle.tga", 18, {{12, 2}, {14, 2}}, false)},
      {"pcx", WithSize("rgb.pcx", 128, {{8, 2}, {10, 2}, {66, 2}}, false)},
      {"ppm", BytesOfText("P6\n60000 60000\n255\n0123456789")},
      {"xpm", BytesOfText("/* XPM */\nstatic char *a[] = {\n\"60000 60000 2 1\",\n\"a c #000\"")},
      {"qoi", BytesOfText("qoif\0\0\xEA\x60\0\0\xEA\x60\3\0"
                          "0123456789")},
      // The sum behind the header of a PNG is right.
      {"png", BytesOfText("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\xEA\x60\0\0\xEA\x60\x8\2\0\0\0"
                          "\x0F\xB0\xE2\x15"
                          "\0\0\0\x0AIDAT"
                          "0123456789")},
      // Width and height are one less in the header.
      {"webp", BytesOfText("RIFF\x20\0\0\0WEBPVP8X\x0A\0\0\0\0\0\0\0\x5F\xEA\0\x5F\xEA\0"
                           "0123456789")},
      // Width, height, 8 bits, compression, black is zero, strips at 98, all rows in one, of 10
      // bytes.
      {"tiff", BytesOfText("II\x2A\0\x8\0\0\0\x8\0"
                           "\0\1\3\0\1\0\0\0\x60\xEA\0\0"
                           "\1\1\3\0\1\0\0\0\x60\xEA\0\0"
                           "\2\1\3\0\1\0\0\0\x8\0\0\0"
                           "\3\1\3\0\1\0\0\0\5\0\0\0"
                           "\6\1\3\0\1\0\0\0\1\0\0\0"
                           "\x11\1\4\0\1\0\0\0\x6E\0\0\0"
                           "\x16\1\3\0\1\0\0\0\x60\xEA\0\0"
                           "\x17\1\4\0\1\0\0\0\x0A\0\0\0"
                           "\0\0\0\0"
                           "0123456789")},
  };
  for (const Promise& promise : promises) {
    SCOPED_TRACE(promise.name);
    const auto object = MakePictureObject(promise.header);
    ASSERT_FALSE(object);
    EXPECT_EQ(object.error(), Error::UnknownImageFormat);
  }
}

/// A JPEG keeps its size in the frame header, which other segments precede.
TEST(DamagedPicture, JpegThatPromisesTooMuchIsRefused) {
  for (const char* name : {"baseline.jpg", "progressive.jpg", "arithmetic.jpg"}) {
    auto bytes = BytesOf(name);
    std::size_t at = 2;
    while (bytes[at + 1] < 0xC0 || bytes[at + 1] > 0xCF || bytes[at + 1] == 0xC4 ||
           bytes[at + 1] == 0xCC) {
      at += 2 + (static_cast<std::size_t>(bytes[at + 2]) << 8 | bytes[at + 3]);
    }
    for (const std::size_t place : {at + 5, at + 7}) {
      bytes[place] = 60000 >> 8;
      bytes[place + 1] = 60000 & 255;
    }
    const auto object = MakePictureObject(bytes);
    ASSERT_FALSE(object) << name;
    EXPECT_EQ(object.error(), Error::UnknownImageFormat);
  }
}

}  // namespace
}  // namespace quillmere
