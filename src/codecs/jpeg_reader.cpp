// JPEG through libjpeg. Rows go straight into words; grey and CMYK pictures become RGB.
#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>
// The codes of libjpeg's messages; it must stand behind jpeglib.h.
#include <jerror.h>

#include "codecs/picture_formats.h"
#include "codecs/storage.h"

namespace quillmere {
namespace {

/// A picture of more scans than this is made to waste time: each costs a pass over all of it.
constexpr int maxScans = 200;

/// Everything that libjpeg's jumps must not skip the destruction of.
struct JpegReader {
  jpeg_decompress_struct codec{};
  jpeg_error_mgr errors{};
  jpeg_progress_mgr progress{};
  std::jmp_buf onError;
  bool outOfMemory = false;
  bool endReached = false;
  bool ranDry = false;
  PictureObject object;
  std::vector<std::uint8_t> inkRow;

  JpegReader() = default;
  JpegReader(const JpegReader&) = delete;
  JpegReader& operator=(const JpegReader&) = delete;
  ~JpegReader() { jpeg_destroy_decompress(&codec); }

  [[nodiscard]] std::unexpected<Error> Failure() const {
    return Fail(outOfMemory ? Error::OutOfMemory : Error::UnknownImageFormat);
  }
};

JpegReader& ReaderOf(j_common_ptr codec) {
  return *static_cast<JpegReader*>(codec->client_data);
}

/// libjpeg has no other way out of an error than a jump to where the reader was entered.
[[noreturn]] void LeaveReader(j_common_ptr codec) {
  JpegReader& reader = ReaderOf(codec);
  reader.outOfMemory = codec->err->msg_code == JERR_OUT_OF_MEMORY;
  std::longjmp(reader.onError, 1);
}

/// Notes the warnings that tell of a file that was cut: the end came while more was expected, and
/// pixels were made up because the codes had run out.
void NoteMessage(j_common_ptr codec, int level) {
  if (level >= 0) return;
  JpegReader& reader = ReaderOf(codec);
  if (codec->err->msg_code == JWRN_JPEG_EOF) reader.endReached = true;
  if (codec->err->msg_code == JWRN_HIT_MARKER) reader.ranDry = true;
}

void CheckScans(j_common_ptr codec) {
  if (reinterpret_cast<j_decompress_ptr>(codec)->input_scan_number > maxScans) LeaveReader(codec);
}

bool ReadHeader(JpegReader& reader, FileBytes bytes) {
  jpeg_decompress_struct& codec = reader.codec;
  codec.err = jpeg_std_error(&reader.errors);
  codec.client_data = &reader;
  reader.errors.error_exit = LeaveReader;
  reader.errors.emit_message = NoteMessage;
  reader.progress.progress_monitor = CheckScans;
  if (setjmp(reader.onError)) return false;
  jpeg_create_decompress(&codec);
  codec.progress = &reader.progress;
  jpeg_mem_src(&codec, bytes.data(), bytes.size());
  jpeg_read_header(&codec, TRUE);
  reader.object.width = static_cast<int>(codec.image_width);
  reader.object.height = static_cast<int>(codec.image_height);
  reader.object.depth = 24;
  return true;
}

/// Whether the file can hold that many pixels: with Huffman codes every block of 8 by 8 pixels of
/// the densest component has a first code of at least one bit. The arithmetic coder has no such
/// bound; a hundred blocks a bit is far beyond what pictures reach.
bool FitsFile(const JpegReader& reader, std::size_t fileSize) {
  const std::uint64_t pixelsPerByte = reader.codec.arith_code ? 51200 : 512;
  const std::uint64_t pixels =
      static_cast<std::uint64_t>(reader.object.width) * static_cast<unsigned>(reader.object.height);
  return pixels / pixelsPerByte <= fileSize;
}

/// Ink to light. Files with Adobe's marker hold the inks inverted.
void InksToWords(const std::uint8_t* inks, std::uint32_t* words, int width, bool inverted) {
  const std::uint8_t flip = inverted ? 0 : 255;
  for (int x = 0; x < width; ++x, inks += 4) {
    const std::uint32_t black = inks[3] ^ flip;
    std::uint32_t word = 0;
    for (int i = 0; i < 3; ++i) word = word << 8 | ((inks[i] ^ flip) * black + 127) / 255;
    words[x] = word;
  }
}

/// libjpeg fills the fourth byte of a pixel with what it likes. Done row by row while the words are
/// still near, in steps as wide as the processor has them.
[[gnu::optimize("O3")]] void ClearTopBytes(std::uint32_t* words, int width) {
  for (int x = 0; x < width; ++x) words[x] &= 0xFFFFFF;
}

bool ReadRows(JpegReader& reader) {
  jpeg_decompress_struct& codec = reader.codec;
  if (setjmp(reader.onError)) return false;
  jpeg_start_decompress(&codec);
  const int width = reader.object.width;
  while (codec.output_scanline < codec.output_height) {
    std::uint32_t* words = reader.object.pixels->Row(static_cast<int>(codec.output_scanline));
    if (codec.out_color_space == JCS_CMYK) {
      JSAMPROW row = reader.inkRow.data();
      if (jpeg_read_scanlines(&codec, &row, 1) != 1) return false;
      InksToWords(row, words, width, codec.saw_Adobe_marker != 0);
    } else {
      auto* row = reinterpret_cast<JSAMPROW>(words);
      if (jpeg_read_scanlines(&codec, &row, 1) != 1) return false;
      ClearTopBytes(words, width);
    }
  }
  return true;
}

}  // namespace

bool IsJpeg(FileBytes bytes) {
  return bytes.size() >= 3 && bytes[0] == 0xFF && bytes[1] == 0xD8 && bytes[2] == 0xFF;
}

Result<PictureObject> DecodeJpeg(FileBytes bytes, DecodeScope scope) {
  JpegReader reader;
  if (!ReadHeader(reader, bytes)) return reader.Failure();
  if (scope == DecodeScope::HeaderOnly) return std::move(reader.object);
  if (!FitsFile(reader, bytes.size())) return Fail(Error::UnknownImageFormat);

  PictureObject& object = reader.object;
  object.pixels = TRY(AllocBitmap(object.width, object.height));
  const bool inks = reader.codec.num_components == 4;
  reader.codec.out_color_space = inks ? JCS_CMYK : JCS_EXT_BGRX;
  if (inks) reader.inkRow = TRY(MakeArray<std::uint8_t>(object.width, 4));
  if (!ReadRows(reader)) return reader.Failure();
  const bool cut = reader.endReached && (reader.ranDry || reader.codec.progressive_mode);
  if (cut) return Fail(Error::UnknownImageFormat);
  return std::move(reader.object);
}

}  // namespace quillmere
