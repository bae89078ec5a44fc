// What the files room keeps for a program.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/host.h"
#include "files/run_info.h"
#include "files/virtual_file.h"

namespace quillmere {

/// Memory that has a name. Any task may look names up.
class MemoryNames {
 public:
  /// Remembers the bytes without holding them and returns a number for them.
  std::uint32_t Add(const SharedBytes& bytes);
  /// The bytes that begin at an address; null when nobody holds them any more.
  [[nodiscard]] SharedBytes FindByAddress(std::uintptr_t address);
  [[nodiscard]] SharedBytes FindByNumber(std::uint32_t number);

 private:
  std::mutex lock_;
  std::map<std::uint32_t, std::weak_ptr<const std::vector<std::uint8_t>>> known_;
  std::uint32_t next_ = 1;
};

/// The most bytes that are gathered for the clipboard.
inline constexpr std::size_t clipboardLimit = std::size_t{256} << 20;

struct FilesState {
  static constexpr Room room = Room::files;

  /// Enters itself in the host; the platform must be there already and outlive the record.
  explicit FilesState(Host& owner);
  /// Deletes the temporary files.
  ~FilesState();
  FilesState(const FilesState&) = delete;
  FilesState& operator=(const FilesState&) = delete;

  Host& host;
  qmCLArgs clargs;
  qmAppletInfo applet;
  /// Where the applet begins in its file.
  std::int64_t appletOffset = 0;
  MemoryNames memoryNames;
  std::vector<std::string> tempFiles;
  std::size_t mostClipboardBytes = clipboardLimit;
  /// Decodes a picture that is written to the clipboard as a file; the room of the picture readers
  /// sets it. The pixels of an image come back, nothing when it cannot be read.
  std::function<std::optional<PixelImage>(std::span<const std::uint8_t>)> decodePicture;
};

}  // namespace quillmere
