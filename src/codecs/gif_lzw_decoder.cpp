#include <algorithm>
#include <array>

#include "codecs/gif_lzw.h"

namespace quillmere {
namespace {

constexpr unsigned maxBits = 12;
constexpr unsigned tableSize = 1u << maxBits;

/// Delivers the bytes of the blocks as codes.
class CodeReader {
 public:
  explicit CodeReader(std::span<const std::uint8_t>& blocks) : blocks_(blocks) {}

  /// The next code of `width` bits, -1 behind the last.
  int Next(unsigned width) {
    while (bitCount_ < width) {
      if (left_ == 0 && !EnterBlock()) return -1;
      bits_ |= static_cast<std::uint32_t>(blocks_.front()) << bitCount_;
      blocks_ = blocks_.subspan(1);
      bitCount_ += 8;
      --left_;
    }
    const auto code = static_cast<int>(bits_ & ((1u << width) - 1));
    bits_ >>= width;
    bitCount_ -= width;
    return code;
  }

  /// Passes over what is left of the picture's blocks.
  void SkipRest() {
    do {
      blocks_ = blocks_.subspan(std::min<std::size_t>(left_, blocks_.size()));
      left_ = 0;
    } while (EnterBlock());
  }

 private:
  /// Enters the next block; false at the empty one, which is not entered twice, and when a block is
  /// cut.
  bool EnterBlock() {
    if (ended_ || blocks_.empty()) return false;
    left_ = blocks_.front();
    blocks_ = blocks_.subspan(1);
    ended_ = left_ == 0 || left_ > blocks_.size();
    if (ended_) left_ = 0;
    return !ended_;
  }

  std::span<const std::uint8_t>& blocks_;
  unsigned left_ = 0;
  std::uint32_t bits_ = 0;
  unsigned bitCount_ = 0;
  bool ended_ = false;
};

/// The strings that codes stand for: each is another one and a pixel behind it.
class StringTable {
 public:
  explicit StringTable(unsigned codeSize) : clear_(1u << codeSize) {
    for (unsigned i = 0; i < clear_; ++i) {
      entries_[i] = {0, 1, static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i)};
    }
    Reset();
  }

  void Reset() { next_ = clear_ + 2; }
  [[nodiscard]] unsigned Clear() const { return clear_; }
  [[nodiscard]] unsigned End() const { return clear_ + 1; }
  [[nodiscard]] unsigned Next() const { return next_; }
  [[nodiscard]] bool IsFull() const { return next_ == tableSize; }
  [[nodiscard]] unsigned Length(unsigned code) const { return entries_[code].length; }
  [[nodiscard]] std::uint8_t First(unsigned code) const { return entries_[code].first; }

  void Add(unsigned prefix, std::uint8_t pixel) {
    entries_[next_++] = {static_cast<std::uint16_t>(prefix),
                         static_cast<std::uint16_t>(entries_[prefix].length + 1), pixel,
                         entries_[prefix].first};
  }

  /// Writes a string; what does not fit is left out at its end.
  std::size_t Write(unsigned code, std::span<std::uint8_t> out) const {
    unsigned length = entries_[code].length;
    for (; length > out.size(); --length) code = entries_[code].prefix;
    const std::size_t written = length;
    for (; length > 0; --length) {
      out[length - 1] = entries_[code].last;
      code = entries_[code].prefix;
    }
    return written;
  }

 private:
  struct Entry {
    std::uint16_t prefix;
    std::uint16_t length;
    std::uint8_t last;
    std::uint8_t first;
  };
  std::array<Entry, tableSize> entries_;
  unsigned clear_;
  unsigned next_ = 0;
};

bool Decode(CodeReader& codes, unsigned codeSize, std::span<std::uint8_t> indexes) {
  constexpr int none = -1;
  StringTable table(codeSize);
  unsigned width = codeSize + 1;
  int previous = none;
  while (!indexes.empty()) {
    const int read = codes.Next(width);
    if (read < 0) return false;
    const auto code = static_cast<unsigned>(read);
    if (code == table.Clear()) {
      table.Reset();
      width = codeSize + 1;
      previous = none;
      continue;
    }
    if (code == table.End()) return false;
    if (code > table.Next() || (code == table.Next() && (previous == none || table.IsFull()))) {
      return false;
    }
    if (previous != none && !table.IsFull()) {
      const auto before = static_cast<unsigned>(previous);
      table.Add(before, table.First(code == table.Next() ? before : code));
      if (table.Next() == 1u << width && width < maxBits) ++width;
    }
    // The first code behind a clear must be a pixel.
    if (previous == none && code > table.Clear()) return false;
    indexes = indexes.subspan(table.Write(code, indexes));
    previous = read;
  }
  return true;
}

}  // namespace

Status DecodeGifData(std::span<const std::uint8_t>& blocks, std::span<std::uint8_t> indexes) {
  if (blocks.empty() || blocks.front() < 1 || blocks.front() > 8) {
    return Fail(Error::UnknownImageFormat);
  }
  const unsigned codeSize = blocks.front();
  blocks = blocks.subspan(1);
  CodeReader codes(blocks);
  if (!Decode(codes, codeSize, indexes)) return Fail(Error::UnknownImageFormat);
  codes.SkipRest();
  return {};
}

}  // namespace quillmere
