// The icons that the desktop shows for files.
#include <optional>
#include <string>

#include "base/fold.h"
#include "codecs/picture_reader.h"
#include "files/virtual_file.h"
#include "lib/icon_file.h"
#include "lib/icon_picture.h"
#include "lib/system_commands.h"
#include "scene/scene_state.h"

namespace quillmere::system_library {
namespace {

constexpr std::string_view iconSuffix = ".info";
constexpr std::int32_t AMIGAICON_PROJECT = 4;
/// Kinds of icons that the format knows, the ones without a constant of their own included.
constexpr std::int32_t firstIconType = 1;
constexpr std::int32_t lastIconType = 8;

constexpr int mostToolTypes = 255;
constexpr std::size_t mostToolTypeText = 65536;

std::string_view CutIconSuffix(std::string_view name) {
  if (name.size() < iconSuffix.size()) return name;
  const std::size_t stem = name.size() - iconSuffix.size();
  return EqualsFolded(name.substr(stem), iconSuffix) ? name.substr(0, stem) : name;
}

std::string IconName(std::string_view name) {
  return std::string(CutIconSuffix(name)).append(iconSuffix);
}

Result<IconFile> ReadIcon(Host& host, const std::string& name) {
  const auto bytes = ReadWholeFile(host, name, largestIconFile);
  if (!bytes) return host.errors.Fail(Error::CannotReadFile, name);
  std::optional<IconFile> icon = ParseIcon(*bytes);
  if (!icon) return host.errors.Fail(Error::CannotReadFile, name);
  return std::move(*icon);
}

/// The picture of an icon, or else of a picture file of that very name. Nothing when there is
/// neither: the windows keep the icon that they have.
std::optional<PixelImage> ReadIconPicture(Host& host, const std::string& name) {
  if (const auto bytes = ReadWholeFile(host, IconName(name), largestIconFile)) {
    const std::optional<IconFile> icon = ParseIcon(*bytes);
    return icon ? IconPicture(*icon) : std::nullopt;
  }
  auto picture = ReadPicture(host, name, {.alphaMode = AlphaMode::Optional, .penTable = {}});
  if (!picture) return std::nullopt;
  const qmBitmap& bitmap = *picture->pixels;
  PixelImage image = CopyPixels({bitmap.Row(0), bitmap.width, bitmap.height, bitmap.pixelsPerRow});
  if (!picture->hasAlpha) {
    for (std::uint32_t& pixel : image.pixels) pixel |= 0xFF000000;
  }
  return image;
}

/// A name beside `name` that no file bears.
std::string FreeNameBeside(Host& host, const std::string& name) {
  for (int i = 1;; ++i) {
    std::string candidate = name + '.' + std::to_string(i);
    if (!LockName(host, candidate)) return candidate;
  }
}

bool WriteFile(Host& host, const std::string& name, std::span<const std::uint8_t> bytes) {
  const std::unique_ptr<qmFile> file = OpenFile(host, name, OpenMode::Write);
  return file && file->WriteBytes(bytes) == bytes.size() && file->Flush();
}

/// Puts the file `draft` in the place of `name`; on failure both stay.
bool ReplaceFile(Host& host, const std::string& draft, const std::string& name) {
  PlatformFiles& files = host.Of<Platform>().files();
  const std::string old = FreeNameBeside(host, name);
  if (!files.Rename(name, old)) return false;
  if (files.Rename(draft, name)) {
    files.Delete(old);
    return true;
  }
  files.Rename(old, name);
  return false;
}

/// Writes the icon beside the old one and then puts it in its place, so that a failure leaves the
/// old one.
Status WriteIcon(Host& host, const std::string& iconName, const IconFile& icon) {
  const std::string name = NormaliseName(iconName);
  const std::string draft = FreeNameBeside(host, name);
  if (WriteFile(host, draft, BuildIcon(icon)) && ReplaceFile(host, draft, name)) return {};
  host.Of<Platform>().files().Delete(draft);
  return host.errors.Fail(Error::CannotWriteFile, iconName);
}

void PushToolTypes(VmState& state, const IconFile& icon) {
  vmNewTable(state);
  if (!icon.toolTypes) return;
  int index = 0;
  for (const std::string& text : *icon.toolTypes) {
    const std::optional<ToolType> toolType = ParseToolType(text);
    if (!toolType) continue;
    vmNewTable(state);
    vmSetFieldString(state, "key", toolType->key);
    vmSetFieldString(state, "value", toolType->value);
    vmSetFieldInt(state, "enabled", toolType->enabled ? 1 : 0);
    vmRawSetInt(state, -2, index++);
  }
}

/// Reads a setting from the table on top of the stack.
Result<ToolType> ReadToolType(VmState& state) {
  ToolType toolType;
  if (!vmPushField(state, -1, "key")) return Fail(Error::WrongUsage);
  const bool keyIsText = vmType(state, -1) == VmType::String;
  if (keyIsText) toolType.key = vmToBytes(state, -1);
  vmPop(state, 1);
  if (!keyIsText) return Fail(Error::WrongUsage);
  vmGetFieldString(state, -1, "value", toolType.value);
  vmGetFieldBool(state, -1, "enabled", toolType.enabled);
  return toolType;
}

/// Reads the settings from the table at `index`.
Result<std::vector<std::string>> ReadToolTypes(VmState& state, int index) {
  std::vector<std::string> texts;
  std::size_t size = 0;
  for (int i = 0;; ++i) {
    vmRawGetInt(state, index, i);
    if (vmType(state, -1) != VmType::Table) return texts;
    if (i == mostToolTypes) return Fail(Error::InternalLimit);
    texts.push_back(ToolTypeText(TRY(ReadToolType(state))));
    vmPop(state, 1);
    size += texts.back().size() + 1;
    if (size > mostToolTypeText) return Fail(Error::InternalLimit);
  }
}

}  // namespace

CommandResult GetIconProperties(VmState& state) {
  vmCheckArgs(state, 1, 1);
  const IconFile icon = TRY(ReadIcon(vmHost(state), IconName(vmArgString(state, 1))));
  vmPushNumber(state, icon.Type());
  PushToolTypes(state, icon);
  const bool hasTool = icon.Type() == AMIGAICON_PROJECT && icon.defaultTool;
  vmPushBytes(state, hasTool ? std::string_view(*icon.defaultTool) : std::string_view());
  return 3;
}

CommandResult SetIconProperties(VmState& state) {
  vmCheckArgs(state, 2, 4);
  const std::string name = IconName(vmArgString(state, 1));
  const std::int32_t type = vmArgInt(state, 2);
  const bool hasToolTypes = vmType(state, 3) != VmType::None && vmType(state, 3) != VmType::Nil;
  if (hasToolTypes) vmArgTable(state, 3);
  const bool hasTool = vmGetTop(state) >= 4 && type == AMIGAICON_PROJECT;
  const std::string tool(vmArgOptString(state, 4, ""));
  if (type < firstIconType || type > lastIconType) return Error::WrongUsage;

  IconFile icon = TRY(ReadIcon(vmHost(state), name));
  icon.SetType(type);
  if (hasToolTypes) icon.toolTypes = TRY(ReadToolTypes(state, 3));
  if (hasTool) icon.defaultTool = tool;
  return WriteIcon(vmHost(state), name, icon);
}

CommandResult SetWBIcon(VmState& state) {
  vmCheckArgs(state, 1, 1);
  if (auto picture = ReadIconPicture(vmHost(state), std::string(vmArgString(state, 1)))) {
    SetWindowIcon(vmRoom<SceneState>(state), std::move(*picture));
  }
  return 0;
}

}  // namespace quillmere::system_library
