#include "codecs/quantizer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>

#include <jpeglib.h>

namespace quillmere {
namespace {

constexpr int width = 157;
constexpr int height = 83;

PixelView View(const std::vector<std::uint32_t>& pixels, int pixelsPerRow = width) {
  return {pixels.data(), pixelsPerRow, static_cast<int>(pixels.size()) / pixelsPerRow,
          pixelsPerRow};
}

/// A picture of smooth slopes with some noise, as a photograph has.
std::vector<std::uint32_t> MakePhotograph() {
  std::mt19937 random(5);
  std::vector<std::uint32_t> pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto level = [&](double phase) {
        const double wave = 120 + 110 * std::sin(x / 31.0 + phase) * std::cos(y / 17.0 - phase);
        return static_cast<std::uint32_t>(wave) + random() % 12;
      };
      pixels.push_back(0xAA000000 | level(0) << 16 | level(1.3) << 8 | level(2.9));
    }
  }
  return pixels;
}

/// libjpeg's own quantiser at work on a picture that went through its compressor without loss worth
/// speaking of. What it was given is read back from the same file.
struct JpegQuantizer {
  std::vector<unsigned char> file;

  explicit JpegQuantizer(const std::vector<std::uint32_t>& pixels) {
    jpeg_compress_struct codec{};
    jpeg_error_mgr errors;
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&codec, &data, &size);
    codec.image_width = width;
    codec.image_height = height;
    codec.input_components = 4;
    codec.in_color_space = JCS_EXT_BGRX;
    jpeg_set_defaults(&codec);
    jpeg_start_compress(&codec, TRUE);
    while (codec.next_scanline < codec.image_height) {
      const auto* row = pixels.data() + static_cast<std::size_t>(codec.next_scanline) * width;
      auto* bytes = reinterpret_cast<JSAMPROW>(const_cast<std::uint32_t*>(row));
      jpeg_write_scanlines(&codec, &bytes, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    file.assign(data, data + size);
    std::free(data);
  }

  /// The pixels in true colour, or with `colors` those that the quantiser shows for them.
  std::vector<std::uint32_t> Decode(int colors = 0, bool dither = false) const {
    jpeg_decompress_struct codec{};
    jpeg_error_mgr errors;
    codec.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&codec);
    jpeg_mem_src(&codec, file.data(), file.size());
    jpeg_read_header(&codec, TRUE);
    codec.out_color_space = JCS_RGB;
    if (colors > 0) {
      codec.quantize_colors = TRUE;
      codec.two_pass_quantize = TRUE;
      codec.desired_number_of_colors = colors;
      codec.dither_mode = dither ? JDITHER_FS : JDITHER_NONE;
    }
    jpeg_start_decompress(&codec);
    std::vector<std::uint32_t> pixels;
    std::vector<unsigned char> row(width * 3);
    while (codec.output_scanline < codec.output_height) {
      JSAMPROW bytes = row.data();
      jpeg_read_scanlines(&codec, &bytes, 1);
      for (int x = 0; x < width; ++x) {
        std::uint32_t color = 0;
        for (int i = 0; i < 3; ++i) {
          color = color << 8 | (colors > 0 ? codec.colormap[i][row[static_cast<std::size_t>(x)]]
                                           : row[static_cast<std::size_t>(3 * x + i)]);
        }
        pixels.push_back(color);
      }
    }
    jpeg_finish_decompress(&codec);
    jpeg_destroy_decompress(&codec);
    return pixels;
  }
};

std::vector<std::uint32_t> Shown(const IndexedImage& image) {
  std::vector<std::uint32_t> pixels;
  for (const std::uint8_t index : image.indexes) pixels.push_back(image.palette[index]);
  return pixels;
}

TEST(Quantizer, IsTheOneOfLibjpeg) {
  const JpegQuantizer reference(MakePhotograph());
  const auto pixels = reference.Decode();
  for (const int colors : {8, 16, 37, 100, 256}) {
    for (const bool dither : {false, true}) {
      SCOPED_TRACE(testing::Message() << colors << (dither ? " dithered" : " plain"));
      const auto image = QuantizeImage(View(pixels), {colors, -1, false, dither});
      ASSERT_TRUE(image);
      EXPECT_EQ(image->colors, colors);
      EXPECT_EQ(Shown(*image), reference.Decode(colors, dither));
    }
  }
}

TEST(Quantizer, FewColoursStayThemselvesWithinTheirCells) {
  const std::vector<std::uint32_t> pixels{0xFF0000, 0x00FF00, 0x0000FF,
                                          0xFF0000, 0x00FF00, 0x0000FF};
  const auto image = QuantizeImage(View(pixels, 3), {256});
  ASSERT_TRUE(image);
  EXPECT_EQ(image->colors, 3);
  EXPECT_EQ(Shown(*image), (std::vector<std::uint32_t>{0xFC0204, 0x04FE04, 0x0402FC, 0xFC0204,
                                                       0x04FE04, 0x0402FC}));
}

TEST(Quantizer, KeyStandsBehindTheColoursAndTakesNoPart) {
  const std::uint32_t key = 0x123456;
  auto pixels = MakePhotograph();
  for (std::size_t i = 0; i < pixels.size(); i += 3) pixels[i] = 0xFF000000 | key;
  for (const bool dither : {false, true}) {
    const auto image =
        QuantizeImage(View(pixels), {256, static_cast<std::int32_t>(key), false, dither});
    ASSERT_TRUE(image);
    EXPECT_EQ(image->colors, 256);
    EXPECT_EQ(image->palette[255], key);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      ASSERT_EQ(image->indexes[i] == 255, (pixels[i] & 0xFFFFFF) == key) << i;
    }
  }
}

TEST(Quantizer, APictureOfNothingButTheKeyHasOneWhiteColourBesideIt) {
  const std::vector<std::uint32_t> pixels(6, 0x00FF00);
  const auto image = QuantizeImage(View(pixels, 3), {16, 0x00FF00, false, true});
  ASSERT_TRUE(image);
  EXPECT_EQ(image->colors, 2);
  EXPECT_EQ(image->palette[0], 0xFFFFFFu);
  EXPECT_EQ(image->palette[1], 0x00FF00u);
  EXPECT_EQ(image->indexes, std::vector<std::uint8_t>(6, 1));
}

// A pixel of the key colour between others: what the first pixel leaves for the row below it and
// below the key arrives, what it hands to the key itself does not come out behind it.
TEST(Quantizer, ErrorsPassBelowTheKeyButNotThroughIt) {
  const std::uint32_t gray = 0x838383;
  const std::uint32_t key = 0xFF0000;
  // Black and white leave an error of 131 or -124 at each grey pixel.
  std::vector<std::uint32_t> pixels(8 * 2, gray);
  for (int i = 0; i < 3; ++i) {
    pixels.push_back(0x000000);
    pixels.push_back(0xFFFFFF);
  }
  pixels.resize(24, key);
  const auto plain = QuantizeImage(View(pixels, 8), {2, 0xFF0000, false, true});
  pixels[1] = key;
  const auto keyed = QuantizeImage(View(pixels, 8), {2, 0xFF0000, false, true});
  ASSERT_TRUE(plain && keyed);
  EXPECT_EQ(keyed->indexes[1], keyed->colors - 1);
  // Both runs see the same first pixel; behind the key dithering starts from no error.
  EXPECT_EQ(plain->indexes[0], keyed->indexes[0]);
  EXPECT_EQ(keyed->indexes[2], keyed->indexes[0]);
}

TEST(Quantizer, ReservedSlotIsOneMoreEntry) {
  const auto pixels = MakePhotograph();
  const auto image = QuantizeImage(View(pixels), {256, -1, true, false});
  ASSERT_TRUE(image);
  EXPECT_EQ(image->colors, 256);
  EXPECT_EQ(image->palette[255], 0u);
  EXPECT_EQ(std::set(image->indexes.begin(), image->indexes.end()).count(255), 0u);
  EXPECT_EQ(QuantizeImage(View(pixels), {16, -1, true, false})->colors, 17);
}

TEST(Quantizer, RowsMayHavePadding) {
  auto packed = MakePhotograph();
  std::vector<std::uint32_t> padded;
  for (int y = 0; y < height; ++y) {
    padded.insert(padded.end(), packed.begin() + y * width, packed.begin() + (y + 1) * width);
    padded.insert(padded.end(), 5, 0xFFFFFFFF);
  }
  const PixelView view{padded.data(), width, height, width + 5};
  for (const bool dither : {false, true}) {
    EXPECT_EQ(Shown(*QuantizeImage(view, {64, -1, false, dither})),
              Shown(*QuantizeImage(View(packed), {64, -1, false, dither})));
  }
}

}  // namespace
}  // namespace quillmere
