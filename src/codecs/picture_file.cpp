#include "codecs/picture_file.h"

#include <string>

namespace quillmere {

Result<std::unique_ptr<qmFile>> CreatePictureFile(Host& host, std::string_view name) {
  auto file = OpenFile(host, name, OpenMode::Write);
  if (!file) return host.errors.Fail(Error::CannotWriteFile, std::string(name));
  return file;
}

Status WriteAll(qmFile& file, std::span<const std::uint8_t> bytes) {
  if (file.WriteBytes(bytes) != bytes.size()) return Fail(Error::CannotWriteAll);
  return {};
}

Status WritePictureFile(Host& host, std::string_view name, std::span<const std::uint8_t> bytes) {
  const auto file = TRY(CreatePictureFile(host, name));
  TRY(WriteAll(*file, bytes));
  if (!file->Flush()) return Fail(Error::CannotWriteAll);
  return {};
}

}  // namespace quillmere
