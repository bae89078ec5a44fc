#include "files/compressed_file.h"

#include <zlib.h>

#include <array>
#include <memory>

#include "base/byte_order.h"
#include "files/virtual_file.h"

namespace quillmere {
namespace {

constexpr std::size_t pieceSize = 16384;
/// Deflate cannot shrink data further than this.
constexpr std::uint64_t largestRatio = 1032;

Error ErrorOfZlib(int code) {
  switch (code) {
    case Z_ERRNO:
      return Error::ZlibIo;
    case Z_STREAM_ERROR:
      return Error::ZlibStream;
    case Z_VERSION_ERROR:
      return Error::ZlibVersion;
    case Z_DATA_ERROR:
    case Z_NEED_DICT:
      return Error::ZlibData;
    case Z_MEM_ERROR:
      return Error::OutOfMemory;
    default:
      return Error::UnknownErrorCode;
  }
}

using End = int (*)(z_streamp);
struct StreamCloser {
  End end;
  void operator()(z_stream* stream) const { end(stream); }
};
/// Ends a stream that was begun.
using OpenStream = std::unique_ptr<z_stream, StreamCloser>;

struct Files {
  std::unique_ptr<qmFile> source;
  std::unique_ptr<qmFile> destination;
};

/// Whether two names lead to one file, which opening the second for writing would empty.
bool AreOneFile(Host& host, std::string_view first, std::string_view second) {
  const auto firstLock = LockName(host, first);
  const auto secondLock = LockName(host, second);
  return firstLock && secondLock &&
         FullPathOfName(host, *firstLock) == FullPathOfName(host, *secondLock);
}

Result<Files> OpenBoth(Host& host, std::string_view source, std::string_view destination) {
  Files files;
  files.source = OpenFile(host, source, OpenMode::Read);
  if (!files.source) return host.errors.Fail(Error::CannotReadFile, std::string(source));
  if (AreOneFile(host, source, destination)) {
    return host.errors.Fail(Error::CannotWriteFile, std::string(destination));
  }
  files.destination = OpenFile(host, destination, OpenMode::Write);
  if (!files.destination) {
    return host.errors.Fail(Error::CannotWriteFile, std::string(destination));
  }
  return files;
}

Status WriteAll(qmFile& file, std::span<const std::uint8_t> bytes) {
  if (file.WriteBytes(bytes) != bytes.size()) return Fail(Error::CannotWriteAll);
  return {};
}

using Piece = std::array<std::uint8_t, pieceSize>;

/// Runs deflate over what is in the input, and writes what comes out.
Status DeflatePiece(z_stream& stream, int flush, Piece& out, qmFile& destination) {
  do {
    stream.next_out = out.data();
    stream.avail_out = out.size();
    const int code = deflate(&stream, flush);
    if (code < 0 && code != Z_BUF_ERROR) return Fail(ErrorOfZlib(code));
    TRY(WriteAll(destination, std::span(out).first(out.size() - stream.avail_out)));
  } while (stream.avail_out == 0);
  return {};
}

Status DeflateAll(qmFile& source, qmFile& destination) {
  z_stream stream{};
  const int begun = deflateInit(&stream, Z_DEFAULT_COMPRESSION);
  if (begun != Z_OK) return Fail(ErrorOfZlib(begun));
  const OpenStream open(&stream, {deflateEnd});

  Piece in;
  Piece out;
  std::int64_t total = 0;
  for (;;) {
    const std::size_t count = source.ReadBytes(in);
    total += static_cast<std::int64_t>(count);
    stream.next_in = in.data();
    stream.avail_in = static_cast<uInt>(count);
    const bool last = count < in.size();
    if (last && source.Size() >= 0 && total < source.Size()) return Fail(Error::CannotReadAll);
    TRY(DeflatePiece(stream, last ? Z_FINISH : Z_NO_FLUSH, out, destination));
    if (last) return {};
  }
}

Result<std::int64_t> InflateAll(qmFile& source, qmFile& destination, std::int64_t limit) {
  z_stream stream{};
  const int begun = inflateInit(&stream);
  if (begun != Z_OK) return Fail(ErrorOfZlib(begun));
  const OpenStream open(&stream, {inflateEnd});

  Piece in;
  Piece out;
  std::int64_t total = 0;
  for (;;) {
    stream.next_in = in.data();
    stream.avail_in = static_cast<uInt>(source.ReadBytes(in));
    if (stream.avail_in == 0) return Fail(Error::ZlibData);
    do {
      stream.next_out = out.data();
      stream.avail_out = out.size();
      const int code = inflate(&stream, Z_NO_FLUSH);
      if (code != Z_OK && code != Z_STREAM_END && code != Z_BUF_ERROR) {
        return Fail(ErrorOfZlib(code));
      }
      const std::size_t count = out.size() - stream.avail_out;
      if (static_cast<std::int64_t>(count) > limit - total) return Fail(Error::CannotWriteAll);
      TRY(WriteAll(destination, std::span(out).first(count)));
      total += static_cast<std::int64_t>(count);
      if (code == Z_STREAM_END) return total;
    } while (stream.avail_out == 0);
  }
}

/// The size of a gzip block's header; nothing when it is cut.
std::optional<std::size_t> GzipHeaderSize(std::span<const std::uint8_t> block) {
  constexpr unsigned hasCrc = 2;
  constexpr unsigned hasExtra = 4;
  constexpr unsigned hasName = 8;
  constexpr unsigned hasComment = 16;
  std::size_t at = 10;
  if (block.size() < at) return std::nullopt;
  const unsigned flags = block[3];
  if ((flags & hasExtra) != 0) {
    if (block.size() < at + 2) return std::nullopt;
    at += 2 + std::size_t{LoadLittle<std::uint16_t>(block.data() + at)};
  }
  for (const unsigned text : {hasName, hasComment}) {
    if ((flags & text) == 0) continue;
    while (at < block.size() && block[at] != 0) ++at;
    ++at;
  }
  if ((flags & hasCrc) != 0) at += 2;
  if (at > block.size()) return std::nullopt;
  return at;
}

}  // namespace

Result<std::int64_t> Compress(Host& host, std::uint32_t magic, std::string_view source,
                              std::string_view destination) {
  const Files files = TRY(OpenBoth(host, source, destination));
  std::uint8_t header[compressedHeaderSize] = {};
  StoreBig<std::uint32_t>(header, magic);
  TRY(WriteAll(*files.destination, header));
  TRY(DeflateAll(*files.source, *files.destination));
  if (!files.destination->Flush()) return Fail(Error::CannotWriteAll);
  return files.destination->Position();
}

Result<std::int64_t> Decompress(Host& host, std::uint32_t magic, std::string_view source,
                                std::string_view destination, std::int64_t offset,
                                std::int64_t limit) {
  const Files files = TRY(OpenBoth(host, source, destination));
  files.source->SeekFile(offset, SeekMode::Start);
  if (files.source->ReadBig<std::uint32_t>() != magic) return Fail(Error::UnknownCompression);
  files.source->SeekFile(offset + compressedHeaderSize, SeekMode::Start);
  const std::int64_t size = TRY(InflateAll(*files.source, *files.destination, limit));
  if (!files.destination->Flush()) return Fail(Error::CannotWriteAll);
  return size;
}

bool IsGzip(std::span<const std::uint8_t> block) {
  return block.size() >= 3 && block[0] == 0x1F && block[1] == 0x8B && block[2] == 8;
}

Result<std::vector<std::uint8_t>> UnpackGzip(std::span<const std::uint8_t> block) {
  constexpr std::size_t trailerSize = 8;
  const auto header = IsGzip(block) ? GzipHeaderSize(block) : std::nullopt;
  if (!header || block.size() - *header < trailerSize) return Fail(Error::ZlibData);
  const auto data = block.subspan(*header, block.size() - *header - trailerSize);
  const std::uint32_t size = LoadLittle<std::uint32_t>(block.data() + block.size() - 4);
  if (size > data.size() * largestRatio) return Fail(Error::ZlibData);

  z_stream stream{};
  const int begun = inflateInit2(&stream, -15);
  if (begun != Z_OK) return Fail(ErrorOfZlib(begun));
  const OpenStream open(&stream, {inflateEnd});
  std::vector<std::uint8_t> out(size);
  stream.next_in = const_cast<Bytef*>(data.data());
  stream.avail_in = static_cast<uInt>(data.size());
  stream.next_out = out.data();
  stream.avail_out = size;
  const int code = inflate(&stream, Z_FINISH);
  if (code == Z_BUF_ERROR) return Fail(Error::ZlibData);
  if (code != Z_STREAM_END) return Fail(ErrorOfZlib(code));
  out.resize(stream.total_out);
  return out;
}

}  // namespace quillmere
