#include "files/clipboard_stream.h"

#include <optional>
#include <string_view>

#include "base/byte_order.h"
#include "files/files_state.h"
#include "platform/platform.h"

namespace quillmere {
namespace {

constexpr std::size_t chunkHeaderSize = 8;
/// "FORM", its size, and its type.
constexpr std::size_t formHeaderSize = 12;

std::string_view TextAt(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t size) {
  return {reinterpret_cast<const char*>(bytes.data()) + at, size};
}

/// The first CHRS chunk of a text form.
std::optional<std::string_view> FindText(std::span<const std::uint8_t> form) {
  std::size_t at = formHeaderSize;
  while (form.size() - at >= chunkHeaderSize) {
    const std::size_t size = LoadBig<std::uint32_t>(form.data() + at + 4);
    const std::size_t left = form.size() - at - chunkHeaderSize;
    if (size > left) return std::nullopt;
    if (TextAt(form, at, 4) == "CHRS") return TextAt(form, at + chunkHeaderSize, size);
    at += chunkHeaderSize + std::min(size + (size & 1), left);
  }
  return std::nullopt;
}

bool PutForm(Host& host, std::span<const std::uint8_t> form) {
  if (form.size() < formHeaderSize || TextAt(form, 0, 4) != "FORM") return false;
  PlatformClipboard& clipboard = host.Of<Platform>().clipboard();
  if (TextAt(form, 8, 4) == "FTXT") {
    const auto text = FindText(form);
    return text && clipboard.WriteText(*text).has_value();
  }
  const auto& decode = host.Of<FilesState>().decodePicture;
  if (TextAt(form, 8, 4) != "ILBM" || !decode) return false;
  const auto image = decode(form);
  if (!image) return false;
  return clipboard.WriteImage({image->pixels.data(), image->width, image->height, image->width})
      .has_value();
}

}  // namespace

void PutOnClipboard(Host& host, std::span<const std::uint8_t> form) {
  if (form.empty() || PutForm(host, form)) return;
  const int code = static_cast<int>(Error::UnknownClipboardData);
  host.debug.Write(host.messages.Get(MessageOfError(code)) + "\n");
}

}  // namespace quillmere
