// Makes the bytes of applets for tests.
#pragma once

#include <bit>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "files/applet_format.h"
#include "files/virtual_file.h"

namespace quillmere {

/// Bytes put together in the order in which an applet holds them.
class AppletBytes {
 public:
  AppletBytes() { U32(appletMagic); }

  AppletBytes& U8(unsigned value) {
    bytes_.push_back(static_cast<char>(value));
    return *this;
  }
  AppletBytes& I16(int value) {
    return U8(static_cast<unsigned>(value) >> 8 & 0xFF).U8(static_cast<unsigned>(value) & 0xFF);
  }
  AppletBytes& U32(std::uint32_t value) {
    return I16(static_cast<int>(value >> 16)).I16(static_cast<int>(value & 0xFFFF));
  }
  AppletBytes& F64(double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    return U32(static_cast<std::uint32_t>(bits >> 32)).U32(static_cast<std::uint32_t>(bits));
  }
  AppletBytes& Text(std::string_view text) {
    bytes_ += text;
    return U8(0);
  }
  AppletBytes& Raw(std::string_view bytes) {
    bytes_ += bytes;
    return *this;
  }
  AppletBytes& Tag(AppletTag tag) { return U8(static_cast<unsigned>(tag)); }
  AppletBytes& Version(int major, int minor) {
    return Tag(AppletTag::Version)
        .U8(static_cast<unsigned>(major))
        .U8(static_cast<unsigned>(minor));
  }
  /// The fields that all object records begin with, without name and data.
  AppletBytes& Object(ObjectKind kind, std::uint32_t id) {
    U8(static_cast<unsigned>(kind)).U32(id).U32(0).U32(0).U32(0).U32(0);
    return U32(0xFFFFFFFF).U32(1).U32(7);
  }
  AppletBytes& Bytecode(std::string_view code) {
    return Tag(AppletTag::Bytecode).U32(static_cast<std::uint32_t>(code.size())).Raw(code);
  }

  [[nodiscard]] std::uint32_t Size() const { return static_cast<std::uint32_t>(bytes_.size()); }
  [[nodiscard]] const std::string& Bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

/// A file over the bytes.
inline std::unique_ptr<qmFile> FileOf(std::string_view bytes) {
  return qmFile::OverMemory(
      std::make_shared<const std::vector<std::uint8_t>>(bytes.begin(), bytes.end()));
}

}  // namespace quillmere
