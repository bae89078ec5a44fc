#include "pixels/object_types.h"

#include <algorithm>
#include <array>

namespace quillmere {
namespace {

constexpr VmConstantEntry Constant(const char* name, int value) {
  return {name, nullptr, static_cast<double>(value)};
}

/// In the order of their values; the constant that shares a value stands behind.
constexpr std::array constants{
    Constant("BGPIC", 1),         Constant("SAMPLE", 2),        Constant("BRUSH", 3),
    Constant("ANIM", 4),          Constant("SNDMODULE", 5),     Constant("KEYDOWN", 6),
    Constant("NOOBJECT", 7),      Constant("TEXTOBJECT", 8),    Constant("TEXTOUT", 9),
    Constant("UNDO", 10),         Constant("PRINT", 11),        Constant("BRUSHPART", 12),
    Constant("BGPICPART", 13),    Constant("BOX", 14),          Constant("CIRCLE", 15),
    Constant("ELLIPSE", 16),      Constant("LINE", 17),         Constant("PLOT", 18),
    Constant("MAINWINDOW", 19),   Constant("ANIMDISK", 20),     Constant("DISPLAY", 21),
    Constant("LAYER", 22),        Constant("HIDEBRUSH", 23),    Constant("INSERTBRUSH", 24),
    Constant("HIDELAYER", 25),    Constant("REMOVELAYER", 26),  Constant("POLYGON", 27),
    Constant("MASK", 28),         Constant("NEXTFRAME", 29),    Constant("ALPHACHANNEL", 30),
    Constant("ARC", 31),          Constant("SPRITE", 32),       Constant("MUSIC", 33),
    Constant("NEXTFRAME2", 34),   Constant("CLIPREGION", 35),   Constant("POINTER", 36),
    Constant("ASYNCDRAW", 37),    Constant("DOUBLEBUFFER", 38), Constant("MEMORY", 39),
    Constant("EVENTHANDLER", 40), Constant("INTERVAL", 41),     Constant("TIMEOUT", 42),
    Constant("FONT", 43),         Constant("FILE", 44),         Constant("DIRECTORY", 45),
    Constant("BRUSH_VS_BOX", 46), Constant("LAYER_VS_BOX", 47), Constant("SPRITE_VS_BOX", 48),
    Constant("VECTORPATH", 49),   Constant("SHAPE", 28)};

constexpr int lastNamedType = static_cast<int>(ObjectType::FONT);

}  // namespace

std::string_view ObjectTypeName(int type) {
  if (type < 1 || type > lastNamedType) return {};
  return constants[static_cast<std::size_t>(type) - 1].name;
}

std::span<const VmConstantEntry> ObjectTypeConstants() {
  return constants;
}

unsigned SweepMaskOfLayer(ObjectType layerType) {
  switch (layerType) {
    case ObjectType::BRUSH:
    case ObjectType::BRUSHPART:
      return SWEEP_BRUSHES;
    case ObjectType::ANIM:
      return SWEEP_ANIMS;
    case ObjectType::TEXTOBJECT:
      return SWEEP_TEXTOBJECTS;
    case ObjectType::BGPICPART:
      return SWEEP_BGPICS;
    default:
      return 0;
  }
}

}  // namespace quillmere
