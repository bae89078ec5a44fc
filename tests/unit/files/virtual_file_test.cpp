#include "files/virtual_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <random>
#include <thread>

#include "unit/files/applet_bytes.h"
#include "unit/files/platform_fixture.h"

namespace quillmere {
namespace {

/// Bytes that tell their place.
std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31 + (i >> 8));
  return bytes;
}

std::span<const std::uint8_t> Bytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Moves and reads at random and compares each with the bytes themselves.
void CompareWithBytes(qmFile& file, std::string_view bytes, bool canLeaveTheEnd) {
  std::mt19937 random(7);
  const auto size = static_cast<std::int64_t>(bytes.size());
  std::int64_t position = 0;
  for (int step = 0; step < 4000; ++step) {
    const unsigned kind = random() % 6;
    if (kind < 2) {
      const auto target = static_cast<std::int64_t>(random() % (bytes.size() + 300));
      const std::int64_t origin = kind == 0 ? 0 : position;
      EXPECT_EQ(file.SeekFile(target - origin, kind == 0 ? SeekMode::Start : SeekMode::Current),
                position);
      position = canLeaveTheEnd ? target : std::min(target, size);
    } else if (kind == 2) {
      const bool inside = position < size;
      const int expected =
          inside ? static_cast<unsigned char>(bytes[static_cast<std::size_t>(position)]) : -1;
      EXPECT_EQ(file.ReadByte(), expected);
      if (inside) ++position;
    } else {
      std::vector<std::uint8_t> out(random() % (kind == 3 ? 20 : 12000));
      const std::size_t count = kind == 5 ? file.ReadUnbuffered(out) : file.ReadBytes(out);
      const auto at = static_cast<std::size_t>(std::min(position, size));
      const std::string_view expected = bytes.substr(at, out.size());
      ASSERT_EQ(count, expected.size());
      EXPECT_TRUE(std::ranges::equal(std::span(out).first(count), Bytes(expected)));
      position += static_cast<std::int64_t>(count);
    }
    ASSERT_EQ(file.Position(), position);
    ASSERT_EQ(file.IsAtEnd(), position >= size);
  }
}

TEST_F(FilesTest, ReadsPlainFilesAndChunksLikeTheirBytes) {
  const std::string bytes = Pattern(50000);
  const std::string path = directory.Put("plain", bytes);
  const auto plain = OpenFile(host, path, OpenMode::Read);
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->Size(), 50000);
  CompareWithBytes(*plain, bytes, true);

  const auto chunk = OpenFile(host, MakeChunkName("x", 1000, 20000, 345, path), OpenMode::Read);
  ASSERT_TRUE(chunk);
  EXPECT_EQ(chunk->Size(), 20000);
  CompareWithBytes(*chunk, std::string_view(bytes).substr(1345, 20000), false);

  CompareWithBytes(*FileOf(bytes), bytes, false);
}

TEST_F(FilesTest, SeeksFromTheEndAndRefusesWhatLiesBeforeTheBegin) {
  const auto file = FileOf("0123456789");
  file->SeekFile(-3, SeekMode::End);
  EXPECT_EQ(file->ReadByte(), '7');
  EXPECT_EQ(file->SeekFile(-9, SeekMode::Current), 8);
  EXPECT_EQ(file->Position(), 8);
  EXPECT_EQ(file->SeekFile(INT64_MAX, SeekMode::Current), 8);
  EXPECT_EQ(file->Position(), 8);
  file->SeekFile(11, SeekMode::Start);
  EXPECT_EQ(file->Position(), 10);
}

TEST_F(FilesTest, ReadsBigEndianNumbersAndNothingPastTheEnd) {
  const auto file = FileOf(std::string_view("\xFF\xFE\x00\x00\x00\x01\x02", 7));
  EXPECT_EQ(file->ReadI16(), -2);
  EXPECT_EQ(file->ReadI32(), 1);
  EXPECT_FALSE(file->ReadI16());
  EXPECT_TRUE(file->IsAtEnd());
  const auto little = FileOf("\x01\x02");
  EXPECT_EQ(little->ReadLittle<std::uint16_t>(), 0x0201);
}

TEST_F(FilesTest, CutsChunksToTheirContainer) {
  const std::string path = directory.Put("c", "0123456789");
  const auto open = [&](std::int64_t offset, std::int64_t size) {
    return OpenFile(host, MakeChunkName("x", offset, size, 0, path), OpenMode::Read);
  };
  EXPECT_EQ(Rest(*open(8, 100)), "89");
  EXPECT_EQ(Rest(*open(11, 100)), "");
  EXPECT_EQ(open(0, 0xFFFFFFFF)->Size(), 10);
  EXPECT_EQ(Rest(*open(2, 3)), "234");
  EXPECT_FALSE(OpenFile(host, MakeChunkName("x", 0, 1, 0, path), OpenMode::Write));
  EXPECT_FALSE(OpenFile(host, MakeChunkName("x", 0, 1, 0, directory.Path("no")), OpenMode::Read));
  EXPECT_EQ(directory.Get("c"), "0123456789");
}

TEST_F(FilesTest, ReadsPartsOfParts) {
  const std::string path = directory.Put("c", "0123456789");
  const std::string outer = MakeChunkName("x", 2, 6, 0, path);
  EXPECT_EQ(Rest(*OpenFile(host, MakeChunkName("y", 1, 3, 0, outer), OpenMode::Read)), "345");
  EXPECT_EQ(Rest(*OpenFile(host, MakeChunkName("y", 4, 9, 0, outer), OpenMode::Read)), "67");
  EXPECT_EQ(Rest(*OpenFile(host, MakeChunkName("y", 9, 9, 0, outer), OpenMode::Read)), "");
  std::string deep = path;
  for (int i = 0; i < 2000; ++i) deep = ":::chunk0:9*/" + deep;
  EXPECT_EQ(Rest(*OpenFile(host, deep, OpenMode::Read)), "012345678");
}

TEST_F(FilesTest, OpensMemoryByItsName) {
  const auto bytes = std::make_shared<const std::vector<std::uint8_t>>(3, std::uint8_t{'m'});
  const std::string name = DefineMemoryFile(host, bytes, "dir/shown.png");
  EXPECT_TRUE(name.starts_with(":::chunkS"));
  EXPECT_EQ(DisplayNameOfChunk(name), "shown.png");
  EXPECT_EQ(Rest(*OpenFile(host, name, OpenMode::Read)), "mmm");
  EXPECT_EQ(Rest(*OpenFile(host, DefineDecoderMemory(host, bytes), OpenMode::Read)), "mmm");
  EXPECT_FALSE(OpenFile(host, name, OpenMode::Write));
}

TEST_F(FilesTest, NeverOpensMemoryThatNobodyHolds) {
  auto bytes = std::make_shared<const std::vector<std::uint8_t>>(3, std::uint8_t{'m'});
  const std::string name = DefineMemoryFile(host, bytes, "x");
  const std::string address = name.substr(name.find('/') + 1);
  EXPECT_EQ(OpenFile(host, ":::chunkS0:999999*x/" + address, OpenMode::Read)->Size(), 3);
  EXPECT_FALSE(OpenFile(host, ":::chunkS0:3*x/1000", OpenMode::Read));
  EXPECT_FALSE(OpenFile(host, ":::chunkS0:3*x/" + address + "0", OpenMode::Read));
  EXPECT_FALSE(OpenFile(host, std::string(":::memory\0\0\0\5\0\0\0\1", 17), OpenMode::Read));
  const auto open = OpenFile(host, name, OpenMode::Read);
  bytes.reset();
  EXPECT_EQ(Rest(*open), "mmm");
  EXPECT_TRUE(OpenFile(host, name, OpenMode::Read)) << "an open file holds its memory";
}

TEST_F(FilesTest, ForgetsMemoryThatIsGone) {
  auto bytes = std::make_shared<const std::vector<std::uint8_t>>(3, std::uint8_t{'m'});
  const std::string name = DefineMemoryFile(host, bytes, "x");
  bytes.reset();
  EXPECT_FALSE(OpenFile(host, name, OpenMode::Read));
}

TEST_F(FilesTest, WritesAndReadsInOneFile) {
  const std::string path = directory.Path("rw");
  {
    const auto file = OpenFile(host, path, OpenMode::ReadWrite);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->Size(), -1);
    EXPECT_FALSE(file->Remaining());
    EXPECT_EQ(file->WriteBytes(Bytes("abcdef")), 6u);
    file->SeekFile(2, SeekMode::Start);
    EXPECT_EQ(file->ReadByte(), 'c');
    EXPECT_TRUE(file->WriteByte('X'));
    EXPECT_EQ(file->WriteUnbuffered(Bytes("Y")), 1u);
    EXPECT_EQ(file->SeekFile(0, SeekMode::End), 5);
    EXPECT_EQ(file->Position(), 6);
    file->WriteByte('!');
  }
  EXPECT_EQ(directory.Get("rw"), "abcXYf!");
  const auto readOnly = OpenFile(host, path, OpenMode::Read);
  EXPECT_EQ(readOnly->WriteBytes(Bytes("zz")), 0u);
  EXPECT_FALSE(OpenFile(host, directory.Path("no/such/dir"), OpenMode::Write));
}

TEST_F(FilesTest, TakesBackslashesInPaths) {
  std::filesystem::create_directory(directory.Path("sub"));
  directory.Put("sub/f", "in");
  const auto file = OpenFile(host, directory.Path(".\\sub\\f"), OpenMode::Read);
  ASSERT_TRUE(file);
  EXPECT_EQ(Rest(*file), "in");
}

TEST_F(FilesTest, ReadsWholeFilesUpToALimit) {
  const std::string bytes = Pattern(30000);
  const std::string path = directory.Put("w", bytes);
  EXPECT_EQ(Text(*ReadWholeFile(host, path, 30000)), bytes);
  EXPECT_EQ(ReadWholeFile(host, path, 29999).error(), Error::OutOfMemory);
  EXPECT_EQ(ReadWholeFile(host, "/no such file").error(), Error::CannotReadFile);
  EXPECT_EQ(host.errors.argument, "/no such file");
  EXPECT_TRUE(ReadWholeFile(host, directory.Put("empty", ""))->empty());
  const std::string sparse = directory.Put("sparse", "");
  std::filesystem::resize_file(sparse, wholeFileLimit + 1);
  EXPECT_EQ(ReadWholeFile(host, sparse).error(), Error::OutOfMemory);
}

TEST_F(FilesTest, ReadsPipesUpToALimit) {
  const std::string bytes = Pattern(20000);
  const std::string path = directory.Path("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const auto readUpTo = [&](std::size_t limit) {
    const std::jthread writer([&] { std::ofstream(path, std::ios::binary) << bytes; });
    return ReadWholeFile(host, path, limit);
  };
  EXPECT_EQ(Text(*readUpTo(20000)), bytes);
  EXPECT_EQ(readUpTo(19999).error(), Error::OutOfMemory);
}

TEST_F(FilesTest, PreparesSourcesForDecoders) {
  const std::string path = directory.Put("d", "0123456789");
  const auto plain = PrepareDecoderSource(host, path);
  ASSERT_TRUE(plain);
  EXPECT_FALSE(plain->bytes);
  EXPECT_EQ(std::filesystem::canonical(plain->path), std::filesystem::canonical(path));
  const auto chunk = PrepareDecoderSource(host, MakeChunkName("x", 3, 4, 0, path));
  ASSERT_TRUE(chunk);
  EXPECT_EQ(Text(*chunk->bytes), "3456");
  EXPECT_EQ(PrepareDecoderSource(host, directory.Path("no")).error(), Error::CannotReadFile);
}

std::string TextForm(std::string_view text) {
  AppletBytes form;
  form.Raw("FTXTCHRS").U32(static_cast<std::uint32_t>(text.size())).Raw(text);
  if (text.size() % 2 != 0) form.U8(0);
  const std::string body = form.Bytes().substr(4);
  std::string head = "FORM";
  for (int shift = 24; shift >= 0; shift -= 8) {
    head.push_back(static_cast<char>(body.size() >> shift));
  }
  return head + body;
}

TEST_F(FilesTest, HandsATextFormToTheClipboardWhenItIsClosed) {
  EXPECT_FALSE(OpenFile(host, ":::clipboard", OpenMode::Read));
  EXPECT_FALSE(OpenFile(host, ":::clipboard", OpenMode::ReadWrite));
  std::string debug;
  host.debug.SetSink([&](std::string_view text) { debug += text; });
  {
    const auto file = OpenFile(host, ":::clipboard", OpenMode::Write);
    ASSERT_TRUE(file);
    file->WriteBytes(Bytes(TextForm("heLlo")));
    file->SeekFile(22, SeekMode::Start);
    file->WriteByte('l');
    EXPECT_EQ(file->SeekFile(0, SeekMode::End), 23);
    EXPECT_EQ(file->Position(), 23);
    EXPECT_EQ(debug, "Error: cannot use SEEK_END with clipboard!\n");
  }
  const auto content = platform->clipboard().Read();
  ASSERT_TRUE(content);
  EXPECT_EQ(content->text, "hello");
}

TEST_F(FilesTest, GathersForTheClipboardUpToALimit) {
  const std::string form = TextForm("hello!");
  files->mostClipboardBytes = form.size();
  {
    const auto file = OpenFile(host, ":::clipboard", OpenMode::Write);
    EXPECT_EQ(file->WriteBytes(Bytes(form)), form.size());
    EXPECT_FALSE(file->WriteByte('x'));
  }
  EXPECT_EQ(platform->clipboard().Read()->text, "hello!");
}

TEST_F(FilesTest, DropsWhatIsNoFormForTheClipboard) {
  ASSERT_TRUE(platform->clipboard().WriteText("before"));
  std::string debug;
  host.debug.SetSink([&](std::string_view text) { debug += text; });
  std::string cut = TextForm("hello");
  cut.resize(cut.size() - 2);
  for (const std::string& form :
       {std::string("FORM"), std::string("junk"), cut, std::string("FORM\0\0\0\4ILBM", 12)}) {
    debug.clear();
    OpenFile(host, ":::clipboard", OpenMode::Write)->WriteBytes(Bytes(form));
    EXPECT_EQ(debug, "Unknown data format in clipboard!\n");
  }
  EXPECT_EQ(platform->clipboard().Read()->text, "before");
}

TEST_F(FilesTest, ExaminesChunksByTheirName) {
  const std::string name = MakeChunkName("Pic.png", 5, 77, 0, "/nowhere");
  const auto lock = LockName(host, name);
  ASSERT_TRUE(lock);
  const auto info = ExamineName(host, *lock);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->name, "Pic.png");
  EXPECT_EQ(info->size, 77);
  EXPECT_EQ(info->protection, 15u);
  EXPECT_EQ(info->date.year * 10000 + info->date.month * 100 + info->date.day, 19820916);
  EXPECT_FALSE(info->isDirectory);
  EXPECT_EQ(FullPathOfName(host, *lock), AddPart(platform->files().GetCurrentDir(), "Pic.png"));
  EXPECT_EQ(FullPathOfName(host, *LockName(host, ":::chunk1:2*/x")), "unknown");
}

TEST_F(FilesTest, LocksOnlyWhatExists) {
  const std::string path = directory.Put("there", "12345");
  const auto lock = LockName(host, path);
  ASSERT_TRUE(lock);
  EXPECT_EQ(ExamineName(host, *lock)->size, 5);
  EXPECT_FALSE(LockName(host, directory.Path("not there")));
  EXPECT_FALSE(LockName(host, ":::clipboard"));
}

TEST_F(FilesTest, DeletesTemporaryFilesAtTheEnd) {
  const std::string first = GetTempFileName(host, "dir.d/pic.png");
  EXPECT_TRUE(first.ends_with(".png"));
  EXPECT_TRUE(GetTempFileName(host, MakeChunkName("a.gif", 0, 1, 0, "/x.qma")).ends_with(".gif"));
  EXPECT_FALSE(GetTempFileName(host, "dir.d/pic").ends_with("pic"));
  EXPECT_NE(MakeTempName(host), MakeTempName(host));
  EXPECT_EQ(temp.Count(), 5u);
  DeleteTempFile(host, first);
  EXPECT_EQ(temp.Count(), 4u);
  files.reset();
  EXPECT_EQ(temp.Count(), 0u);
}

}  // namespace
}  // namespace quillmere
