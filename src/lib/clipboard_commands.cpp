// What the script leaves for other programs to paste, and what they left.
#include <algorithm>
#include <optional>

#include "lib/system_commands.h"
#include "pixels/plane_convert.h"
#include "platform/platform.h"
#include "scene/brush.h"
#include "scene/scene_state.h"

namespace quillmere::system_library {
namespace {

constexpr std::int32_t CLIPBOARD_EMPTY = 0;
constexpr std::int32_t CLIPBOARD_TEXT = 1;
constexpr std::int32_t CLIPBOARD_IMAGE = 2;
constexpr std::int32_t CLIPBOARD_UNKNOWN = 4;

PlatformClipboard& Clipboard(VmState& state) {
  return vmHost(state).Of<Platform>().clipboard();
}

/// The number by which scripts know a kind of content.
double TypeOf(const ClipboardContent& content) {
  switch (content.kind) {
    case ClipboardContent::Kind::Empty:
      return CLIPBOARD_EMPTY;
    case ClipboardContent::Kind::Text:
      return CLIPBOARD_TEXT;
    case ClipboardContent::Kind::Image:
      return CLIPBOARD_IMAGE;
    case ClipboardContent::Kind::Unknown:
      break;
  }
  return CLIPBOARD_UNKNOWN;
}

/// Puts a copy of a brush on the clipboard.
Status WriteBrush(VmState& state, const ObjectId& id) {
  const qmBrush* brush = TRY(FindBrush(vmRoom<SceneState>(state), id));
  const auto pixels = TRY(PlanesToARGB(brush->planes, 0, true));
  return Clipboard(state).WriteImage({.pixels = pixels.data(),
                                      .width = brush->width,
                                      .height = brush->height,
                                      .stride = brush->width});
}

/// The planes of a picture; one that is opaque everywhere, or nowhere, has no alpha map.
Result<Planes> PlanesOf(const PixelImage& image) {
  const auto alphaOf = [](std::uint32_t pixel) { return pixel >> 24; };
  const auto isPlain = [&](std::uint32_t alpha) {
    return std::ranges::all_of(
        image.pixels, [alpha](auto a) { return a == alpha; }, alphaOf);
  };
  Planes planes =
      TRY(ARGBToBitmap(image.pixels, std::nullopt, image.width, image.height, image.width));
  if (!isPlain(0xFF) && !isPlain(0)) {
    planes.alpha = TRY(ARGBToAlpha(image.pixels, image.width, image.height, image.width));
  }
  return planes;
}

/// Makes a brush of the clipboard's picture and pushes its handle.
Status PushBrush(VmState& state, const PixelImage& image) {
  Planes planes = TRY(PlanesOf(image));
  const ObjectId id = TRY(AddBrush(vmRoom<SceneState>(state), ObjectId{.handle = 1},
                                   std::move(planes), noTransparentColor));
  vmPushId(state, id);
  return {};
}

}  // namespace

CommandResult SetClipboard(VmState& state) {
  vmCheckArgs(state, 2, 2);
  switch (vmArgInt(state, 1)) {
    case CLIPBOARD_TEXT:
      return Clipboard(state).WriteText(vmArgString(state, 2));
    case CLIPBOARD_IMAGE:
      return WriteBrush(state, vmArgId(state, 2));
    default:
      return Error::WrongUsage;
  }
}

CommandResult GetClipboard(VmState& state) {
  vmCheckArgs(state, 0, 0);
  const ClipboardContent content = TRY(Clipboard(state).Read());
  vmPushNumber(state, TypeOf(content));
  if (content.kind == ClipboardContent::Kind::Text) {
    vmPushBytes(state, content.text);
    return 2;
  }
  if (content.kind != ClipboardContent::Kind::Image) return 1;
  TRY(PushBrush(state, content.image));
  return 2;
}

CommandResult PeekClipboard(VmState& state) {
  vmCheckArgs(state, 0, 0);
  vmPushNumber(state, TypeOf(TRY(Clipboard(state).Read())));
  return 1;
}

CommandResult ClearClipboard(VmState& state) {
  vmCheckArgs(state, 0, 0);
  return Clipboard(state).WriteText(" ");
}

}  // namespace quillmere::system_library
