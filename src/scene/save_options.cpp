#include "scene/save_options.h"

namespace quillmere {

Result<ImageOptions> ReadImageOptions(VmState& state, int index) {
  ImageOptions options;
  const std::int32_t format = vmArgOptInt(state, index, static_cast<int>(ImageFormat::Bmp));
  if (format < static_cast<int>(ImageFormat::Bmp) || format > static_cast<int>(ImageFormat::Ilbm)) {
    return Fail(Error::WrongUsage);
  }
  options.format = static_cast<ImageFormat>(format);
  std::int32_t quality = options.quality;
  std::int32_t colors = options.colors;
  if (vmType(state, index + 1) == VmType::Table) {
    vmGetFieldInt(state, index + 1, "quality", quality);
    vmGetFieldInt(state, index + 1, "colors", colors);
    vmGetFieldBool(state, index + 1, "dither", options.dither);
  } else {
    quality = vmArgOptInt(state, index + 1, quality);
  }
  if (quality < 0 || quality > 100 || colors < 1 || colors > 256) return Fail(Error::WrongUsage);
  options.quality = quality;
  options.colors = colors;
  return options;
}

}  // namespace quillmere
