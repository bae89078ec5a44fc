// The script library of background pictures.
#include "base/numbers.h"
#include "pixels/blit.h"
#include "pixels/plane_convert.h"
#include "scene/bgpic_change.h"
#include "scene/display_commands.h"
#include "scene/libraries.h"
#include "scene/new_id.h"
#include "scene/picture_loader.h"
#include "scene/scene_state.h"
#include "scene/size_arguments.h"

namespace quillmere {
namespace {

SceneState& Scene(VmState& state) {
  return vmRoom<SceneState>(state);
}

bool IsAbsent(VmState& state, int index) {
  const VmType type = vmType(state, index);
  return type == VmType::None || type == VmType::Nil;
}

/// The fill behind a loaded picture.
Status ReadPictureFill(VmState& state, int index, Fill& fill) {
  if (vmType(state, index) != VmType::Table) return {};
  if (!vmGetFieldInt(state, index, "fillstyle", fill.style)) return {};
  if (fill.style < FILLNONE || fill.style > FILLTEXTURE) return Fail(Error::WrongUsage);
  if (fill.style == FILLCOLOR) vmGetFieldUnsigned(state, index, "fillcolor", fill.color);
  if (fill.style == FILLGRADIENT) {
    vmGetFieldUnsigned(state, index, "gradientstartcolor", fill.color);
    vmGetFieldUnsigned(state, index, "gradientendcolor", fill.endColor);
    vmGetFieldInt(state, index, "gradientangle", fill.angle);
  }
  if (fill.style == FILLTEXTURE) {
    vmGetFieldId(state, index, "texturebrush", fill.texture);
    vmGetFieldInt(state, index, "texturex", fill.textureX);
    vmGetFieldInt(state, index, "texturey", fill.textureY);
  }
  return {};
}

CommandResult LoadBGPic(VmState& state) {
  vmCheckArgs(state, 2, 4);
  SceneState& scene = Scene(state);
  const ObjectId id = vmArgNewId(state, 1);
  const std::string file(vmArgString(state, 2));
  LoadOptions options;
  Fill fill;
  if (vmType(state, 3) == VmType::Table) {
    vmGetFieldUnsigned(state, 3, "transparency", options.transparency);
    vmGetFieldBool(state, 3, "loadalpha", options.loadAlpha);
    TRY(ReadPictureFill(state, 3, fill));
  } else {
    options.transparency = vmArgOptUnsigned(state, 3, NOTRANSPARENCY);
  }
  if (options.loadAlpha && options.transparency != NOTRANSPARENCY) {
    return Error::MaskAndAlphaExclusive;
  }
  options.pens = TRY(ReadPens(state, 4));
  if (id.handle == 0) TRY(FreeBGPicObject(scene, id, false));
  LoadedPicture loaded = TRY(LoadPicture(scene, file, MessageId::LoadingBGPic, options));
  auto bgpic = std::make_unique<qmBGPic>();
  bgpic->logicalWidth = bgpic->outputWidth = bgpic->baseWidth = loaded.picture.pixels->width;
  bgpic->logicalHeight = bgpic->outputHeight = bgpic->baseHeight = loaded.picture.pixels->height;
  bgpic->transparentColor = loaded.transparentColor;
  bgpic->palette = std::move(loaded.palette);
  bgpic->fill = std::move(fill);
  bgpic->pending = std::move(loaded.picture);
  if (!scene.host.flags.inPreload) TRY(MakeBGPicPlanes(scene, *bgpic));
  return PushNewId(state, id, TRY(AddBGPic(scene, id, std::move(bgpic))));
}

CommandResult CreateBGPic(VmState& state) {
  vmCheckArgs(state, 3, 4);
  SceneState& scene = Scene(state);
  const ObjectId id = vmArgNewId(state, 1);
  const std::int32_t width = vmArgInt(state, 2);
  const std::int32_t height = vmArgInt(state, 3);
  const std::uint32_t color = vmArgOptUnsigned(state, 4, 0);
  if (width < 1 || height < 1) return Error::WrongUsage;
  if (id.handle == 0) TRY(FreeBGPicObject(scene, id, false));
  Planes planes;
  planes.bitmap = TRY(AllocBitmap(width, height));
  RECTFILL(scene.host.debug, planes.bitmap.get(), {0, 0, width, height}, color & 0xFFFFFF);
  return PushNewId(state, id, TRY(AddBGPic(scene, id, MakeBGPic(std::move(planes)))));
}

/// Width and height at `index`, by default those of the current output.
Result<PictureSizeArguments> ReadFilledSize(VmState& state, int index) {
  const qmOutput* output = Scene(state).currentOutput;
  const PictureSizeArguments size{
      vmArgOptInt(state, index, output != nullptr ? output->logicalWidth : 0),
      vmArgOptInt(state, index + 1, output != nullptr ? output->logicalHeight : 0)};
  if (size.width < 1 || size.height < 1) return Fail(Error::SizeNotPositive);
  return size;
}

CommandResult AddFilled(VmState& state, const ObjectId& id, Fill fill,
                        const PictureSizeArguments& size) {
  SceneState& scene = Scene(state);
  auto bgpic = TRY(MakeFilledBGPic(scene, std::move(fill), size.width, size.height));
  return PushNewId(state, id, TRY(AddBGPic(scene, id, std::move(bgpic))));
}

CommandResult CreateGradientBGPic(VmState& state) {
  vmCheckArgs(state, 4, 7);
  const ObjectId id = vmArgNewId(state, 1);
  const std::int32_t style = vmArgInt(state, 2);
  Fill fill{.style = FILLGRADIENT};
  fill.color = vmArgUnsigned(state, 3);
  fill.endColor = vmArgUnsigned(state, 4);
  const PictureSizeArguments size = TRY(ReadFilledSize(state, 5));
  const std::int32_t angle = vmArgOptInt(state, 7, 0);
  fill.angle = style == 0 ? 0 : style == 1 ? 90 : angle;
  return AddFilled(state, id, std::move(fill), size);
}

CommandResult CreateTexturedBGPic(VmState& state) {
  vmCheckArgs(state, 2, 6);
  const ObjectId id = vmArgNewId(state, 1);
  Fill fill{.style = FILLTEXTURE};
  fill.texture = vmArgId(state, 2);
  const PictureSizeArguments size = TRY(ReadFilledSize(state, 3));
  fill.textureX = vmArgOptInt(state, 5, 0);
  fill.textureY = vmArgOptInt(state, 6, 0);
  return AddFilled(state, id, std::move(fill), size);
}

CommandResult BrushToBGPic(VmState& state) {
  vmCheckArgs(state, 2, 2);
  SceneState& scene = Scene(state);
  const qmBrush* brush = TRY(FindBrush(scene, vmArgId(state, 1)));
  const ObjectId id = vmArgNewId(state, 2);
  if (brush->vectorTransformed) return Error::TransformedVectorBrushToBGPic;
  auto bgpic = MakeBGPic(TRY(CopyPlanes(brush->planes)));
  bgpic->transparentColor = brush->transparentColor;
  bgpic->brushExtra = brush->brushExtra;
  return PushNewId(state, id, TRY(AddBGPic(scene, id, std::move(bgpic))));
}

CommandResult BGPicToBrush(VmState& state) {
  vmCheckArgs(state, 2, 2);
  SceneState& scene = Scene(state);
  const qmBGPic* bgpic = TRY(FindBGPic(scene, vmArgId(state, 1)));
  const ObjectId id = vmArgNewId(state, 2);
  const bool isScaled =
      bgpic->logicalWidth != bgpic->baseWidth || bgpic->logicalHeight != bgpic->baseHeight;
  if (bgpic->imageType != IMAGETYPE_RASTER && isScaled) {
    return Error::TransformedVectorBGPicToBrush;
  }
  auto brush = std::make_unique<qmBrush>();
  ReplaceBrushPlanes(*brush, TRY(CopyPlanes(bgpic->scaled)));
  brush->transparentColor = bgpic->transparentColor;
  brush->brushExtra = bgpic->brushExtra;
  return PushNewId(state, id, TRY(AddBrush(scene, id, std::move(brush))));
}

CommandResult CopyBGPic(VmState& state) {
  vmCheckArgs(state, 2, 2);
  SceneState& scene = Scene(state);
  const ObjectId source = vmArgId(state, 1);
  const ObjectId target = vmArgNewId(state, 2);
  if (source == target) return Error::WrongUsage;
  const qmBGPic* bgpic = TRY(FindBGPic(scene, source));
  auto clone = TRY(CloneBGPic(*bgpic));
  return PushNewId(state, target, TRY(AddBGPic(scene, target, std::move(clone))));
}

CommandResult ScaleBGPic(VmState& state) {
  vmCheckArgs(state, 3, 4);
  SceneState& scene = Scene(state);
  const ObjectId id = vmArgId(state, 1);
  qmBGPic* bgpic = TRY(FindBGPic(scene, id, FIND_MODIFY | FIND_KEEP_LAYERS));
  if (DisplayOf(scene, *bgpic) != nullptr) return Error::BGPicSizeIsDisplayed;
  if (IsSelectedOutput(scene, ObjectType::BGPIC, id)) return Error::BGPicIsOutput;
  const PictureSizeArguments size =
      TRY(ReadSizeArguments(state, 2, bgpic->logicalWidth, bgpic->logicalHeight));
  const bool smooth = vmArgOptNumber(state, 4, 0) != 0;
  TRY(FindBGPic(scene, id, FIND_MODIFY));
  return ScaleBGPicTo(scene, *bgpic, size.width, size.height, smooth);
}

CommandResult FreeBGPic(VmState& state) {
  vmCheckArgs(state, 1, 1);
  return FreeBGPicObject(Scene(state), vmArgId(state, 1), true);
}

CommandResult DisplayBGPic(VmState& state) {
  vmCheckArgs(state, 1, 2);
  const ObjectId id = vmArgId(state, 1);
  std::int32_t x = KEEPPOSITION;
  std::int32_t y = KEEPPOSITION;
  if (!IsAbsent(state, 2)) {
    vmArgTable(state, 2);
    vmGetFieldInt(state, 2, "x", x);
    vmGetFieldInt(state, 2, "y", y);
  }
  return ShowBGPic(state, id, x, y, nullptr);
}

/// The last argument of `DisplayBGPicPart`: a table with `layers`, or a number.
bool ReadWithLayers(VmState& state, int index) {
  bool withLayers = false;
  if (vmType(state, index) == VmType::Table) {
    vmGetFieldBool(state, index, "layers", withLayers);
  } else if (vmType(state, index) == VmType::Number) {
    withLayers = vmToNumber(state, index) != 0;
  }
  return withLayers;
}

CommandResult DisplayBGPicPart(VmState& state) {
  vmCheckArgs(state, 5, 8);
  DisplayRequest request;
  request.type = ObjectType::BGPICPART;
  request.id = vmArgId(state, 1);
  request.currentBGPic = request.id == ObjectId{.number = -1, .handle = 0};
  request.sourceX = vmArgInt(state, 2);
  request.sourceY = vmArgInt(state, 3);
  request.width = vmArgInt(state, 4);
  request.height = vmArgInt(state, 5);
  request.x = vmArgOptInt(state, 6, -1);
  request.y = vmArgOptInt(state, 7, -1);
  request.takeSourceX = request.x == -1;
  request.takeSourceY = request.y == -1;
  request.tagsIndex = 8;
  request.withLayers = ReadWithLayers(state, 8);
  return DisplayObject(state, request);
}

CommandResult SelectBGPic(VmState& state) {
  vmCheckArgs(state, 0, 2);
  SceneState& scene = Scene(state);
  const bool isCurrent = IsAbsent(state, 1);
  const std::int32_t mode = vmArgOptInt(state, 2, SELMODE_LAYERS);
  if (mode < SELMODE_NORMAL || mode > SELMODE_LAYERS) return Error::WrongUsage;
  const ObjectId id = isCurrent ? scene.currentDisplay->bgpic->Id() : vmArgId(state, 1);
  if (mode == SELMODE_LAYERS) return SelectBGPicLayers(scene, isCurrent ? nullptr : &id);
  SelectionTarget target;
  target.type = ObjectType::BGPIC;
  target.id = id;
  target.mode = mode;
  return SelectOutput(scene, target);
}

constexpr VmCommandEntry commands[] = {
    {"LoadBGPic", LoadBGPic},
    {"CreateBGPic", CreateBGPic},
    {"CreateGradientBGPic", CreateGradientBGPic},
    {"CreateRainbowBGPic", CreateGradientBGPic},
    {"CreateTexturedBGPic", CreateTexturedBGPic},
    {"BrushToBGPic", BrushToBGPic},
    {"BGPicToBrush", BGPicToBrush},
    {"CopyBGPic", CopyBGPic},
    {"ScaleBGPic", ScaleBGPic},
    {"FreeBGPic", FreeBGPic},
    {"DisplayBGPic", DisplayBGPic},
    {"DisplayBGPicPart", DisplayBGPicPart},
    {"SelectBGPic", SelectBGPic},
    {"EndSelect", EndSelect},
};

constexpr VmConstantEntry constants[] = {
    {"SELMODE_NORMAL", nullptr, SELMODE_NORMAL}, {"SELMODE_COMBO", nullptr, SELMODE_COMBO},
    {"SELMODE_LAYERS", nullptr, SELMODE_LAYERS}, {"FILLNONE", nullptr, FILLNONE},
    {"FILLCOLOR", nullptr, FILLCOLOR},           {"FILLGRADIENT", nullptr, FILLGRADIENT},
    {"FILLTEXTURE", nullptr, FILLTEXTURE},
};

}  // namespace

CommandResult EndSelect(VmState& state) {
  vmCheckArgs(state, 0, 0);
  SceneState& scene = Scene(state);
  if (scene.currentDisplay->doubleBuffered) return Error::WrongUsage;
  return EndSelection(scene);
}

Status OpenBGPicLibrary(VmState& state) {
  vmOpenLibrary(state, "bgpic", commands, constants);
  return {};
}

}  // namespace quillmere
