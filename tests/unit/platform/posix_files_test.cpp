#include "platform/posix/posix_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <random>

#include "open_platform.h"
#include "platform/posix/process.h"

namespace quillmere {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::span<const std::uint8_t> AsBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::string Read(PlatformFile& file, std::size_t size) {
  std::string text(size, '\0');
  const auto count = file.Read({reinterpret_cast<std::uint8_t*>(text.data()), size});
  EXPECT_TRUE(count.has_value());
  text.resize(count.value_or(0));
  return text;
}

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Make(const std::string& path, std::string_view text = "x") {
  std::ofstream(path, std::ios::binary) << text;
}

TEST(PosixFiles, OpenModes) {
  TempDirectory directory;
  PosixFiles files;
  const std::string name = directory.File("a");
  EXPECT_EQ(files.Open(name, OpenMode::Read), nullptr);
  EXPECT_EQ(files.Open(directory.Path(), OpenMode::Read), nullptr) << "a directory is no file";
  EXPECT_EQ(files.Open("", OpenMode::Write), nullptr);
  EXPECT_EQ(files.Open(directory.File("none/a"), OpenMode::Write), nullptr);
  EXPECT_EQ(files.Open(std::string_view("a\0b", 3), OpenMode::Write), nullptr);
  files.Open(name, OpenMode::Write)->Write(AsBytes("hello"));
  EXPECT_EQ(Contents(name), "hello");
  files.Open(name, OpenMode::ReadWrite)->Write(AsBytes("J"));
  EXPECT_EQ(Contents(name), "Jello");
  EXPECT_EQ(Read(*files.Open(name, OpenMode::Read), 99), "Jello");
  const auto reader = files.Open(name, OpenMode::Read);
  EXPECT_EQ(reader->Write(AsBytes("no")), 2U);
  EXPECT_FALSE(reader->Flush());
  files.Open(name, OpenMode::Write);
  EXPECT_EQ(Contents(name), "");
}

TEST(PosixFiles, PositionsAndSizes) {
  TempDirectory directory;
  PosixFiles files;
  const auto file = files.Open(directory.File("a"), OpenMode::ReadWrite);
  EXPECT_EQ(file->Write(AsBytes("0123456789")), 10U);
  EXPECT_EQ(file->Position(), 10);
  EXPECT_EQ(file->Size(), 10) << "what waits in the buffer counts";
  EXPECT_FALSE(file->Seek(-1));
  EXPECT_TRUE(file->Seek(3));
  EXPECT_EQ(Read(*file, 2), "34");
  EXPECT_EQ(file->Write(AsBytes("ab")), 2U);
  EXPECT_EQ(Read(*file, 99), "789");
  EXPECT_EQ(Read(*file, 99), "");
  EXPECT_TRUE(file->Seek(5'000'000'000));
  EXPECT_EQ(Read(*file, 1), "");
  EXPECT_EQ(file->Write(AsBytes("z")), 1U);
  EXPECT_EQ(file->Size(), 5'000'000'001);
  EXPECT_TRUE(file->Seek(0));
  EXPECT_EQ(Read(*file, 10), "01234ab789");
}

/// Every mix of buffered and unbuffered calls has to give what one plain array gives.
TEST(PosixFiles, BufferedAndUnbufferedCallsMix) {
  TempDirectory directory;
  PosixFiles files;
  const std::string name = directory.File("mixed");
  std::minstd_rand random(7);
  const auto pick = [&random](std::size_t limit) { return random() % limit; };
  Bytes model;
  std::size_t position = 0;
  {
    const auto file = files.Open(name, OpenMode::ReadWrite);
    for (int step = 0; step < 4000; ++step) {
      const std::size_t size = pick(10) == 0 ? pick(70000) : pick(300);
      const bool buffered = pick(2) == 0;
      switch (pick(4)) {
        case 0:
          position = pick(200000);
          ASSERT_TRUE(file->Seek(static_cast<std::int64_t>(position)));
          break;
        case 1: {
          Bytes bytes(size);
          for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
          ASSERT_EQ(buffered ? file->Write(bytes) : file->WriteUnbuffered(bytes), size);
          if (size > 0) model.resize(std::max(model.size(), position + size));
          std::ranges::copy(bytes, model.begin() + static_cast<std::ptrdiff_t>(position));
          position += size;
          break;
        }
        default: {
          Bytes bytes(size);
          const auto count = buffered ? file->Read(bytes) : file->ReadUnbuffered(bytes);
          const std::size_t there = position < model.size() ? model.size() - position : 0;
          ASSERT_EQ(count, std::min(size, there)) << step;
          bytes.resize(*count);
          ASSERT_TRUE(std::equal(
              bytes.begin(), bytes.end(),
              model.begin() + static_cast<std::ptrdiff_t>(std::min(position, model.size()))))
              << step;
          position += *count;
        }
      }
      ASSERT_EQ(file->Position(), static_cast<std::int64_t>(position));
      ASSERT_EQ(file->Size(), static_cast<std::int64_t>(model.size()));
    }
  }
  EXPECT_TRUE(Contents(name) == std::string(model.begin(), model.end()));
}

TEST(PosixFiles, PipesAreReadInOrder) {
  TempDirectory directory;
  PosixFiles files;
  const std::string name = directory.File("pipe");
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  const auto writer = PlatformTask::Create(
      "writer", 0, [&name](const std::stop_token&) { std::ofstream(name) << "one two"; });
  const auto file = files.Open(name, OpenMode::Read);
  EXPECT_EQ(file->Size(), -1);
  EXPECT_EQ(Read(*file, 4), "one ");
  Bytes rest(9);
  EXPECT_EQ(file->ReadUnbuffered(rest), 3U) << "what was read ahead is not lost";
  EXPECT_FALSE(file->Seek(0));
}

TEST(PosixFiles, AFullDeviceIsSeen) {
  PosixFiles files;
  const auto file = files.Open("/dev/full", OpenMode::Write);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->WriteUnbuffered(AsBytes("x")), 0U);
  file->Write(AsBytes("x"));
  EXPECT_FALSE(file->Flush());
}

TEST(PosixFiles, ExaminesFilesAndDirectories) {
  TempDirectory directory;
  PosixFiles files;
  Make(directory.File("one"), "12345");
  ASSERT_TRUE(files.CreateDir(directory.File("sub")));
  EXPECT_FALSE(files.CreateDir(directory.File("sub")));
  EXPECT_FALSE(files.Examine(directory.File("none")).has_value());
  const auto one = files.Examine(directory.File("one"));
  ASSERT_TRUE(one.has_value());
  EXPECT_EQ(one->name, "one");
  EXPECT_EQ(one->size, 5);
  EXPECT_FALSE(one->isDirectory);
  const auto sub = files.Examine(directory.File("sub/"));
  EXPECT_EQ(sub->name, "sub");
  EXPECT_TRUE(sub->isDirectory);
  auto entries = files.ExamineDir(directory.Path());
  ASSERT_TRUE(entries.has_value());
  std::ranges::sort(*entries, {}, &FileInfo::name);
  ASSERT_EQ(entries->size(), 2U);
  EXPECT_EQ((*entries)[0].name, "one");
  EXPECT_TRUE((*entries)[1].isDirectory);
  EXPECT_FALSE(files.ExamineDir(directory.File("one")).has_value());
  EXPECT_GT(files.ExamineVolume(directory.Path())->freeBytes, 0);
  EXPECT_FALSE(files.ExamineVolume(directory.File("none")).has_value());
}

TEST(PosixFiles, RenamingReplacesNothing) {
  TempDirectory directory;
  PosixFiles files;
  Make(directory.File("a"), "A");
  Make(directory.File("b"), "B");
  EXPECT_FALSE(files.Rename(directory.File("a"), directory.File("b")));
  EXPECT_EQ(Contents(directory.File("b")), "B");
  EXPECT_TRUE(files.Rename(directory.File("a"), directory.File("c")));
  EXPECT_EQ(Contents(directory.File("c")), "A");
  EXPECT_TRUE(files.Delete(directory.File("c")));
  EXPECT_FALSE(files.Delete(directory.File("c")));
  ASSERT_TRUE(files.CreateDir(directory.File("d")));
  Make(directory.File("d/x"));
  EXPECT_FALSE(files.Delete(directory.File("d"))) << "a directory with entries stays";
}

TEST(PosixFiles, AttributesComeBackAsTheyWereSet) {
  TempDirectory directory;
  PosixFiles files;
  const std::string name = directory.File("a");
  Make(name);
  constexpr Protection ownerReads = 1 | 2 | 8 | 1 << 4;
  ASSERT_TRUE(files.SetProtection(name, ownerReads));
  EXPECT_EQ(files.Examine(name)->protection, ownerReads);
  struct stat info {};
  ASSERT_EQ(stat(name.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640U);
  const LocalTime date{.year = 2011, .month = 2, .day = 28, .hour = 13, .minute = 5, .second = 59};
  ASSERT_TRUE(files.SetFileDate(name, date));
  const LocalTime read = files.Examine(name)->date;
  EXPECT_EQ(FormatDate(DateForm::DateAndTime, read), "02-28-11 13:05:59");
  EXPECT_EQ(FormatDate(DateForm::DayName, read), "Monday");
  EXPECT_TRUE(files.SetComment(name, ""));
  // Some file systems have no comments; those that have keep them.
  if (files.SetComment(name, "a comment")) {
    EXPECT_EQ(files.Examine(name)->comment, "a comment");
    EXPECT_TRUE(files.SetComment(name, ""));
  }
  EXPECT_EQ(files.Examine(name)->comment, "");
  EXPECT_FALSE(files.SetProtection(directory.File("none"), 15));
  EXPECT_FALSE(files.SetFileDate(directory.File("none"), date));
}

TEST(PosixFiles, TemporaryFilesAreFresh) {
  PosixFiles files;
  const std::string one = files.MakeTempFile(".iff");
  const std::string two = files.MakeTempFile(".iff");
  EXPECT_NE(one, two);
  EXPECT_TRUE(one.ends_with(".iff"));
  EXPECT_TRUE(one.starts_with(files.TempDir() + "/"));
  EXPECT_TRUE(files.Delete(one));
  EXPECT_TRUE(files.Delete(two));
  EXPECT_EQ(files.MakeTempFile("/../x"), "");
}

TEST(PosixFiles, ProgramsRunWithTheirArguments) {
  TempDirectory directory;
  PosixFiles files;
  EXPECT_EQ(files.Execute("true", "", true), 0);
  EXPECT_EQ(files.Execute("sh", "-c 'exit 7'", true), 7);
  EXPECT_EQ(files.Execute("/bin/cp", "/dev/null \"" + directory.File("a b") + "\"", true), 0);
  EXPECT_TRUE(std::filesystem::exists(directory.File("a b")));
  EXPECT_FALSE(files.Execute("no-such-program", "", true).has_value());
  EXPECT_FALSE(files.Execute(directory.File("a b"), "", true).has_value()) << "not executable";
  EXPECT_FALSE(files.Execute(directory.Path(), "", true).has_value());
  EXPECT_EQ(files.Execute("sleep", "0.01", false), 0);
}

TEST(Volumes, MapToDirectories) {
  TempDirectory directory;
  std::filesystem::create_directories(directory.File("prog/Fonts/deep"));
  Make(directory.File("prog/Fonts/deep/x.ttf"));
  Volumes volumes("/tmp", directory.File("prog"));
  EXPECT_EQ(volumes.Map("plain/name"), "plain/name");
  EXPECT_EQ(volumes.Map("/abs/a:b"), "/abs/a:b") << "no volume behind a slash";
  EXPECT_EQ(volumes.Map("t:x"), "/tmp/x");
  EXPECT_EQ(volumes.Map("T:"), "/tmp");
  EXPECT_EQ(volumes.Map("ProgDir:a/b"), directory.File("prog/a/b"));
  EXPECT_EQ(volumes.Map("FONTS:x.ttf"), directory.File("prog/Fonts/deep/x.ttf"));
  EXPECT_EQ(volumes.Map("WORK:x"), std::nullopt);
  EXPECT_EQ(volumes.Map(":x"), std::nullopt);
}

TEST(Paths, AreJoinedAndSplit) {
  EXPECT_EQ(AddPart("", "a"), "a");
  EXPECT_EQ(AddPart("a", "b"), "a/b");
  EXPECT_EQ(AddPart("a/", "b"), "a/b");
  EXPECT_EQ(AddPart("T:", "b"), "T:b");
  EXPECT_EQ(AddPart("a", "/b"), "/b");
  EXPECT_EQ(AddPart("a", "T:b"), "T:b");
  EXPECT_EQ(AddPart("a", "b/c:d"), "a/b/c:d");
  EXPECT_EQ(AddPart("a", ""), "a");
  EXPECT_EQ(PathPart("a/b"), "a");
  EXPECT_EQ(PathPart("a"), "");
  EXPECT_EQ(PathPart("/a"), "/");
  EXPECT_EQ(PathPart("T:a"), "T:");
  EXPECT_EQ(PathPart("a\\b/c"), "a\\b");
}

}  // namespace
}  // namespace quillmere
