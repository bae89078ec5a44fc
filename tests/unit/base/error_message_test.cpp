#include <gtest/gtest.h>

#include <set>

#include "base/messages.h"

namespace quillmere {
namespace {

std::string Compose(int code, std::string argument = {}, int index = 0) {
  return ComposeErrorMessage(Messages(), ErrorContext{std::move(argument), index}, code);
}

TEST(ErrorMessage, PutsInTheArgumentOrTheIndex) {
  EXPECT_EQ(Compose(1000), "Out of memory!");
  EXPECT_EQ(Compose(1025, "dos.library"), "Cannot open dos.library !");
  EXPECT_EQ(Compose(1174, {}, 7), "Could not find brush 7!");
  EXPECT_EQ(Compose(1138, {}, 2), "Number expected in argument 2!");
  EXPECT_EQ(Compose(1189, "width"), "Number expected in table argument \"width\"!");
}

TEST(ErrorMessage, CodesWithoutARow) {
  EXPECT_EQ(Compose(1249), "No error occurred!");
  EXPECT_EQ(Compose(1430), "No error occurred!");
  EXPECT_EQ(Compose(0), "No error occurred!");
  EXPECT_EQ(Compose(1431), "Unknown error code!");
  EXPECT_EQ(Compose(1410), "x");
}

TEST(ErrorMessage, FreeTextIsNeverAFormat) {
  EXPECT_EQ(Compose(1239, "100%s of %ld"), "100%s of %ld");
  EXPECT_EQ(Compose(1064, "%d"), "%d");
}

TEST(ErrorMessage, ShowsFilesByTheNameThatUsersKnow) {
  EXPECT_EQ(Compose(1358, "/a/b/pic.png"),
            "Image file \"pic.png\" is in an unknown/unsupported format!");
  EXPECT_EQ(Compose(1052, "/a/b/pic.png"), "Cannot write to file /a/b/pic.png !");
  EXPECT_EQ(Compose(1045, ":::chunk120:4000*boat.jpg//home/me/show.qma"),
            "Cannot read file boat.jpg !");
}

TEST(ErrorMessage, EveryCodeFindsItsOwnText) {
  std::set<int> ids;
#define X(name, code, text)                                               \
  EXPECT_EQ(DefaultMessage(MessageOfError(code)), text) << "code " #code; \
  EXPECT_TRUE(ids.insert(MessageOfError(code)).second) << "code " #code;
#define FREE(name, code) EXPECT_EQ(MessageOfError(code), -1);
#include "base/error_codes.def"
#undef FREE
#undef X
  EXPECT_EQ(DefaultMessage(372), "And Action!");
  EXPECT_EQ(DefaultMessage(512), "x");
  EXPECT_EQ(DefaultMessage(513), "x");
}

TEST(ErrorMessage, TranslationsReplaceTheTextAndFallBackOnIt) {
  Messages messages;
  messages.SetLookup([](int id, std::string_view text) {
    return id == 94 ? std::string("Gut") : std::string(text);
  });
  EXPECT_EQ(messages.Get(MessageId::Ok), "Gut");
  EXPECT_EQ(messages.Get(MessageId::Done), "done");
}

}  // namespace
}  // namespace quillmere
