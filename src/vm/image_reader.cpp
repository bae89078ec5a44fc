#include <algorithm>
#include <cstring>

#include "base/byte_order.h"
#include "vm/image.h"

namespace quillmere {
namespace {

constexpr std::uint8_t tagNil = 0;
constexpr std::uint8_t tagNumber = 3;
constexpr std::uint8_t tagString = 4;

/// Sizes of an integer, a size, an instruction, its fields op, A, B and C, and a number.
constexpr std::uint8_t sizeBytes[] = {4, 4, 4, 6, 8, 9, 9, 8};
constexpr int testNumber = 31415926;

class Reader {
 public:
  explicit Reader(std::span<const std::uint8_t> image) : rest_(image), size_(image.size()) {}

  Status ReadHeader();
  Status ReadFunction(ImageFunction& function, std::string_view parentSource, int depth);

 private:
  Result<std::span<const std::uint8_t>> Take(std::size_t count) {
    if (count > rest_.size()) return Fail(Error::UnexpectedEndOfFile);
    const auto taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }

  template <class T>
  Result<T> ReadUnsigned() {
    const std::uint8_t* bytes = TRY(Take(sizeof(T))).data();
    return isBig_ ? LoadBig<T>(bytes) : LoadLittle<T>(bytes);
  }

  Result<std::int32_t> ReadInt() {
    return static_cast<std::int32_t>(TRY(ReadUnsigned<std::uint32_t>()));
  }

  Result<std::int32_t> ReadCount() {
    const std::int32_t count = TRY(ReadInt());
    if (count < 0) return Fail(Error::BadBytecodeInteger);
    return count;
  }

  Result<double> ReadDouble() { return std::bit_cast<double>(TRY(ReadUnsigned<std::uint64_t>())); }

  /// An absent string reads as an empty one.
  Result<std::string_view> ReadString() {
    const std::uint32_t length = TRY(ReadUnsigned<std::uint32_t>());
    if (length == 0) return std::string_view();
    const auto bytes = TRY(Take(length));
    return std::string_view(reinterpret_cast<const char*>(bytes.data()), length - 1);
  }

  Status ReadDebugData(ImageFunction& function);
  Status ReadConstants(ImageFunction& function);

  std::span<const std::uint8_t> rest_;
  std::size_t size_;
  std::size_t nilConstants_ = 0;
  bool isBig_ = false;
};

Status Reader::ReadHeader() {
  const auto signature = TRY(Take(imageSignature.size()));
  if (std::memcmp(signature.data(), imageSignature.data(), imageSignature.size()) != 0)
    return Fail(Error::BadBytecodeSignature);
  constexpr std::uint8_t littleEndian = 1;
  isBig_ = TRY(ReadUnsigned<std::uint8_t>()) != littleEndian;
  if (!std::ranges::equal(TRY(Take(sizeof sizeBytes)), sizeBytes)) return Fail(Error::TypeMismatch);
  const double number = TRY(ReadDouble());
  if (!(number >= testNumber && number < testNumber + 1))
    return Fail(Error::BadBytecodeNumberFormat);
  return {};
}

Status Reader::ReadDebugData(ImageFunction& function) {
  const std::int32_t lineCount = TRY(ReadCount());
  for (std::int32_t i = 0; i < lineCount; ++i) function.lines.push_back(TRY(ReadInt()));

  const std::int32_t localCount = TRY(ReadCount());
  for (std::int32_t i = 0; i < localCount; ++i) {
    ImageLocal& local = function.locals.emplace_back();
    local.name = TRY(ReadString());
    local.startPc = TRY(ReadInt());
    local.endPc = TRY(ReadInt());
  }

  const std::int32_t nameCount = TRY(ReadCount());
  if (nameCount != 0 && nameCount != function.upvalueCount) return Fail(Error::BadBytecodeUpvalues);
  for (std::int32_t i = 0; i < nameCount; ++i)
    function.upvalueNames.emplace_back(TRY(ReadString()));
  return {};
}

Status Reader::ReadConstants(ImageFunction& function) {
  const std::int32_t count = TRY(ReadCount());
  for (std::int32_t i = 0; i < count; ++i) {
    switch (TRY(ReadUnsigned<std::uint8_t>())) {
      case tagNil:
        // The one item whose decoded form dwarfs its bytes; a compiler writes one per function.
        if (++nilConstants_ * sizeof(ImageConstant) > vmMaxImageGrowth * size_)
          return Fail(Error::BadBytecode);
        function.constants.emplace_back();
        break;
      case tagNumber:
        function.constants.emplace_back(TRY(ReadDouble()));
        break;
      case tagString:
        function.constants.emplace_back(std::string(TRY(ReadString())));
        break;
      default:
        return Fail(Error::BadBytecodeConstant);
    }
  }
  return {};
}

Status Reader::ReadFunction(ImageFunction& function, std::string_view parentSource, int depth) {
  if (depth > vmMaxImageDepth) return Fail(Error::BadBytecode);
  function.source = TRY(ReadString());
  if (function.source.empty()) function.source = parentSource;
  function.lineDefined = TRY(ReadCount());
  function.upvalueCount = TRY(ReadUnsigned<std::uint8_t>());
  function.paramCount = TRY(ReadUnsigned<std::uint8_t>());
  function.isVarArg = TRY(ReadUnsigned<std::uint8_t>()) != 0;
  function.maxStack = TRY(ReadUnsigned<std::uint8_t>());
  TRY(ReadDebugData(function));
  TRY(ReadConstants(function));

  const std::int32_t functionCount = TRY(ReadCount());
  for (std::int32_t i = 0; i < functionCount; ++i)
    TRY(ReadFunction(function.functions.emplace_back(), function.source, depth + 1));

  const std::int32_t codeCount = TRY(ReadCount());
  for (std::int32_t i = 0; i < codeCount; ++i)
    function.code.push_back(TRY(ReadUnsigned<std::uint32_t>()));
  return VerifyFunction(function);
}

}  // namespace

Result<ImageFunction> ReadImage(std::span<const std::uint8_t> image, std::string_view chunkName) {
  Reader reader(image);
  TRY(reader.ReadHeader());
  ImageFunction function;
  TRY(reader.ReadFunction(function, chunkName, 1));
  return function;
}

}  // namespace quillmere
