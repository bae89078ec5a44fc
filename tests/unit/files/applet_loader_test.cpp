#include "files/applet_loader.h"

#include "files/compressed_file.h"
#include "unit/files/applet_bytes.h"
#include "unit/files/platform_fixture.h"

namespace quillmere {
namespace {

class AppletLoader : public FilesTest {
 protected:
  Error Load(const std::string& path, std::int64_t offset = 0,
             std::int64_t unpackedLimit = unpackedAppletLimit) {
    files->clargs.scriptPath = path;
    files->appletOffset = offset;
    const Status status = ReadApplet(host, unpackedLimit);
    return status ? Error::None : status.error();
  }

  static std::string SmallApplet() {
    AppletBytes bytes;
    bytes.Version(4, 8).Tag(AppletTag::LinkedFiles).U32(1).U32(0).Text("f").U32(4).Raw("data");
    return bytes.Bytecode("code").Bytes();
  }

  std::string Compressed(const std::string& bytes) {
    const std::string source = directory.Put("plain", bytes);
    EXPECT_TRUE(Compress(host, compressedAppletMagic, source, directory.Path("packed")));
    return directory.Get("packed");
  }

  std::string LinkedData() {
    const LinkedFile& linked = files->applet.linkedFiles.at(0);
    const std::string name = MakeChunkName(linked.name, linked.offset, linked.size,
                                           files->appletOffset, linked.container);
    const auto file = OpenFile(host, name, OpenMode::Read);
    return file ? Rest(*file) : "not there";
  }
};

TEST_F(AppletLoader, MakesThePathAbsoluteAndGoesThere) {
  directory.Put("a.qma", SmallApplet());
  std::filesystem::current_path(directory.Path(""));
  EXPECT_EQ(Load(".\\a.qma"), Error::None);
  EXPECT_TRUE(files->clargs.isApplet);
  EXPECT_EQ(files->clargs.scriptPath, std::filesystem::canonical("a.qma").string());
  EXPECT_EQ(LinkedData(), "data");
  std::filesystem::current_path("/");
  EXPECT_EQ(Load(directory.Path("a.qma")), Error::None);
  EXPECT_EQ(std::filesystem::current_path(), std::filesystem::canonical(directory.Path("")));
}

TEST_F(AppletLoader, NamesWhatIsMissingAsItWasGiven) {
  EXPECT_EQ(Load("no/such.qma"), Error::FileDoesNotExist);
  EXPECT_EQ(host.errors.argument, "no/such.qma");
  EXPECT_EQ(Load(directory.Path("")), Error::CannotReadFile) << "a directory is there";
}

TEST_F(AppletLoader, RefusesWhatIsNoApplet) {
  for (const std::string& bytes :
       {std::string(), std::string("QMA\0", 4), std::string("QMB\0\1\2\3\4", 8),
        std::string("DebugPrint(1)"), std::string("QMPK\0\0\0\0", 8)}) {
    EXPECT_EQ(Load(directory.Put("n.qma", bytes)), Error::NoApplet);
    EXPECT_EQ(host.errors.argument, "n.qma");
  }
  EXPECT_EQ(Load(directory.Put("five", std::string("QMA\0\x20", 5))), Error::UnknownSection);
}

TEST_F(AppletLoader, ReadsBehindAnOffset) {
  const std::string path = directory.Put("player", "0123456789" + SmallApplet());
  EXPECT_EQ(Load(path), Error::NoApplet);
  EXPECT_EQ(Load(path, 10), Error::None);
  EXPECT_EQ(LinkedData(), "data");
  EXPECT_EQ(Load(path, 0xFFFFFF00), Error::NoApplet);
}

TEST_F(AppletLoader, UnpacksCompressedApplets) {
  const std::string path = directory.Put("c.qma", "xyz" + Compressed(SmallApplet()));
  EXPECT_EQ(Load(path, 3), Error::None);
  EXPECT_EQ(LinkedData(), "data");
  EXPECT_EQ(files->appletOffset, 0);
  EXPECT_EQ(files->clargs.scriptPath, std::filesystem::canonical(path).string());
  EXPECT_EQ(temp.Count(), 1u);
  files.reset();
  EXPECT_EQ(temp.Count(), 0u);
}

TEST_F(AppletLoader, UnpacksUpToALimit) {
  const auto size = static_cast<std::int64_t>(SmallApplet().size());
  const std::string path = directory.Put("c.qma", Compressed(SmallApplet()));
  EXPECT_EQ(Load(path, 0, size), Error::None);
  EXPECT_EQ(Load(path, 0, size - 1), Error::CannotWriteAll);
}

TEST_F(AppletLoader, UnpacksAnAppletWithTheLongestNameOfTheSystem) {
  const std::string name = std::string(251, 'n') + ".qma";
  EXPECT_EQ(Load(directory.Put(name, Compressed(SmallApplet()))), Error::None);
  EXPECT_EQ(temp.Count(), 1u);
}

TEST_F(AppletLoader, UnpacksOnlyOnce) {
  EXPECT_EQ(Load(directory.Put("c.qma", Compressed(Compressed(SmallApplet())))), Error::NoApplet);
  EXPECT_EQ(host.errors.argument, "c.qma");
}

TEST_F(AppletLoader, LeavesNothingBehindWhereverAnAppletIsCut) {
  const std::string plain = SmallApplet();
  for (const std::string& bytes : {plain, Compressed(plain)}) {
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      files.reset();
      files.emplace(host);
      const Error error = Load(directory.Put("cut.qma", bytes.substr(0, size)));
      ASSERT_TRUE(error == Error::NoApplet || error == Error::UnexpectedEndOfFile ||
                  error == Error::ZlibData)
          << size << ": " << static_cast<int>(error);
    }
  }
  files.reset();
  EXPECT_EQ(temp.Count(), 0u);
}

}  // namespace
}  // namespace quillmere
