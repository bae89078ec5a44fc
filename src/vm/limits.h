// Every hard limit of the machine, each with its reason.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quillmere {

/// Registers of one function: an operand from here on names a constant.
inline constexpr int vmMaxRegisters = 250;

/// Slots of a new machine's stack.
inline constexpr int vmInitialStack = 45;
/// Slots kept at the end of the stack, so that an event can be called from any frame: five values
/// and a spare.
inline constexpr int vmExtraStack = 6;
/// Free slots that a native finds without asking.
inline constexpr int vmMinStack = 20;
/// Slots that `vmCheckStack` gives to one native frame.
inline constexpr int vmMaxNativeStack = 2048;

/// Frame records of a new machine.
inline constexpr int vmInitialFrames = 8;
/// Frames standing at the same time, native ones included.
inline constexpr int vmMaxFrames = 4096;
/// Calls through the native stack, one inside the other: at this depth error 1135 is raised...
inline constexpr int vmMaxNativeCalls = 200;
/// ...and from this depth on it is thrown without running anything first.
inline constexpr int vmMaxNativeCallsHard = 225;

/// Return addresses on the subroutine stack.
inline constexpr int vmMaxSubroutines = 4096;
/// Steps through events that are tables, before a chain counts as endless.
inline constexpr int vmMaxEventChain = 100;

/// The array part and the hash part hold at most two to this power of entries.
inline constexpr int vmMaxTableExponent = 24;
/// Buckets of a new string table.
inline constexpr std::size_t vmInitialStringBuckets = 32;
/// The string table does not grow from this size on.
inline constexpr std::size_t vmMaxStringBuckets = 0x3FFFFFFF;
/// The longest block, and so the longest string.
inline constexpr std::size_t vmMaxBlock = 0xFFFFFFFD;

/// Functions inside functions in an image: the reader walks them on the native stack.
inline constexpr int vmMaxImageDepth = 200;
/// A decoded image takes at most this many times the bytes of the image.
inline constexpr std::size_t vmMaxImageGrowth = 16;

/// Calls and backward jumps between two runs of the line hook. Without either a script cannot go on
/// for long, and only what it calls can see what the hook does; running it at each line would cost
/// more than the script itself.
inline constexpr int vmLineHookInterval = 256;

/// Values of one list store instruction.
inline constexpr int vmListBatch = 32;
/// Characters of a library's name.
inline constexpr std::size_t vmMaxLibraryName = 63;
/// Characters of a constant's name in a text.
inline constexpr std::size_t vmMaxConstantName = 64;

}  // namespace quillmere
