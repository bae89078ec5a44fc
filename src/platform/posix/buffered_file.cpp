#include "platform/posix/buffered_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace quillmere {
namespace {

constexpr std::size_t bufferSize = 32768;

}  // namespace

BufferedFile::BufferedFile(int descriptor)
    : descriptor_(descriptor), canSeek_(lseek(descriptor, 0, SEEK_CUR) >= 0) {}

BufferedFile::~BufferedFile() {
  Flush();
  close(descriptor_);
}

std::optional<std::size_t> BufferedFile::Read(std::span<std::uint8_t> bytes) {
  if (isDirty_ && !Flush()) return std::nullopt;
  std::size_t done = 0;
  while (done < bytes.size()) {
    if (!HasReadAhead()) {
      if (bytes.size() - done >= bufferSize) {
        const auto count = ReadAt(position_, bytes.subspan(done));
        if (!count) return done > 0 ? std::optional(done) : std::nullopt;
        position_ += static_cast<std::int64_t>(*count);
        return done + *count;
      }
      buffer_.resize(bufferSize);
      bufferStart_ = position_;
      const auto count = ReadAt(position_, buffer_);
      buffer_.resize(count.value_or(0));
      if (!count) return done > 0 ? std::optional(done) : std::nullopt;
      if (*count == 0) break;
    }
    const auto offset = static_cast<std::size_t>(position_ - bufferStart_);
    const std::size_t count = std::min(bytes.size() - done, buffer_.size() - offset);
    std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(offset), count, bytes.data() + done);
    done += count;
    position_ += static_cast<std::int64_t>(count);
  }
  return done;
}

std::size_t BufferedFile::Write(std::span<const std::uint8_t> bytes) {
  const bool continues =
      isDirty_ && position_ == bufferStart_ + static_cast<std::int64_t>(buffer_.size());
  if (!continues || buffer_.size() + bytes.size() > bufferSize) {
    if (!Flush()) return 0;
    bufferStart_ = position_;
  }
  if (bytes.size() >= bufferSize) return WriteUnbuffered(bytes);
  if (!isDirty_) {
    buffer_.clear();
    bufferStart_ = position_;
    isDirty_ = true;
  }
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
  position_ += static_cast<std::int64_t>(bytes.size());
  return bytes.size();
}

std::optional<std::size_t> BufferedFile::ReadUnbuffered(std::span<std::uint8_t> bytes) {
  if (!Flush()) return std::nullopt;
  if (!canSeek_ && HasReadAhead()) return Read(bytes);
  const auto count = ReadAt(position_, bytes);
  if (count) position_ += static_cast<std::int64_t>(*count);
  return count;
}

std::size_t BufferedFile::WriteUnbuffered(std::span<const std::uint8_t> bytes) {
  if (!Flush()) return 0;
  buffer_.clear();
  const std::size_t count = WriteAt(position_, bytes);
  position_ += static_cast<std::int64_t>(count);
  return count;
}

bool BufferedFile::Seek(std::int64_t position) {
  if (position == position_) return true;
  if (position < 0 || !canSeek_) return false;
  position_ = position;
  return true;
}

std::int64_t BufferedFile::Size() {
  struct stat info {};
  if (fstat(descriptor_, &info) != 0) return -1;
  std::int64_t size = info.st_size;
  if (!S_ISREG(info.st_mode)) {
    size = canSeek_ ? lseek(descriptor_, 0, SEEK_END) : -1;
    if (size < 0) return -1;
  }
  if (!isDirty_) return size;
  return std::max(size, bufferStart_ + static_cast<std::int64_t>(buffer_.size()));
}

bool BufferedFile::Flush() {
  if (!isDirty_) return true;
  isDirty_ = false;
  const bool whole = WriteAt(bufferStart_, buffer_) == buffer_.size();
  buffer_.clear();
  return whole;
}

bool BufferedFile::HasReadAhead() const {
  return !isDirty_ && position_ >= bufferStart_ &&
         position_ < bufferStart_ + static_cast<std::int64_t>(buffer_.size());
}

std::optional<std::size_t> BufferedFile::ReadAt(std::int64_t position,
                                                std::span<std::uint8_t> bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::size_t wanted = bytes.size() - done;
    const ssize_t count = canSeek_ ? pread(descriptor_, bytes.data() + done, wanted,
                                           position + static_cast<std::int64_t>(done))
                                   : read(descriptor_, bytes.data() + done, wanted);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return done > 0 ? std::optional(done) : std::nullopt;
    done += static_cast<std::size_t>(count);
    if (count == 0 || !canSeek_) break;
  }
  return done;
}

std::size_t BufferedFile::WriteAt(std::int64_t position, std::span<const std::uint8_t> bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::size_t wanted = bytes.size() - done;
    const ssize_t count = canSeek_ ? pwrite(descriptor_, bytes.data() + done, wanted,
                                            position + static_cast<std::int64_t>(done))
                                   : write(descriptor_, bytes.data() + done, wanted);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  return done;
}

}  // namespace quillmere
