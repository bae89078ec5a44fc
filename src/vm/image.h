// Bytecode images: the stored form of compiled functions. This is the one codec of the format: the
// machine loads and dumps through it, and so do the tools that make and list images.
#pragma once

#include <bit>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/error.h"
#include "vm/opcodes.h"

namespace quillmere {

/// The first bytes of every image.
inline constexpr std::string_view imageSignature = "\x1BQMB";

/// nil, a number or a string.
using ImageConstant = std::variant<std::monostate, double, std::string>;

/// The debug name of a register, valid from instruction `startPc` up to, not including, `endPc`.
struct ImageLocal {
  std::string name;
  std::int32_t startPc = 0;
  std::int32_t endPc = 0;
};

/// One compiled function with the functions inside it.
struct ImageFunction {
  /// The chunk name. Stored once for functions that share their parent's.
  std::string source;
  /// The line where the function is declared; 0 for a main chunk.
  std::int32_t lineDefined = 0;
  std::uint8_t upvalueCount = 0;
  /// Fixed parameters; they are the first registers.
  std::uint8_t paramCount = 0;
  /// Surplus arguments come as a table in the register behind the parameters.
  bool isVarArg = false;
  /// Registers in use, at most 250.
  std::uint8_t maxStack = 2;
  /// A source line per instruction, or empty.
  std::vector<std::int32_t> lines;
  std::vector<ImageLocal> locals;
  /// A name per upvalue, or empty.
  std::vector<std::string> upvalueNames;
  std::vector<ImageConstant> constants;
  std::vector<ImageFunction> functions;
  std::vector<VmInstruction> code;
};

struct ImageOptions {
  std::endian byteOrder = std::endian::native;
  /// Leave out lines, sources and the names of locals and upvalues.
  bool strip = false;
};

/// Reads and verifies an image of either byte order. `chunkName` is the source of a main function
/// that stores none. Bytes behind the image are left alone. The errors are those of the format:
/// 1198 to 1205.
[[nodiscard]] Result<ImageFunction> ReadImage(std::span<const std::uint8_t> image,
                                              std::string_view chunkName);

/// The image of a function, which is not verified.
[[nodiscard]] std::string WriteImage(const ImageFunction& function, ImageOptions options = {});

/// Checks that one function cannot leave its registers, its constants or its code; the functions
/// inside it are not looked at. Gives 1203 when it could.
[[nodiscard]] Status VerifyFunction(const ImageFunction& function);

}  // namespace quillmere
