#include "files/linked_files.h"

#include "unit/files/platform_fixture.h"

namespace quillmere {
namespace {

class LinkedFiles : public FilesTest {
 protected:
  void SetUp() override {
    FilesTest::SetUp();
    files->appletOffset = 1000;
    files->clargs.selfPath = "/bin/player";
    files->applet.linkedFiles = {{"Pics/One.PNG", 10, 20, "/a.qma"},
                                 {"::font:Topaz", 30, 40, "/a.qma"},
                                 {"own.ttf", 50, 60, ""}};
  }
};

TEST_F(LinkedFiles, AreFoundWithoutCase) {
  EXPECT_EQ(ResolveLinkedFile(host, "pics/ONE.png"), ":::chunk1010:20*ONE.png//a.qma");
  EXPECT_EQ(ResolveLinkedFile(host, "one.png"), "one.png");
  EXPECT_EQ(ResolveLinkedFile(host, "own.ttf"), ":::chunk1050:60*own.ttf//bin/player");
  EXPECT_EQ(ResolveLinkedFile(host, "::font:topaz"), "::font:topaz");
}

TEST_F(LinkedFiles, KeepFontsApart) {
  bool found = false;
  EXPECT_EQ(ResolveLinkedFile(host, "TOPAZ.font", true, &found),
            ":::chunk1030:40*TOPAZ.font//a.qma");
  EXPECT_TRUE(found);
  EXPECT_EQ(ResolveLinkedFile(host, "topaz", true, &found), ":::chunk1030:40*topaz//a.qma");
  EXPECT_EQ(ResolveLinkedFile(host, "topaz"), "topaz");
  EXPECT_EQ(ResolveLinkedFile(host, "pics/one.png", true, &found), "pics/one.png");
  EXPECT_FALSE(found);
  EXPECT_EQ(ResolveLinkedFile(host, "OWN.TTF", true, &found),
            ":::chunk1050:60*OWN.TTF//bin/player");
  EXPECT_TRUE(found);
}

}  // namespace
}  // namespace quillmere
