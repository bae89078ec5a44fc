// The script library of brushes, in the order in which its commands are listed.
#include <array>
#include <vector>

#include "codecs/picture_writer.h"
#include "pixels/color_commands.h"
#include "scene/brush_commands.h"
#include "scene/display_commands.h"
#include "scene/libraries.h"
#include "scene/scene_state.h"

namespace quillmere {
namespace {

constexpr VmCommandEntry commands[] = {
    {"CreateBrush", CreateBrush},
    {"LoadBrush", LoadBrush},
    {"CopyBrush", CopyBrush},
    {"FreeBrush", FreeBrush},
    {"DisplayBrush", DisplayBrush},
    {"DisplayBrushPart", DisplayBrushPart},
    {"ScaleBrush", ScaleBrush},
    {"RotateBrush", RotateBrush},
    {"TransformBrush", TransformBrush},
    {"CropBrush", CropBrush},
    {"TrimBrush", TrimBrush},
    {"DeleteMask", DeleteMask},
    {"DeleteAlphaChannel", DeleteAlphaChannel},
    {"InvertMask", InvertMask},
    {"InvertAlphaChannel", InvertAlphaChannel},
    {"InvertBrush", InvertBrush},
    {"BrushToGray", BrushToGray},
    {"FlipBrush", FlipBrush},
    {"TintBrush", TintBrush},
    {"MixBrush", MixBrush},
    {"ReplaceColors", ReplaceColors},
    {"FloodFill", FloodFill},
    {"SetBrushTransparency", SetBrushTransparency},
    {"SaveBrush", SaveBrush},
    {"SelectBrush", SelectBrush},
    {"SelectMask", SelectMask},
    {"SelectAlphaChannel", SelectAlphaChannel},
    {"SetMaskMode", SetMaskMode},
    {"SetAlphaIntensity", SetAlphaIntensity},
    {"GetBrushLink", GetBrushLink},
    {"ConvertToBrush", ConvertToBrush},
    {"GrabDesktop", GrabDesktop},
    {"BeginDoubleBuffer", BeginDoubleBuffer},
    {"EndDoubleBuffer", EndDoubleBuffer},
    {"Flip", Flip},
};

constexpr VmConstantEntry constants[] = {
    {"IMGFMT_BMP", nullptr, 0},  {"IMGFMT_PNG", nullptr, 1},
    {"IMGFMT_JPEG", nullptr, 2}, {"IMGFMT_GIF", nullptr, 3},
    {"IMGFMT_ILBM", nullptr, 4}, {"IMAGETYPE_RASTER", nullptr, IMAGETYPE_RASTER},
};

}  // namespace

Status OpenBrushLibrary(VmState& state) {
  vmOpenLibrary(state, "brush", commands, constants);
  vmRegisterConstants(state, BlitConstants());
  return {};
}

}  // namespace quillmere
