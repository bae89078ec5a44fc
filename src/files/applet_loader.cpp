#include "files/applet_loader.h"

#include <string>

#include "base/progress.h"
#include "files/applet_parser.h"
#include "files/compressed_file.h"
#include "files/files_state.h"

namespace quillmere {
namespace {

/// How much of the applet's name goes into the name of its unpacked form.
constexpr std::size_t tempSuffixLimit = 64;

/// Makes the script's path absolute and goes to its directory.
Status Locate(Host& host, qmCLArgs& clargs) {
  PlatformFiles& files = host.Of<Platform>().files();
  const std::string name = NormaliseName(clargs.scriptPath);
  auto path = files.FullPath(name);
  if (!path) return host.errors.Fail(Error::FileDoesNotExist, clargs.scriptPath);
  clargs.scriptPath = std::move(*path);
  files.SetCurrentDir(PathPart(clargs.scriptPath));
  return {};
}

/// The first word behind the offset; nothing when no more than four bytes are there.
std::optional<std::uint32_t> ReadMagic(qmFile& file, std::int64_t offset) {
  file.SeekFile(offset, SeekMode::Start);
  if (file.Remaining().value_or(0) <= 4) return std::nullopt;
  return file.ReadBig<std::uint32_t>();
}

/// Unpacks a compressed applet and returns the name of the file that holds it now.
Result<std::string> Unpack(Host& host, const std::string& path, std::int64_t offset,
                           std::int64_t limit) {
  const std::string_view base = NamePart(path);
  const auto suffix = base.substr(base.size() - std::min(base.size(), tempSuffixLimit));
  std::string unpacked = MakeTempName(host, "-" + std::string(suffix));
  if (unpacked.empty()) return host.errors.Fail(Error::CannotWriteFile, std::string(base));
  TRY(Decompress(host, compressedAppletMagic, path, unpacked, offset, limit));
  return unpacked;
}

}  // namespace

Status ReadApplet(Host& host, std::int64_t unpackedLimit) {
  auto& state = host.Of<FilesState>();
  qmCLArgs& clargs = state.clargs;
  TRY(Locate(host, clargs));
  PrintProgress(host, MessageId::OpeningScript,
                clargs.scriptAlias.empty() ? clargs.scriptPath : clargs.scriptAlias, true);

  std::string path = clargs.scriptPath;
  const std::string shownName(NamePart(path));
  auto file = OpenFile(host, path, OpenMode::Read);
  if (!file) return host.errors.Fail(Error::CannotReadFile, path);
  auto magic = ReadMagic(*file, state.appletOffset);
  if (magic == compressedAppletMagic) {
    path = TRY(Unpack(host, path, state.appletOffset, unpackedLimit));
    state.appletOffset = 0;
    file = OpenFile(host, path, OpenMode::Read);
    if (!file) return host.errors.Fail(Error::CannotReadFile, path);
    magic = ReadMagic(*file, 0);
  }
  if (magic != appletMagic) return host.errors.Fail(Error::NoApplet, shownName);
  clargs.isApplet = true;
  TRY(ParseApplet(*file, state.appletOffset, path, state.applet, host.errors));
  PrintDone(host);
  return {};
}

}  // namespace quillmere
