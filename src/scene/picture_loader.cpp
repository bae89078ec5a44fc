#include "scene/picture_loader.h"

#include "base/fold.h"
#include "base/progress.h"
#include "codecs/picture_reader.h"
#include "files/linked_files.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

/// A key of the cache: a switch, or the name of the entry.
bool ReadCacheKey(VmState& state, int index, const char* key, std::string& name) {
  if (!vmPushField(state, index, key)) return false;
  const bool isName = vmType(state, -1) == VmType::String;
  bool on = true;
  if (isName) {
    name = vmToBytes(state, -1);
  } else {
    on = vmType(state, -1) == VmType::Number ? vmToNumber(state, -1) != 0 : vmToBoolean(state, -1);
  }
  vmPop(state, 1);
  return on;
}

void ReadCacheKeys(VmState& state, int index, std::string_view fileName, LoadOptions& options) {
  options.cacheName = fileName;
  options.cache = ReadCacheKey(state, index, "cache", options.cacheName);
  options.cachedLoad = ReadCacheKey(state, index, "cachedload", options.cacheName);
  vmGetFieldBool(state, index, "cachealpha", options.cacheAlpha);
}

void ReadPartKeys(VmState& state, int index, LoadOptions& options) {
  options.hasPart |= vmGetFieldInt(state, index, "x", options.x);
  options.hasPart |= vmGetFieldInt(state, index, "y", options.y);
  options.hasPart |= vmGetFieldInt(state, index, "width", options.width);
  options.hasPart |= vmGetFieldInt(state, index, "height", options.height);
}

PictureOptions ReaderOptions(const LoadOptions& options) {
  PictureOptions reader;
  const bool wantsSomeAlpha = options.globalAlpha >= 0 || (options.cache && options.cacheAlpha);
  reader.alphaMode = options.loadAlpha ? AlphaMode::Required
                     : wantsSomeAlpha  ? AlphaMode::Optional
                                       : AlphaMode::None;
  reader.penTable = options.pens;
  reader.globalAlpha = options.globalAlpha >= 0;
  return reader;
}

CachedPicture* FindCached(SceneState& scene, std::string_view name) {
  for (CachedPicture& entry : scene.pictureCache) {
    if (EqualsFolded(entry.name, name)) return &entry;
  }
  return nullptr;
}

void KeepInCache(SceneState& scene, const std::string& name, const LoadedPicture& loaded) {
  CachedPicture* entry = FindCached(scene, name);
  if (entry == nullptr) entry = &scene.pictureCache.emplace_back();
  *entry = {name, loaded.picture, loaded.palette};
}

Result<LoadedPicture> TakeFromCache(SceneState& scene, const LoadOptions& options) {
  const CachedPicture* entry = FindCached(scene, options.cacheName);
  if (entry == nullptr) return Fail(Error::ErrorOccurredWhileProcessingGfx);
  if (options.loadAlpha && !entry->picture.withAlpha) {
    return scene.host.errors.Fail(Error::NoAlphaChannel, options.cacheName);
  }
  return LoadedPicture{entry->picture, noTransparentColor, entry->palette};
}

Result<LoadedPicture> ReadFile(SceneState& scene, std::string_view fileName,
                               const LoadOptions& options) {
  const std::string name = ResolveLinkedFile(scene.host, fileName);
  DecodedPicture decoded = TRY(ReadPicture(scene.host, name, ReaderOptions(options)));
  LoadedPicture loaded;
  loaded.picture.pixels = std::move(decoded.pixels);
  loaded.picture.withAlpha = decoded.hasAlpha;
  loaded.transparentColor = decoded.transparentKey;
  if (decoded.palette) {
    loaded.palette = std::make_shared<const std::array<std::uint32_t, 256>>(*decoded.palette);
  }
  return loaded;
}

/// Cuts the picture to the part that was asked for. What the cache shows too is copied.
Status CutPart(PendingPicture& picture, const LoadOptions& options) {
  const Planes whole{.bitmap = picture.pixels, .mask = {}, .alpha = {}};
  if (!options.hasPart) {
    const bool isShared = options.cache || options.cachedLoad;
    if (isShared) picture.pixels = TRY(CopyPlanes(whole)).bitmap;
    return {};
  }
  if (options.x < 0 || options.y < 0) return Fail(Error::NegativeCoordinatesNotAllowedHere);
  if (options.x >= picture.pixels->width || options.y >= picture.pixels->height) {
    return Fail(Error::SpecifiedCoordinatesOutRange);
  }
  if (options.width < 1 || options.height < 1) return Fail(Error::SizeNotPositive);
  picture.pixels =
      TRY(CopyPlanes(whole, options.x, options.y, options.width, options.height)).bitmap;
  return {};
}

/// Makes the whole picture as transparent as `value`; pixels of the key colour wholly so.
void ApplyGlobalAlpha(LoadedPicture& loaded, std::int32_t value) {
  const bool hadAlpha = loaded.picture.withAlpha;
  const bool hasKey = loaded.transparentColor != noTransparentColor;
  const auto key = static_cast<std::uint32_t>(loaded.transparentColor) & 0xFFFFFF;
  const auto level = static_cast<std::uint32_t>(value);
  qmBitmap& bitmap = *loaded.picture.pixels;
  for (int y = 0; y < bitmap.height; ++y) {
    for (std::uint32_t& pixel : std::span(bitmap.Row(y), static_cast<std::size_t>(bitmap.width))) {
      const std::uint32_t color = pixel & 0xFFFFFF;
      std::uint32_t alpha = hadAlpha ? level * (pixel >> 24) / 255 : level;
      if (hasKey && color == key) alpha = 0;
      pixel = alpha << 24 | color;
    }
  }
  loaded.picture.withAlpha = true;
  loaded.transparentColor = noTransparentColor;
}

Result<LoadedPicture> Load(SceneState& scene, std::string_view fileName,
                           const LoadOptions& options) {
  LoadedPicture loaded = options.cachedLoad ? TRY(TakeFromCache(scene, options))
                                            : TRY(ReadFile(scene, fileName, options));
  if (options.cache) KeepInCache(scene, options.cacheName, loaded);
  if (!options.loadAlpha && options.globalAlpha < 0) loaded.picture.withAlpha = false;
  TRY(CutPart(loaded.picture, options));
  if (options.globalAlpha >= 0) ApplyGlobalAlpha(loaded, options.globalAlpha);
  if (options.transparency != NOTRANSPARENCY) {
    loaded.transparentColor = static_cast<std::int32_t>(options.transparency & 0xFFFFFF);
  }
  return loaded;
}

}  // namespace

Result<LoadOptions> ReadLoadOptions(VmState& state, int index, std::string_view fileName) {
  LoadOptions options;
  const VmType type = vmType(state, index);
  if (type == VmType::None || type == VmType::Nil) return options;
  if (type != VmType::Table) {
    options.transparency = vmArgUnsigned(state, index);
    return options;
  }
  vmGetFieldUnsigned(state, index, "transparency", options.transparency);
  vmGetFieldBool(state, index, "loadalpha", options.loadAlpha);
  if (vmGetFieldInt(state, index, "globalalpha", options.globalAlpha) &&
      options.globalAlpha != -1) {
    options.globalAlpha = std::clamp(options.globalAlpha, 0, 255);
  }
  if (options.transparency != NOTRANSPARENCY && (options.loadAlpha || options.globalAlpha >= 0)) {
    return Fail(Error::MaskAndAlphaExclusive);
  }
  ReadPartKeys(state, index, options);
  ReadCacheKeys(state, index, fileName, options);
  return options;
}

Result<std::vector<std::uint32_t>> ReadPens(VmState& state, int index) {
  std::vector<std::uint32_t> pens;
  const VmType type = vmType(state, index);
  if (type == VmType::None || type == VmType::Nil) return pens;
  vmArgTable(state, index);
  for (int i = 0; i < 256; ++i) {
    vmRawGetInt(state, index, i);
    const bool isEnd = vmType(state, -1) == VmType::Nil;
    if (!isEnd) pens.push_back(vmFieldUnsigned(state, -1, "pens"));
    vmPop(state, 1);
    if (isEnd) break;
  }
  return pens;
}

Result<LoadedPicture> LoadPicture(SceneState& scene, std::string_view fileName, MessageId message,
                                  const LoadOptions& options) {
  PrintProgress(scene.host, message, fileName, true);
  auto loaded = Load(scene, fileName, options);
  if (loaded) {
    PrintDone(scene.host);
  } else {
    PrintFailed(scene.host);
  }
  return loaded;
}

}  // namespace quillmere
