#include "files/compressed_file.h"

#include <zlib.h>

#include "files/applet_format.h"
#include "unit/files/platform_fixture.h"

namespace quillmere {
namespace {

class CompressedFiles : public FilesTest {
 protected:
  /// Compresses the bytes and gives the compressed file.
  std::string Packed(std::string_view bytes) {
    const std::string source = directory.Put("source", bytes);
    const auto size = Compress(host, compressedFileMagic, source, directory.Path("packed"));
    std::string packed = directory.Get("packed");
    EXPECT_EQ(size, static_cast<std::int64_t>(packed.size()));
    return packed;
  }

  Result<std::int64_t> Unpack(std::string_view packed, std::int64_t offset = 0,
                              std::int64_t limit = INT64_MAX) {
    const std::string source = directory.Put("in", packed);
    return Decompress(host, compressedFileMagic, source, directory.Path("out"), offset, limit);
  }
};

TEST_F(CompressedFiles, UnpackToWhatTheyWere) {
  std::string noise(100000, '\0');
  std::uint32_t word = 1;
  for (char& c : noise) c = static_cast<char>((word = word * 1664525 + 1013904223) >> 24);
  for (const std::size_t size : {0u, 1u, 16383u, 16384u, 16385u, 32768u, 100000u}) {
    for (const std::string& bytes : {noise.substr(0, size), std::string(size, 'a')}) {
      const std::string packed = Packed(bytes);
      EXPECT_EQ(packed.substr(0, 8), std::string("QMPK\0\0\0\0", 8));
      EXPECT_EQ(Unpack(packed), static_cast<std::int64_t>(size));
      EXPECT_EQ(directory.Get("out"), bytes);
    }
  }
}

TEST_F(CompressedFiles, StandBehindAnOffset) {
  const std::string packed = Packed("some text");
  EXPECT_EQ(Unpack("skipped" + packed + "behind", 7), 9);
  EXPECT_EQ(directory.Get("out"), "some text");
}

TEST_F(CompressedFiles, TellWhatIsWrong) {
  const std::string packed = Packed(std::string(5000, 'x') + "end");
  EXPECT_EQ(Unpack("QMZZ" + packed.substr(4)).error(), Error::UnknownCompression);
  EXPECT_EQ(Unpack("QM").error(), Error::UnknownCompression);
  for (std::size_t size = 4; size < packed.size(); ++size) {
    EXPECT_EQ(Unpack(packed.substr(0, size)).error(), Error::ZlibData) << size;
  }
  std::string damaged = packed;
  damaged[packed.size() / 2] = static_cast<char>(~damaged[packed.size() / 2]);
  EXPECT_EQ(Unpack(damaged).error(), Error::ZlibData);
  EXPECT_EQ(Unpack(packed, 0, 5003), 5003);
  EXPECT_EQ(Unpack(packed, 0, 5002).error(), Error::CannotWriteAll);
}

TEST_F(CompressedFiles, NameTheFileThatCannotBeOpened) {
  const std::string there = directory.Put("there", "x");
  const std::string missing = directory.Path("missing");
  const std::string nowhere = directory.Path("no/where");
  EXPECT_EQ(Compress(host, compressedFileMagic, missing, there).error(), Error::CannotReadFile);
  EXPECT_EQ(host.errors.argument, missing);
  EXPECT_EQ(Compress(host, compressedFileMagic, there, nowhere).error(), Error::CannotWriteFile);
  EXPECT_EQ(host.errors.argument, nowhere);
}

TEST_F(CompressedFiles, AreNeverWrittenOverTheirSource) {
  const std::string path = directory.Put("one", "text");
  std::filesystem::create_symlink(path, directory.Path("two"));
  for (const std::string& other : {path, directory.Path("./one"), directory.Path("two")}) {
    EXPECT_EQ(Compress(host, compressedFileMagic, path, other).error(), Error::CannotWriteFile);
    EXPECT_EQ(directory.Get("one"), "text");
  }
}

std::vector<std::uint8_t> Gzip(std::string_view text, bool withName) {
  z_stream stream{};
  deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  gz_header header{};
  std::uint8_t name[] = "name";
  std::uint8_t comment[] = "comment";
  std::uint8_t extra[] = {1, 2, 3};
  header.name = name;
  header.comment = comment;
  header.extra = extra;
  header.extra_len = sizeof extra;
  header.hcrc = 1;
  if (withName) deflateSetHeader(&stream, &header);
  std::vector<std::uint8_t> out(text.size() + 200);
  stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = out.data();
  stream.avail_out = static_cast<uInt>(out.size());
  deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

TEST(GzipBlocks, UnpackWithEveryHeader) {
  for (const bool withName : {false, true}) {
    const auto block = Gzip("hello hello hello", withName);
    EXPECT_TRUE(IsGzip(block));
    const auto out = UnpackGzip(block);
    ASSERT_TRUE(out);
    EXPECT_EQ(std::string(out->begin(), out->end()), "hello hello hello");
    for (std::size_t size = 0; size < block.size(); ++size) {
      EXPECT_FALSE(UnpackGzip(std::span(block).first(size))) << size;
    }
  }
}

TEST(GzipBlocks, MayShrinkAsFarAsDeflateCan) {
  const std::string zeros(8 << 20, '\0');
  const auto block = Gzip(zeros, false);
  EXPECT_LT(block.size(), zeros.size() / 1000);
  const auto out = UnpackGzip(block);
  ASSERT_TRUE(out);
  EXPECT_EQ(out->size(), zeros.size());
}

TEST(GzipBlocks, AreNotTrustedWithTheirSize) {
  auto block = Gzip("hello", false);
  for (std::size_t i = 1; i <= 4; ++i) block[block.size() - i] = 0xFF;
  EXPECT_EQ(UnpackGzip(block).error(), Error::ZlibData);
}

}  // namespace
}  // namespace quillmere
