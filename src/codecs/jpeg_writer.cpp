#include "codecs/jpeg_writer.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

#include "codecs/picture_file.h"

namespace quillmere {
namespace {

/// Everything that libjpeg's jumps must not skip the destruction of.
struct JpegWriter {
  jpeg_compress_struct codec{};
  jpeg_error_mgr errors{};
  std::jmp_buf onError;
  unsigned char* data = nullptr;
  unsigned long size = 0;

  JpegWriter() = default;
  JpegWriter(const JpegWriter&) = delete;
  JpegWriter& operator=(const JpegWriter&) = delete;
  ~JpegWriter() {
    jpeg_destroy_compress(&codec);
    std::free(data);
  }
};

/// libjpeg has no other way out of an error than a jump to where the writer was entered.
[[noreturn]] void LeaveWriter(j_common_ptr codec) {
  std::longjmp(static_cast<JpegWriter*>(codec->client_data)->onError, 1);
}

void KeepQuiet(j_common_ptr) {}

bool Compress(JpegWriter& writer, const PixelView& pixels, int quality, JpegWordOrder order) {
  jpeg_compress_struct& codec = writer.codec;
  codec.err = jpeg_std_error(&writer.errors);
  codec.client_data = &writer;
  writer.errors.error_exit = LeaveWriter;
  writer.errors.output_message = KeepQuiet;
  if (setjmp(writer.onError)) return false;
  jpeg_create_compress(&codec);
  jpeg_mem_dest(&codec, &writer.data, &writer.size);
  codec.image_width = static_cast<JDIMENSION>(pixels.width);
  codec.image_height = static_cast<JDIMENSION>(pixels.height);
  codec.input_components = 4;
  // In memory the low byte of a word comes first.
  codec.in_color_space = order == JpegWordOrder::Argb ? JCS_EXT_BGRX : JCS_EXT_XRGB;
  jpeg_set_defaults(&codec);
  jpeg_set_quality(&codec, quality, TRUE);
  jpeg_start_compress(&codec, TRUE);
  while (codec.next_scanline < codec.image_height) {
    const std::uint32_t* words =
        pixels.pixels + static_cast<std::ptrdiff_t>(codec.next_scanline) * pixels.stride;
    auto* row = reinterpret_cast<JSAMPROW>(const_cast<std::uint32_t*>(words));
    jpeg_write_scanlines(&codec, &row, 1);
  }
  jpeg_finish_compress(&codec);
  return true;
}

}  // namespace

Result<std::vector<std::uint8_t>> EncodeJpeg(const PixelView& pixels, int quality,
                                             JpegWordOrder order) try {
  JpegWriter writer;
  if (!Compress(writer, pixels, quality, order)) return Fail(Error::OutOfMemory);
  return std::vector<std::uint8_t>(writer.data, writer.data + writer.size);
} catch (const std::bad_alloc&) {
  return Fail(Error::OutOfMemory);
}

Status WriteJpeg(Host& host, std::string_view name, const PixelView& pixels, int quality) {
  const auto file = TRY(CreatePictureFile(host, name));
  const auto bytes = TRY(EncodeJpeg(pixels, quality));
  TRY(WriteAll(*file, bytes));
  if (!file->Flush()) return Fail(Error::CannotWriteAll);
  return {};
}

}  // namespace quillmere
