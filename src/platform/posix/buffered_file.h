// An open file of the system.
#pragma once

#include <vector>

#include "platform/files.h"

namespace quillmere {

/// Keeps its own position, so that buffered and unbuffered calls may be mixed. Files that cannot
/// seek (pipes, terminals) are read and written in order.
class BufferedFile final : public PlatformFile {
 public:
  /// Takes the descriptor over.
  explicit BufferedFile(int descriptor);
  ~BufferedFile() override;
  BufferedFile(const BufferedFile&) = delete;
  BufferedFile& operator=(const BufferedFile&) = delete;

  std::optional<std::size_t> Read(std::span<std::uint8_t> bytes) override;
  std::size_t Write(std::span<const std::uint8_t> bytes) override;
  std::optional<std::size_t> ReadUnbuffered(std::span<std::uint8_t> bytes) override;
  std::size_t WriteUnbuffered(std::span<const std::uint8_t> bytes) override;
  bool Seek(std::int64_t position) override;
  std::int64_t Position() override { return position_; }
  std::int64_t Size() override;
  bool Flush() override;

 private:
  std::optional<std::size_t> ReadAt(std::int64_t position, std::span<std::uint8_t> bytes);
  std::size_t WriteAt(std::int64_t position, std::span<const std::uint8_t> bytes);
  /// Whether the position lies in the bytes that were read ahead.
  [[nodiscard]] bool HasReadAhead() const;

  int descriptor_;
  bool canSeek_;
  std::int64_t position_ = 0;
  /// Bytes of the file from `bufferStart_` on: read ahead, or with `isDirty_` not yet written.
  std::vector<std::uint8_t> buffer_;
  std::int64_t bufferStart_ = 0;
  bool isDirty_ = false;
};

}  // namespace quillmere
