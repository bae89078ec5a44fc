// The identifier of a script object: the script's own number, or a handle that the program made.
#pragma once

#include <cstdint>

namespace quillmere {

struct ObjectId {
  /// The script's number; 0 for an object that has only a handle.
  std::int32_t number = 0;
  /// Non-zero for an automatic identifier: the address of the object's record. 1 asks for one when
  /// an object is made.
  std::uintptr_t handle = 0;

  friend bool operator==(const ObjectId&, const ObjectId&) = default;

  [[nodiscard]] bool AsksForHandle() const { return handle == 1; }
};

}  // namespace quillmere
