#include "lib/icon_file.h"

#include <algorithm>

#include "base/byte_order.h"

namespace quillmere {
namespace {

constexpr std::uint16_t iconMagic = 0xE310;

// Places in the record.
constexpr std::size_t firstImageAt = 22;
constexpr std::size_t secondImageAt = 26;
constexpr std::size_t typeAt = 48;
constexpr std::size_t defaultToolAt = 50;
constexpr std::size_t toolTypesAt = 54;
constexpr std::size_t drawerAt = 66;

constexpr std::size_t drawerSize = 56;
constexpr std::size_t imageHeaderSize = 20;
// Places in the header of a picture.
constexpr std::size_t widthAt = 4;
constexpr std::size_t heightAt = 6;
constexpr std::size_t depthAt = 8;
constexpr std::size_t imageDataAt = 10;

/// Reads the pieces of an icon one behind the other.
class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> bytes) : left_(bytes) {}

  std::optional<std::span<const std::uint8_t>> Take(std::size_t count) {
    if (count > left_.size()) return std::nullopt;
    const std::span<const std::uint8_t> taken = left_.first(count);
    left_ = left_.subspan(count);
    return taken;
  }

  std::optional<std::uint32_t> TakeLong() {
    const auto bytes = Take(4);
    if (!bytes) return std::nullopt;
    return LoadBig<std::uint32_t>(bytes->data());
  }

  std::optional<std::string> TakeText() {
    const auto length = TakeLong();
    if (!length) return std::nullopt;
    const auto bytes = Take(*length);
    if (!bytes) return std::nullopt;
    const auto end = std::ranges::find(*bytes, 0);
    return std::string(bytes->begin(), end);
  }

  std::optional<std::vector<std::string>> TakeTexts() {
    const auto size = TakeLong();
    if (!size || *size < 4 || *size / 4 - 1 > left_.size() / 4) return std::nullopt;
    std::vector<std::string> texts;
    for (std::uint32_t i = 1; i < *size / 4; ++i) {
      auto text = TakeText();
      if (!text) return std::nullopt;
      texts.push_back(std::move(*text));
    }
    return texts;
  }

  /// Takes a picture: a header and, unless it says that there are none, its planes.
  std::optional<IconPlanes> TakeImage() {
    const auto header = Take(imageHeaderSize);
    if (!header) return std::nullopt;
    if (LoadBig<std::uint32_t>(header->data() + imageDataAt) == 0) return IconPlanes{};
    IconPlanes image{.width = LoadBig<std::uint16_t>(header->data() + widthAt),
                     .height = LoadBig<std::uint16_t>(header->data() + heightAt),
                     .depth = LoadBig<std::uint16_t>(header->data() + depthAt),
                     .data = {}};
    const auto data = Take((image.width + 15) / 16 * 2 * image.height * image.depth);
    if (!data) return std::nullopt;
    image.data = *data;
    return image;
  }

  [[nodiscard]] std::span<const std::uint8_t> Left() const { return left_; }

 private:
  std::span<const std::uint8_t> left_;
};

bool IsSet(const IconFile& icon, std::size_t pointerAt) {
  return LoadBig<std::uint32_t>(icon.record.data() + pointerAt) != 0;
}

void AppendLong(std::vector<std::uint8_t>& out, std::size_t value) {
  std::uint8_t bytes[4];
  StoreBig(bytes, static_cast<std::uint32_t>(value));
  out.insert(out.end(), std::begin(bytes), std::end(bytes));
}

void AppendText(std::vector<std::uint8_t>& out, std::string_view text) {
  AppendLong(out, text.size() + 1);
  out.insert(out.end(), text.begin(), text.end());
  out.push_back(0);
}

std::string_view SkipBlanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  return text;
}

std::string_view ReadValue(std::string_view text) {
  text = SkipBlanks(text);
  if (text.starts_with('"')) return text.substr(1, text.find('"', 1) - 1);
  text = text.substr(0, text.find(')'));
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace

int IconFile::Type() const {
  return record[typeAt];
}

void IconFile::SetType(int type) {
  record[typeAt] = static_cast<std::uint8_t>(type);
}

std::optional<IconFile> ParseIcon(std::span<const std::uint8_t> bytes) {
  Reader reader(bytes);
  const auto record = reader.Take(IconFile::recordSize);
  if (!record || LoadBig<std::uint16_t>(record->data()) != iconMagic) return std::nullopt;
  IconFile icon;
  std::ranges::copy(*record, icon.record.begin());

  const std::span<const std::uint8_t> behindRecord = reader.Left();
  if (IsSet(icon, drawerAt) && !reader.Take(drawerSize)) return std::nullopt;
  if (IsSet(icon, firstImageAt) && !reader.TakeImage()) return std::nullopt;
  if (IsSet(icon, secondImageAt) && !reader.TakeImage()) return std::nullopt;
  const auto images = behindRecord.first(behindRecord.size() - reader.Left().size());
  icon.images.assign(images.begin(), images.end());

  if (IsSet(icon, defaultToolAt) && !(icon.defaultTool = reader.TakeText())) return std::nullopt;
  if (IsSet(icon, toolTypesAt) && !(icon.toolTypes = reader.TakeTexts())) return std::nullopt;
  icon.rest.assign(reader.Left().begin(), reader.Left().end());
  return icon;
}

std::optional<IconPlanes> FirstPicture(const IconFile& icon) {
  Reader reader(icon.images);
  if (!IsSet(icon, firstImageAt)) return std::nullopt;
  if (IsSet(icon, drawerAt) && !reader.Take(drawerSize)) return std::nullopt;
  const std::optional<IconPlanes> image = reader.TakeImage();
  if (!image || image->data.empty()) return std::nullopt;
  return image;
}

std::vector<std::uint8_t> BuildIcon(const IconFile& icon) {
  std::vector<std::uint8_t> out(icon.record.begin(), icon.record.end());
  StoreBig<std::uint32_t>(out.data() + defaultToolAt, icon.defaultTool ? 1 : 0);
  StoreBig<std::uint32_t>(out.data() + toolTypesAt, icon.toolTypes ? 1 : 0);
  out.insert(out.end(), icon.images.begin(), icon.images.end());
  if (icon.defaultTool) AppendText(out, *icon.defaultTool);
  if (icon.toolTypes) {
    AppendLong(out, (icon.toolTypes->size() + 1) * 4);
    for (const std::string& text : *icon.toolTypes) AppendText(out, text);
  }
  out.insert(out.end(), icon.rest.begin(), icon.rest.end());
  return out;
}

std::optional<ToolType> ParseToolType(std::string_view text) {
  text = SkipBlanks(text);
  if (text.empty()) return std::nullopt;
  ToolType toolType;
  if (text.starts_with('(')) {
    toolType.enabled = false;
    text = SkipBlanks(text.substr(1));
  }
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    toolType.key = text.substr(0, text.find_first_of(" )"));
    return toolType;
  }
  std::ranges::copy_if(text.substr(0, equals), std::back_inserter(toolType.key),
                       [](char c) { return c != ' '; });
  toolType.value = ReadValue(text.substr(equals + 1));
  return toolType;
}

std::string ToolTypeText(const ToolType& toolType) {
  std::string text = toolType.enabled ? "" : "(";
  text += toolType.key;
  if (!toolType.value.empty()) text.append("=").append(toolType.value);
  if (!toolType.enabled) text += ')';
  return text;
}

}  // namespace quillmere
