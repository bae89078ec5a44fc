// Building the big-endian bytes of an applet.
#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/byte_order.h"

namespace quillmere::qmc {

class ByteWriter {
 public:
  void U8(std::uint8_t value) { bytes_ += static_cast<char>(value); }
  void U32(std::uint32_t value) { Big(value); }
  /// A number of 16 bits with a sign.
  void I16(std::int32_t value) { Big(static_cast<std::uint16_t>(value)); }
  void F64(double value) { Big(std::bit_cast<std::uint64_t>(value)); }
  void Flag(bool value) { U8(value ? 1 : 0); }
  void Bytes(std::string_view bytes) { bytes_ += bytes; }
  /// A text with a zero byte behind it.
  void Text(std::string_view text) {
    bytes_ += text;
    bytes_ += '\0';
  }
  [[nodiscard]] std::size_t Size() const { return bytes_.size(); }
  [[nodiscard]] const std::string& View() const { return bytes_; }
  [[nodiscard]] std::string Take() { return std::move(bytes_); }

 private:
  template <std::unsigned_integral T>
  void Big(T value) {
    std::array<std::uint8_t, sizeof(T)> buffer{};
    StoreBig(buffer.data(), value);
    bytes_.append(reinterpret_cast<const char*>(buffer.data()), buffer.size());
  }

  std::string bytes_;
};

}  // namespace quillmere::qmc
