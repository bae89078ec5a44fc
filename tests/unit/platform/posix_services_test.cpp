#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "open_platform.h"
#include "platform/posix/desktop_requests.h"
#include "platform/posix/latin1.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/posix_locale.h"
#include "platform/posix/wait_task.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

void AddLong(std::string& bytes, std::uint32_t value) {
  for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(value >> shift & 0xFF);
}

std::string Chunk(std::string_view type, const std::string& body) {
  std::string chunk(type);
  AddLong(chunk, static_cast<std::uint32_t>(body.size()));
  chunk += body;
  if (body.size() % 2 != 0) chunk += '\0';
  return chunk;
}

std::string CatalogText(int id, const std::string& text) {
  std::string bytes;
  AddLong(bytes, static_cast<std::uint32_t>(id));
  AddLong(bytes, static_cast<std::uint32_t>(text.size() + 1));
  bytes += text + '\0';
  while (bytes.size() % 4 != 0) bytes += '\0';
  return bytes;
}

std::string CatalogFile() {
  const std::string chunks =
      Chunk("FVER", std::string("$VER: Test.catalog 4.2 (1.1.11)") + '\0') +
      Chunk("LANG", "deutsch") +
      Chunk("STRS", CatalogText(94, "Ja gut") + CatalogText(7, "") + CatalogText(-3, "minus"));
  return Chunk("FORM", "CTLG" + chunks);
}

std::unique_ptr<PlatformCatalog> ReadCatalog(const std::string& bytes, int version = 0) {
  return MemoryCatalog::Read({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()},
                             version);
}

TEST(Catalog, GivesTextsByNumber) {
  const auto catalog = ReadCatalog(CatalogFile());
  ASSERT_NE(catalog, nullptr);
  EXPECT_EQ(catalog->GetCatalogStr(94), "Ja gut");
  EXPECT_EQ(catalog->GetCatalogStr(7), "");
  EXPECT_EQ(catalog->GetCatalogStr(-3), "minus");
  EXPECT_EQ(catalog->GetCatalogStr(1), std::nullopt);
  EXPECT_NE(ReadCatalog(CatalogFile(), 4), nullptr);
  EXPECT_EQ(ReadCatalog(CatalogFile(), 5), nullptr) << "too old";
}

TEST(Catalog, DamagedFilesAreRefusedOrCut) {
  const std::string whole = CatalogFile();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    (void)ReadCatalog(whole.substr(0, size));
  }
  std::string huge = whole;
  huge.replace(huge.find("STRS") + 4, 4, "\xFF\xFF\xFF\xFF");
  EXPECT_EQ(ReadCatalog(huge), nullptr);
  std::string longText = whole;
  longText.replace(longText.find("STRS") + 12, 4, "\x7F\xFF\xFF\xFF");
  EXPECT_EQ(ReadCatalog(longText)->GetCatalogStr(94), std::nullopt);
  EXPECT_EQ(ReadCatalog("FORM\0\0\0\4ILBM"), nullptr);
}

TEST(Catalog, TranslatesTheProgramInTheUsersLanguage) {
  EXPECT_EQ(CatalogDirectoriesOf("de_AT.UTF-8"),
            (std::vector<std::string>{"de_AT", "de", "deutsch"}));
  EXPECT_EQ(CatalogDirectoriesOf("fr:de"), (std::vector<std::string>{"fr",
                                                                     "fran\xE7"
                                                                     "ais",
                                                                     "de", "deutsch"}));
  EXPECT_TRUE(CatalogDirectoriesOf("en_GB").empty());
  EXPECT_TRUE(CatalogDirectoriesOf("C.UTF-8").empty());

  TempDirectory home;
  const std::string directory = home.File(".local/share/quillmere/Catalogs/deutsch/Quillmere");
  std::filesystem::create_directories(directory);
  std::ofstream(directory + "/Quillmere.catalog", std::ios::binary) << CatalogFile();
  const std::string oldHome = getenv("HOME") != nullptr ? getenv("HOME") : "";
  setenv("HOME", home.Path().c_str(), 1);
  setenv("LANGUAGE", "de", 1);
  {
    const OpenPlatform platform;
    EXPECT_EQ(platform.host.messages.Get(94), "Ja gut");
    EXPECT_EQ(platform.host.messages.Get(95), "done");
  }
  unsetenv("LANGUAGE");
  setenv("HOME", oldHome.c_str(), 1);
  EXPECT_EQ(OpenPlatform().host.messages.Get(94), "OK");
}

TEST(DebugTargets, RexxGetsWholeLines) {
  PosixFiles files;
  PosixLocale locale(files);
  std::vector<std::string> sent;
  locale.SetRexxSender([&sent](std::string_view port, std::string_view line) {
    sent.push_back(std::string(port) + "<" + std::string(line));
    return true;
  });
  locale.WriteDebug("@rexx:PORT", "one");
  EXPECT_TRUE(sent.empty());
  locale.WriteDebug("@rexx:PORT", " line\ntwo\nthr");
  EXPECT_EQ(sent, (std::vector<std::string>{"PORT<one line", "PORT<two"}));
  testing::internal::CaptureStderr();
  locale.SetRexxSender({});
  locale.WriteDebug("@rexx:PORT", "ee\n");
  locale.WriteDebug("", "console\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "three\nconsole\n");
  testing::internal::CaptureStdout();
  locale.WriteDebug("@stdout", "out");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "out");
}

TEST(DebugTargets, AnOpenLineIsNotLostAtTheEnd) {
  std::string sent;
  {
    PosixFiles files;
    PosixLocale locale(files);
    locale.SetRexxSender([&sent](std::string_view, std::string_view line) {
      sent += line;
      return true;
    });
    locale.WriteDebug("@rexx:PORT", "the last word");
  }
  EXPECT_EQ(sent, "the last word");
}

TEST(DesktopRequests, PatternsBecomeGlobs) {
  EXPECT_TRUE(GlobsOfPattern("").empty());
  EXPECT_TRUE(GlobsOfPattern("#?").empty());
  EXPECT_EQ(GlobsOfPattern("#?(.png|.jpg)"),
            (std::vector<std::string>{"*.png", "*.PNG", "*.jpg", "*.JPG"}));
  EXPECT_EQ(GlobsOfPattern("#?.iff"), (std::vector<std::string>{"*.iff", "*.IFF"}));
}

TEST(DesktopRequests, ZenitysAnswersCountTheLastButtonAsNone) {
  const RequesterCall three{.kind = RequesterCall::Kind::Choice, .buttons = {"A", "B_c", "D"}};
  EXPECT_EQ(ReadZenityAnswer(three, 0, "").choice, 1);
  EXPECT_EQ(ReadZenityAnswer(three, 1, "B_c\n").choice, 2);
  EXPECT_EQ(ReadZenityAnswer(three, 1, "").choice, 0);
  const RequesterCall one{.kind = RequesterCall::Kind::Choice, .buttons = {"OK"}};
  EXPECT_EQ(ReadZenityAnswer(one, 0, "").choice, 0);
  const RequesterCall text{.kind = RequesterCall::Kind::String};
  EXPECT_EQ(ReadZenityAnswer(text, 0, "gr\xC3\xBC\xC3\x9F\n").text, "gr\xFC\xDF");
  EXPECT_TRUE(ReadZenityAnswer(text, 1, "").cancelled);
  const RequesterCall file{.kind = RequesterCall::Kind::File, .multiSelect = true};
  EXPECT_EQ(ReadZenityAnswer(file, 0, "/a\n/b c\n").paths,
            (std::vector<std::string>{"/a", "/b c"}));
  EXPECT_TRUE(ReadZenityAnswer(file, 0, "\n").cancelled);
}

TEST(Latin1, TravelsThroughUtf8) {
  std::string all;
  for (int c = 1; c < 256; ++c) all += static_cast<char>(c);
  EXPECT_EQ(Latin1FromUtf8(Utf8FromLatin1(all)), all);
  EXPECT_EQ(Latin1FromUtf8("\xE2\x82\xAC!"), "?!");
  EXPECT_EQ(Latin1FromUtf8("\xFC\xC3"), "\xFC\xC3") << "bytes that are not UTF-8";
  EXPECT_EQ(Latin1FromUtf8("\xC0\x80\xED"), "\xC0\x80\xED");
}

TEST(WaitTask, EndsWithASleepUnderWay) {
  int pulses = 0;
  {
    auto task = WaitTask::Create([&pulses] { ++pulses; });
    ASSERT_TRUE(task.has_value());
    (*task)->Start(1h);
  }
  EXPECT_EQ(pulses, 0);
}

}  // namespace
}  // namespace quillmere
