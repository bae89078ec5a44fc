// The one way in which the program reads and writes files. A name is a path, or it begins with
// three colons and stands for something else:
//
//   :::chunkBASE:SIZE*NAME/CONTAINER   a part of a larger file, so that linked data read like files
//   :::chunkS0:SIZE*NAME/ADDRESS       the same of a block of memory
//   :::memory, two 4-byte words        a block of memory for decoders of pictures and sounds
//   :::clipboard                       the clipboard, for writing
//
// NAME is what users are shown. Memory can only be named after it was made known with
// `DefineMemoryFile`: an address that a script makes up opens nothing.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/byte_order.h"
#include "base/error.h"
#include "base/host.h"
#include "base/names.h"
#include "platform/platform.h"

namespace quillmere {

enum class SeekMode { Current = 0, Start = 1, End = 2 };

/// Bytes that several readers may hold at once.
using SharedBytes = std::shared_ptr<const std::vector<std::uint8_t>>;

/// An open file. It belongs to the task that opened it; closing is the destructor, which for the
/// clipboard hands over what was written. Reading ahead is done here, so that byte-wise readers are
/// cheap.
class qmFile {
 public:
  ~qmFile();
  qmFile(const qmFile&) = delete;
  qmFile& operator=(const qmFile&) = delete;

  /// A file over bytes in memory, without a name and without a platform.
  [[nodiscard]] static std::unique_ptr<qmFile> OverMemory(SharedBytes bytes);

  /// Moves to a position and returns the old one. In a chunk the new position stays within it. A
  /// move that is not possible changes nothing.
  std::int64_t SeekFile(std::int64_t offset, SeekMode mode);
  /// Reads as much as there is, up to the size of `bytes`; the count read.
  std::size_t ReadBytes(std::span<std::uint8_t> bytes);
  /// The next byte, or -1 at the end.
  int ReadByte() {
    if (at_ < windowEnd_) return *at_++;
    return ReadByteSlow();
  }
  /// Big-endian numbers; nothing when fewer bytes are left.
  [[nodiscard]] std::optional<std::int16_t> ReadI16();
  [[nodiscard]] std::optional<std::int32_t> ReadI32();
  /// Numbers of any width in either byte order; nothing when fewer bytes are left.
  template <std::unsigned_integral T>
  [[nodiscard]] std::optional<T> ReadBig() {
    std::uint8_t bytes[sizeof(T)];
    if (!ReadExactly(bytes)) return std::nullopt;
    return LoadBig<T>(bytes);
  }
  template <std::unsigned_integral T>
  [[nodiscard]] std::optional<T> ReadLittle() {
    std::uint8_t bytes[sizeof(T)];
    if (!ReadExactly(bytes)) return std::nullopt;
    return LoadLittle<T>(bytes);
  }
  /// Fills `bytes`; false when less is left, which is then used up.
  [[nodiscard]] bool ReadExactly(std::span<std::uint8_t> bytes) {
    return ReadBytes(bytes) == bytes.size();
  }
  /// Writes; the count written, which is less than asked when the system took no more. Nothing is
  /// written to a file that was opened for reading.
  std::size_t WriteBytes(std::span<const std::uint8_t> bytes);
  bool WriteByte(std::uint8_t value) { return WriteBytes({&value, 1}) == 1; }
  /// The same straight to the system. Both forms may be mixed.
  std::size_t ReadUnbuffered(std::span<std::uint8_t> bytes);
  std::size_t WriteUnbuffered(std::span<const std::uint8_t> bytes);
  /// Hands what was written to the system; false when it took less.
  bool Flush();

  /// Whether `position` is at or behind `size`; true whenever the size is not known.
  [[nodiscard]] bool IsAtEnd() const { return Position() >= size_; }
  /// The position, counted from the file's first byte.
  [[nodiscard]] std::int64_t Position() const { return windowPosition_ + (at_ - windowBegin_); }
  /// The length; -1 for files that are open for writing and when the system cannot tell.
  [[nodiscard]] std::int64_t Size() const { return size_; }
  /// The bytes from here to the end, 0 behind it; nothing when the size is not known.
  [[nodiscard]] std::optional<std::uint64_t> Remaining() const;

 private:
  struct Private {
    explicit Private() = default;
  };
  friend std::unique_ptr<qmFile> OpenFile(Host& host, std::string_view name, OpenMode mode);

 public:
  explicit qmFile(Private) {}

 private:
  static std::unique_ptr<qmFile> OpenPlain(Host& host, std::string_view name, OpenMode mode);
  static std::unique_ptr<qmFile> OpenChunk(Host& host, std::string_view name);
  static std::unique_ptr<qmFile> OpenMemory(SharedBytes memory, std::int64_t base,
                                            std::int64_t size);
  static std::unique_ptr<qmFile> OpenClipboard(Host& host);

  int ReadByteSlow();
  /// Moves to a position and drops what was read ahead.
  void SetPosition(std::int64_t position);
  /// Puts the platform's file to where this file stands.
  bool SyncPlatform();
  /// Reads past what was read ahead.
  std::size_t ReadBehindWindow(std::span<std::uint8_t> bytes);
  void FillWindow(std::size_t count);
  /// Reads until `bytes` is full or the file ends, and moves on.
  std::size_t ReadDirect(std::span<std::uint8_t> bytes);
  [[nodiscard]] std::size_t ClipToSize(std::size_t count) const;
  std::size_t WriteClipboard(std::span<const std::uint8_t> bytes);

  std::unique_ptr<PlatformFile> handle_;
  OpenMode mode_ = OpenMode::Read;
  bool isChunk_ = false;
  std::int64_t base_ = 0;
  std::int64_t size_ = -1;

  // What can be read without asking the system: [at_, windowEnd_) are the bytes from the position
  // on. All of a memory source; for files what was read ahead.
  const std::uint8_t* windowBegin_ = nullptr;
  const std::uint8_t* at_ = nullptr;
  const std::uint8_t* windowEnd_ = nullptr;
  std::int64_t windowPosition_ = 0;
  std::vector<std::uint8_t> readAhead_;
  /// Where the platform's file stands, counted from `base_`; -1 when that is not known.
  std::int64_t platformPosition_ = 0;
  SharedBytes memory_;

  /// Set for the clipboard alone.
  Host* clipboardHost_ = nullptr;
  std::vector<std::uint8_t> clipboard_;
};

/// Opens a file by its name, virtual names included. Null on every failure; the caller reports,
/// with the name as the error argument.
[[nodiscard]] std::unique_ptr<qmFile> OpenFile(Host& host, std::string_view name, OpenMode mode);

/// Longest file that `ReadWholeFile` takes, in bytes.
inline constexpr std::size_t wholeFileLimit = std::size_t{1} << 30;

/// Reads a whole file. `Error::CannotReadFile` with the name when it cannot be opened,
/// `Error::OutOfMemory` when it is longer than `limit`.
[[nodiscard]] Result<std::vector<std::uint8_t>> ReadWholeFile(Host& host, std::string_view name,
                                                              std::size_t limit = wholeFileLimit);

// Names.

/// A path as the platform takes it: backslashes become "/" and "./" is dropped. Names of 1024 bytes
/// and more pass unchanged.
[[nodiscard]] std::string NormaliseName(std::string_view name);
inline constexpr std::size_t normalisedNameLimit = 1024;

/// The name of a part of a file: `size` bytes at `appletBase` + `offset` of `containerPath`, shown
/// to users as the last part of `fileName`.
[[nodiscard]] std::string MakeChunkName(std::string_view fileName, std::int64_t offset,
                                        std::int64_t size, std::int64_t appletBase,
                                        std::string_view containerPath);

/// Makes memory known and returns its ":::chunkS" name. The name works as long as somebody holds
/// the bytes.
[[nodiscard]] std::string DefineMemoryFile(Host& host, const SharedBytes& bytes,
                                           std::string_view fileName);
/// The same as a ":::memory" name.
[[nodiscard]] std::string DefineDecoderMemory(Host& host, const SharedBytes& bytes);

/// Whether a name begins with three colons.
[[nodiscard]] bool IsVirtualName(std::string_view name);

// Looking names up.

/// A name that was found to exist.
struct NameLock {
  std::string name;
  bool isChunk = false;
};

/// Looks a name up; nothing when there is no such file or directory. A chunk name is always found.
[[nodiscard]] std::optional<NameLock> LockName(Host& host, std::string_view name);
/// What is known of a name. A chunk is a file of the size that its name tells, with the date 16
/// September 1982.
[[nodiscard]] std::optional<FileInfo> ExamineName(Host& host, const NameLock& lock);
/// The absolute path. A chunk seems to lie in the current directory; one without a display name is
/// "unknown".
[[nodiscard]] std::string FullPathOfName(Host& host, const NameLock& lock);

// For decoders that know nothing of virtual names.

/// A picture or sound for an outside decoder: the bytes, or the path of a real file.
struct DecoderSource {
  SharedBytes bytes;  ///< null when `path` is to be used
  std::string path;
};

/// Prepares a name for an outside decoder: virtual names are read into memory, others are left as
/// absolute paths. `Error::CannotReadFile` with the name when there is no such file.
[[nodiscard]] Result<DecoderSource> PrepareDecoderSource(Host& host, std::string_view name);

// Temporary files.

/// Makes an empty temporary file and returns its path; empty when that fails. It is deleted when
/// the program ends.
[[nodiscard]] std::string MakeTempName(Host& host, std::string_view suffix = {});
/// The same with the extension of a file name; of a virtual name its display name counts.
[[nodiscard]] std::string GetTempFileName(Host& host, std::string_view name);
/// Deletes a temporary file before the end of the program.
void DeleteTempFile(Host& host, const std::string& path);

}  // namespace quillmere
