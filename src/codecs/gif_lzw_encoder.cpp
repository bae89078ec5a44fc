#include <algorithm>
#include <array>

#include "codecs/gif_lzw.h"

namespace quillmere {
namespace {

constexpr unsigned maxBits = 12;
constexpr unsigned tableEnd = 1u << maxBits;
constexpr std::size_t blockSize = 254;

/// Packs codes into blocks. A block is filled where it stands, its length is put before it when it
/// is full.
class CodeWriter {
 public:
  explicit CodeWriter(std::vector<std::uint8_t>& out) : out_(out) { BeginBlock(); }

  void Put(unsigned code, unsigned width) {
    bits_ |= static_cast<std::uint64_t>(code) << bitCount_;
    bitCount_ += width;
    while (bitCount_ >= 8) PutByte();
  }

  /// Writes what is left and the empty block.
  void Finish() {
    if (bitCount_ > 0) PutByte();
    out_[start_] = static_cast<std::uint8_t>(out_.size() - start_ - 1);
    if (out_[start_] != 0) out_.push_back(0);
  }

 private:
  void BeginBlock() {
    start_ = out_.size();
    out_.push_back(0);
  }

  void PutByte() {
    out_.push_back(static_cast<std::uint8_t>(bits_));
    bits_ >>= 8;
    bitCount_ = bitCount_ > 8 ? bitCount_ - 8 : 0;
    if (out_.size() - start_ - 1 < blockSize) return;
    out_[start_] = blockSize;
    BeginBlock();
  }

  std::vector<std::uint8_t>& out_;
  std::size_t start_ = 0;
  std::uint64_t bits_ = 0;
  unsigned bitCount_ = 0;
};

/// The dictionary: open addressing by prefix and pixel. A slot is key and code in one word; 0,
/// which no entry can be, is free.
class Dictionary {
 public:
  void Clear() { slots_.fill(0); }

  /// The code of a string, or 0 with `Insert` ready to put it there.
  unsigned Find(unsigned prefix, unsigned pixel) {
    key_ = (prefix << 8 | pixel) << maxBits;
    unsigned hash = prefix + pixel * 16;
    if (hash >= slotCount) hash -= slotCount;
    const unsigned step = hash == 0 ? 1 : slotCount - hash;
    while (slots_[hash] != 0) {
      if ((slots_[hash] & ~(tableEnd - 1)) == key_) return slots_[hash] & (tableEnd - 1);
      hash = hash >= step ? hash - step : hash + slotCount - step;
    }
    free_ = hash;
    return 0;
  }

  /// Enters the string that was looked for last.
  void Insert(unsigned code) { slots_[free_] = key_ | code; }

 private:
  static constexpr unsigned slotCount = 5003;
  std::array<std::uint32_t, slotCount> slots_{};
  std::uint32_t key_ = 0;
  unsigned free_ = 0;
};

}  // namespace

void EncodeGifData(std::span<const std::uint8_t> indexes, int bits,
                   std::vector<std::uint8_t>& out) {
  const auto initialBits = static_cast<unsigned>(std::max(bits, 2));
  const unsigned clear = 1u << initialBits;
  out.push_back(static_cast<std::uint8_t>(initialBits));
  CodeWriter codes(out);
  Dictionary dictionary;
  unsigned width = initialBits + 1;
  unsigned next = clear + 2;
  codes.Put(clear, width);

  const auto emit = [&](unsigned code) {
    codes.Put(code, width);
    if (next > (1u << width) - 1 && width < maxBits) ++width;
  };
  if (!indexes.empty()) {
    unsigned prefix = indexes[0];
    for (const std::uint8_t pixel : indexes.subspan(1)) {
      if (const unsigned code = dictionary.Find(prefix, pixel); code != 0) {
        prefix = code;
        continue;
      }
      emit(prefix);
      if (next < tableEnd) {
        dictionary.Insert(next++);
      } else {
        codes.Put(clear, width);
        dictionary.Clear();
        width = initialBits + 1;
        next = clear + 2;
      }
      prefix = pixel;
    }
    emit(prefix);
  }
  codes.Put(clear + 1, width);
  codes.Finish();
}

}  // namespace quillmere
