// Making brushes: empty ones, loaded ones, copies; freeing and saving them.
#include "codecs/picture_writer.h"
#include "pixels/blit.h"
#include "pixels/mask_ops.h"
#include "scene/brush_commands.h"
#include "scene/new_id.h"
#include "scene/picture_loader.h"
#include "scene/save_options.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

struct CreateOptions {
  bool alphaChannel = false;
  bool mask = false;
  bool clear = false;
};

CreateOptions ReadCreateOptions(VmState& state, int index) {
  CreateOptions options;
  const VmType type = vmType(state, index);
  if (type == VmType::None || type == VmType::Nil) return options;
  vmArgTable(state, index);
  vmGetFieldBool(state, index, "alphachannel", options.alphaChannel);
  vmGetFieldBool(state, index, "mask", options.mask);
  vmGetFieldBool(state, index, "clear", options.clear);
  return options;
}

Result<Planes> EmptyPlanes(SceneState& scene, std::int32_t width, std::int32_t height,
                           std::uint32_t color, const CreateOptions& options) {
  const Area whole{0, 0, width, height};
  Planes planes;
  planes.bitmap = TRY(AllocBitmap(width, height));
  RECTFILL(scene.host.debug, planes.bitmap.get(), whole, color & 0xFFFFFF);
  if (options.mask) {
    planes.mask = TRY(AllocMask(width, height, true));
    if (!options.clear) FillMask(*planes.mask, whole, MASKVISIBLE);
  }
  if (options.alphaChannel) {
    planes.alpha = TRY(AllocAlphaMap(width, height, true));
    if (!options.clear) FillAlpha(*planes.alpha, whole, 255);
  }
  return planes;
}

}  // namespace

CommandResult CreateBrush(VmState& state) {
  vmCheckArgs(state, 3, 5);
  SceneState& scene = vmRoom<SceneState>(state);
  const ObjectId id = vmArgNewId(state, 1);
  const std::int32_t width = vmArgInt(state, 2);
  const std::int32_t height = vmArgInt(state, 3);
  const std::uint32_t color = vmArgOptUnsigned(state, 4, 0);
  if (width < 1 || height < 1) return Error::SizeNotPositive;
  const CreateOptions options = ReadCreateOptions(state, 5);
  if (options.alphaChannel && options.mask) return Error::WrongUsage;
  TRY(scene.brushes.MakeRoomFor(id));
  Planes planes = TRY(EmptyPlanes(scene, width, height, color, options));
  const std::int32_t transparent = options.mask ? createdMaskMarker : noTransparentColor;
  return PushNewId(state, id, TRY(AddBrush(scene, id, std::move(planes), transparent)));
}

CommandResult LoadBrush(VmState& state) {
  vmCheckArgs(state, 2, 4);
  SceneState& scene = vmRoom<SceneState>(state);
  const ObjectId id = vmArgNewId(state, 1);
  const std::string file(vmArgString(state, 2));
  LoadOptions options = TRY(ReadLoadOptions(state, 3, file));
  options.pens = TRY(ReadPens(state, 4));
  TRY(scene.brushes.MakeRoomFor(id));
  LoadedPicture loaded = TRY(LoadPicture(scene, file, MessageId::LoadingBrush, options));
  auto brush = std::make_unique<qmBrush>();
  brush->width = loaded.picture.pixels->width;
  brush->height = loaded.picture.pixels->height;
  brush->transparentColor = loaded.transparentColor;
  brush->pending = std::move(loaded.picture);
  if (!scene.host.flags.inPreload) TRY(MakeBrushPlanes(*brush));
  return PushNewId(state, id, TRY(AddBrush(scene, id, std::move(brush))));
}

CommandResult CopyBrush(VmState& state) {
  vmCheckArgs(state, 2, 2);
  SceneState& scene = vmRoom<SceneState>(state);
  const ObjectId source = vmArgId(state, 1);
  const ObjectId target = vmArgNewId(state, 2);
  if (source == target) return Error::WrongUsage;
  const qmBrush* brush = TRY(FindBrush(scene, source));
  auto clone = TRY(CloneBrush(*brush));
  return PushNewId(state, target, TRY(AddBrush(scene, target, std::move(clone))));
}

CommandResult FreeBrush(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return vmRoom<SceneState>(state).brushes.FreeObject(vmArgId(state, 1), true);
}

CommandResult SaveBrush(VmState& state) {
  vmCheckArgs(state, 2, 5);
  SceneState& scene = vmRoom<SceneState>(state);
  const qmBrush* brush = TRY(FindBrush(scene, vmArgId(state, 1)));
  const std::string file(vmArgString(state, 2));
  const std::uint32_t transparent = vmArgOptUnsigned(state, 3, NOTRANSPARENCY);
  ImageOptions options = TRY(ReadImageOptions(state, 4));
  options.transparentColor = static_cast<std::int32_t>(transparent);
  const PlanesView planes{*brush->planes.bitmap, brush->planes.mask.get(),
                          brush->planes.alpha.get()};
  return WriteImage(scene.host, file, planes, options);
}

}  // namespace quillmere
