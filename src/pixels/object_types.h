// One number space for kinds of objects, layer types, attribute queries and output selections, and
// what the registries must know of each kind.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "base/error.h"
#include "vm/vm.h"

namespace quillmere {

/// The script's constants of the same names.
enum class ObjectType : int {
  BGPIC = 1,
  SAMPLE,
  BRUSH,
  ANIM,
  SNDMODULE,
  KEYDOWN,
  NOOBJECT,
  TEXTOBJECT,
  TEXTOUT,
  UNDO,
  PRINT,
  BRUSHPART,
  BGPICPART,
  BOX,
  CIRCLE,
  ELLIPSE,
  LINE,
  PLOT,
  MAINWINDOW,
  ANIMDISK,
  DISPLAY,
  LAYER,
  HIDEBRUSH,
  INSERTBRUSH,
  HIDELAYER,
  REMOVELAYER,
  POLYGON,
  MASK,
  NEXTFRAME,
  ALPHACHANNEL,
  ARC,
  SPRITE,
  MUSIC,
  NEXTFRAME2,
  CLIPREGION,
  POINTER,
  ASYNCDRAW,
  DOUBLEBUFFER,
  MEMORY,
  EVENTHANDLER,
  INTERVAL,
  TIMEOUT,
  FONT,
  FILE,
  DIRECTORY,
  BRUSH_VS_BOX,
  LAYER_VS_BOX,
  SPRITE_VS_BOX,
  VECTORPATH
};

/// The name of a type from 1 to 43, as listings show it; empty for others.
[[nodiscard]] std::string_view ObjectTypeName(int type);

/// The constants of all types for the script, `SHAPE` beside `MASK` included.
[[nodiscard]] std::span<const VmConstantEntry> ObjectTypeConstants();

/// The type that a layer may bear instead of the given one and still refer to the same object:
/// `BRUSHPART` for `BRUSH`, `NOOBJECT` for all others.
[[nodiscard]] constexpr ObjectType TwinOf(ObjectType type) {
  return type == ObjectType::BRUSH ? ObjectType::BRUSHPART : ObjectType::NOOBJECT;
}

/// Bits of the mask of `CollectHidden`.
enum SweepMask : unsigned {
  SWEEP_BRUSHES = 1,
  SWEEP_ANIMS = 2,
  SWEEP_TEXTOBJECTS = 4,
  SWEEP_BGPICS = 8,
  /// Swept by every call.
  SWEEP_ALWAYS = 0x80000000u
};

/// What the mask must hold after a layer of this type has gone.
[[nodiscard]] unsigned SweepMaskOfLayer(ObjectType layerType);

/// What a registry knows of its kind. `sweep` is 0 for kinds that layers never show.
struct RegistryKind {
  ObjectType type;
  Error notFound;
  unsigned sweep = 0;
};

namespace kinds {
inline constexpr RegistryKind brush{ObjectType::BRUSH, Error::BrushNotFound, SWEEP_BRUSHES};
inline constexpr RegistryKind textObject{ObjectType::TEXTOBJECT, Error::TextObjectNotFound,
                                         SWEEP_TEXTOBJECTS};
inline constexpr RegistryKind anim{ObjectType::ANIM, Error::AnimNotFound, SWEEP_ANIMS};
inline constexpr RegistryKind bgpic{ObjectType::BGPIC, Error::BGPicNotFound, SWEEP_BGPICS};
inline constexpr RegistryKind clipRegion{ObjectType::CLIPREGION, Error::ClipRegionNotFound,
                                         SWEEP_ALWAYS};
inline constexpr RegistryKind sample{ObjectType::SAMPLE, Error::SampleNotFound};
inline constexpr RegistryKind sprite{ObjectType::SPRITE, Error::SpriteNotFound};
inline constexpr RegistryKind music{ObjectType::MUSIC, Error::MusicNotFound};
inline constexpr RegistryKind pointer{ObjectType::POINTER, Error::PointerNotFound};
inline constexpr RegistryKind asyncDraw{ObjectType::ASYNCDRAW, Error::AsyncDrawNotFound};
inline constexpr RegistryKind font{ObjectType::FONT, Error::FontNotFound};
inline constexpr RegistryKind display{ObjectType::DISPLAY, Error::DisplayNotFound};
inline constexpr RegistryKind animStream{ObjectType::NOOBJECT, Error::AnimStreamNotFound};
inline constexpr RegistryKind moveQueue{ObjectType::NOOBJECT, Error::MoveQueueNotFound};
inline constexpr RegistryKind button{ObjectType::NOOBJECT, Error::ButtonNotFound};
inline constexpr RegistryKind path{ObjectType::VECTORPATH, Error::PathNotFound};
}  // namespace kinds

}  // namespace quillmere
