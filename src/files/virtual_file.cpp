#include "files/virtual_file.h"

#include <algorithm>
#include <cstring>

#include "base/checked.h"
#include "files/clipboard_stream.h"
#include "files/files_state.h"
#include "files/virtual_name.h"

namespace quillmere {
namespace {

constexpr std::size_t readAheadSize = 8192;

PlatformFiles& FilesOf(Host& host) {
  return host.Of<Platform>().files();
}

}  // namespace

qmFile::~qmFile() {
  if (clipboardHost_ != nullptr) PutOnClipboard(*clipboardHost_, clipboard_);
}

std::unique_ptr<qmFile> qmFile::OverMemory(SharedBytes bytes) {
  const auto size = static_cast<std::int64_t>(bytes->size());
  return OpenMemory(std::move(bytes), 0, size);
}

std::unique_ptr<qmFile> qmFile::OpenMemory(SharedBytes memory, std::int64_t base,
                                           std::int64_t size) {
  const auto length = static_cast<std::int64_t>(memory->size());
  base = std::min(base, length);
  auto file = std::make_unique<qmFile>(Private());
  file->isChunk_ = true;
  file->base_ = base;
  file->size_ = std::min(size, length - base);
  file->windowBegin_ = file->at_ = memory->data() + base;
  file->windowEnd_ = file->windowBegin_ + file->size_;
  file->memory_ = std::move(memory);
  return file;
}

std::unique_ptr<qmFile> qmFile::OpenPlain(Host& host, std::string_view name, OpenMode mode) {
  auto handle = FilesOf(host).Open(NormaliseName(name), mode);
  if (!handle) return nullptr;
  auto file = std::make_unique<qmFile>(Private());
  file->mode_ = mode;
  if (mode == OpenMode::Read) file->size_ = handle->Size();
  file->handle_ = std::move(handle);
  return file;
}

std::unique_ptr<qmFile> qmFile::OpenChunk(Host& host, std::string_view name) {
  auto chunk = ParseChunkName(name);
  if (!chunk) return nullptr;
  // A part of a part is a part of the whole.
  while (!chunk->inMemory && chunk->container.starts_with(chunkNamePrefix)) {
    auto outer = ParseChunkName(chunk->container);
    if (!outer) return nullptr;
    const std::int64_t skipped = std::min(chunk->base, outer->size);
    outer->size = std::min(chunk->size, outer->size - skipped);
    outer->base += skipped;
    chunk = outer;
  }
  if (chunk->inMemory) {
    const auto address = ParseAddress(chunk->container);
    if (!address) return nullptr;
    SharedBytes memory = host.Of<FilesState>().memoryNames.FindByAddress(*address);
    return memory ? OpenMemory(std::move(memory), chunk->base, chunk->size) : nullptr;
  }
  auto file = OpenPlain(host, chunk->container, OpenMode::Read);
  if (!file || file->size_ < 0) return nullptr;
  file->isChunk_ = true;
  file->base_ = std::min(chunk->base, file->size_);
  file->size_ = std::min(chunk->size, file->size_ - file->base_);
  file->platformPosition_ = -1;
  return file;
}

std::unique_ptr<qmFile> qmFile::OpenClipboard(Host& host) {
  auto file = std::make_unique<qmFile>(Private());
  file->mode_ = OpenMode::Write;
  file->clipboardHost_ = &host;
  return file;
}

std::unique_ptr<qmFile> OpenFile(Host& host, std::string_view name, OpenMode mode) {
  if (name.starts_with(chunkNamePrefix)) {
    return mode == OpenMode::Read ? qmFile::OpenChunk(host, name) : nullptr;
  }
  if (name.starts_with(clipboardName)) {
    return mode == OpenMode::Write ? qmFile::OpenClipboard(host) : nullptr;
  }
  if (const auto memoryName = ParseMemoryName(name)) {
    SharedBytes memory = host.Of<FilesState>().memoryNames.FindByNumber(memoryName->number);
    if (mode != OpenMode::Read || !memory) return nullptr;
    return qmFile::OpenMemory(std::move(memory), 0, memoryName->size);
  }
  return qmFile::OpenPlain(host, name, mode);
}

std::optional<std::uint64_t> qmFile::Remaining() const {
  if (size_ < 0) return std::nullopt;
  return static_cast<std::uint64_t>(std::max<std::int64_t>(size_ - Position(), 0));
}

void qmFile::SetPosition(std::int64_t position) {
  windowBegin_ = at_ = windowEnd_ = nullptr;
  windowPosition_ = position;
}

bool qmFile::SyncPlatform() {
  if (platformPosition_ == Position()) return true;
  if (!handle_->Seek(base_ + Position())) return false;
  platformPosition_ = Position();
  return true;
}

std::int64_t qmFile::SeekFile(std::int64_t offset, SeekMode mode) {
  const std::int64_t old = Position();
  if (clipboardHost_ != nullptr && mode == SeekMode::End) {
    clipboardHost_->debug.Write("Error: cannot use SEEK_END with clipboard!\n");
    return old;
  }
  std::int64_t origin = 0;
  if (mode == SeekMode::Current) origin = old;
  if (mode == SeekMode::End)
    origin = size_ >= 0 ? size_ : std::max<std::int64_t>(handle_->Size(), 0);
  const auto target = CheckedAdd(origin, offset);
  if (!target || *target < 0 || !CheckedAdd(base_, *target)) return old;

  std::int64_t position = *target;
  if (isChunk_) position = std::min(position, size_);
  if (clipboardHost_ != nullptr) {
    position = std::min(position, static_cast<std::int64_t>(clipboard_.size()));
  }
  const std::int64_t inWindow = position - windowPosition_;
  if (inWindow >= 0 && inWindow <= windowEnd_ - windowBegin_) {
    at_ = windowBegin_ + inWindow;
  } else {
    SetPosition(position);
  }
  return old;
}

std::size_t qmFile::ClipToSize(std::size_t count) const {
  if (!isChunk_) return count;
  return static_cast<std::size_t>(std::min<std::uint64_t>(count, *Remaining()));
}

std::size_t qmFile::ReadDirect(std::span<std::uint8_t> bytes) {
  if (!SyncPlatform()) return 0;
  std::size_t done = 0;
  while (done < bytes.size()) {
    const auto count = handle_->Read(bytes.subspan(done));
    if (!count || *count == 0) break;
    done += *count;
  }
  SetPosition(Position() + static_cast<std::int64_t>(done));
  platformPosition_ = Position();
  return done;
}

void qmFile::FillWindow(std::size_t count) {
  const std::int64_t position = Position();
  readAhead_.resize(readAheadSize);
  const std::size_t got = ReadDirect(std::span(readAhead_).first(count));
  windowPosition_ = position;
  windowBegin_ = at_ = readAhead_.data();
  windowEnd_ = windowBegin_ + got;
}

std::size_t qmFile::ReadBehindWindow(std::span<std::uint8_t> bytes) {
  if (!handle_) return 0;
  const std::size_t wanted = ClipToSize(bytes.size());
  // A file of unknown length may be a pipe, which would block for bytes that nobody asked for.
  const bool readsAhead = mode_ == OpenMode::Read && size_ >= 0 && wanted < readAheadSize;
  if (!readsAhead) return ReadDirect(bytes.first(wanted));
  FillWindow(ClipToSize(readAheadSize));
  const std::size_t count = std::min(wanted, static_cast<std::size_t>(windowEnd_ - at_));
  if (count > 0) std::memcpy(bytes.data(), at_, count);
  at_ += count;
  return count;
}

std::size_t qmFile::ReadBytes(std::span<std::uint8_t> bytes) {
  const std::size_t ready = std::min(bytes.size(), static_cast<std::size_t>(windowEnd_ - at_));
  if (ready > 0) {
    std::memcpy(bytes.data(), at_, ready);
    at_ += ready;
  }
  if (ready == bytes.size()) return ready;
  return ready + ReadBehindWindow(bytes.subspan(ready));
}

int qmFile::ReadByteSlow() {
  std::uint8_t byte = 0;
  return ReadBehindWindow({&byte, 1}) == 1 ? byte : -1;
}

std::optional<std::int16_t> qmFile::ReadI16() {
  const auto value = ReadBig<std::uint16_t>();
  if (!value) return std::nullopt;
  return static_cast<std::int16_t>(*value);
}

std::optional<std::int32_t> qmFile::ReadI32() {
  const auto value = ReadBig<std::uint32_t>();
  if (!value) return std::nullopt;
  return static_cast<std::int32_t>(*value);
}

std::size_t qmFile::ReadUnbuffered(std::span<std::uint8_t> bytes) {
  if (!handle_) return ReadBytes(bytes);
  SetPosition(Position());
  if (!SyncPlatform()) return 0;
  const std::size_t count =
      handle_->ReadUnbuffered(bytes.first(ClipToSize(bytes.size()))).value_or(0);
  SetPosition(Position() + static_cast<std::int64_t>(count));
  platformPosition_ = Position();
  return count;
}

std::size_t qmFile::WriteClipboard(std::span<const std::uint8_t> bytes) {
  const auto position = static_cast<std::size_t>(Position());
  const auto end = CheckedAdd(position, bytes.size());
  if (!end || *end > clipboardHost_->Of<FilesState>().mostClipboardBytes) return 0;
  if (*end > clipboard_.size()) clipboard_.resize(*end);
  std::ranges::copy(bytes, clipboard_.begin() + static_cast<std::ptrdiff_t>(position));
  SetPosition(static_cast<std::int64_t>(*end));
  return bytes.size();
}

std::size_t qmFile::WriteBytes(std::span<const std::uint8_t> bytes) {
  if (mode_ == OpenMode::Read) return 0;
  if (clipboardHost_ != nullptr) return WriteClipboard(bytes);
  if (!SyncPlatform()) return 0;
  const std::size_t count = handle_->Write(bytes);
  SetPosition(Position() + static_cast<std::int64_t>(count));
  platformPosition_ = Position();
  return count;
}

std::size_t qmFile::WriteUnbuffered(std::span<const std::uint8_t> bytes) {
  if (mode_ == OpenMode::Read || clipboardHost_ != nullptr) return WriteBytes(bytes);
  if (!SyncPlatform()) return 0;
  const std::size_t count = handle_->WriteUnbuffered(bytes);
  SetPosition(Position() + static_cast<std::int64_t>(count));
  platformPosition_ = Position();
  return count;
}

bool qmFile::Flush() {
  return !handle_ || handle_->Flush();
}

Result<std::vector<std::uint8_t>> ReadWholeFile(Host& host, std::string_view name,
                                                std::size_t limit) {
  const auto file = OpenFile(host, name, OpenMode::Read);
  if (!file) return host.errors.Fail(Error::CannotReadFile, std::string(name));
  const auto known = file->Remaining();
  if (known && *known > limit) return Fail(Error::OutOfMemory);

  std::vector<std::uint8_t> bytes;
  // Files whose length is not known, or that grow, are read piece by piece.
  std::size_t piece = known ? static_cast<std::size_t>(*known) : std::min(readAheadSize, limit);
  for (;;) {
    const std::size_t old = bytes.size();
    bytes.resize(old + piece);
    const std::size_t count = file->ReadBytes(std::span(bytes).subspan(old));
    bytes.resize(old + count);
    if (count < piece || known) return bytes;
    if (bytes.size() < limit) {
      piece = std::min(bytes.size(), limit - bytes.size());
    } else if (file->ReadByte() < 0) {
      return bytes;
    } else {
      return Fail(Error::OutOfMemory);
    }
  }
}

Result<DecoderSource> PrepareDecoderSource(Host& host, std::string_view name) {
  if (IsVirtualName(name)) {
    auto bytes = TRY(ReadWholeFile(host, name));
    return DecoderSource{std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes)), {}};
  }
  auto path = FilesOf(host).FullPath(NormaliseName(name));
  if (!path) return host.errors.Fail(Error::CannotReadFile, std::string(name));
  return DecoderSource{nullptr, std::move(*path)};
}

}  // namespace quillmere
