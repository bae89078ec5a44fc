#include <type_traits>

#include "base/byte_order.h"
#include "vm/image.h"

namespace quillmere {
namespace {

class Writer {
 public:
  explicit Writer(ImageOptions options) : options_(options) {}

  void WriteHeader() {
    out_.append(imageSignature);
    WriteByte(options_.byteOrder == std::endian::little ? 1 : 0);
    for (const int size : {4, 4, 4, 6, 8, 9, 9, 8}) WriteByte(size);
    WriteDouble(31415926.535897933);
  }

  void WriteFunction(const ImageFunction& function, const ImageFunction* parent);

  std::string Finish() { return std::move(out_); }

 private:
  template <class T>
  void WriteUnsigned(T value) {
    std::uint8_t bytes[sizeof(T)];
    if (options_.byteOrder == std::endian::little) {
      StoreLittle<T>(bytes, value);
    } else {
      StoreBig<T>(bytes, value);
    }
    out_.append(reinterpret_cast<const char*>(bytes), sizeof bytes);
  }

  void WriteByte(int value) { out_.push_back(static_cast<char>(value)); }
  void WriteInt(std::int32_t value) { WriteUnsigned(static_cast<std::uint32_t>(value)); }
  void WriteCount(std::size_t count) { WriteUnsigned(static_cast<std::uint32_t>(count)); }
  void WriteDouble(double value) { WriteUnsigned(std::bit_cast<std::uint64_t>(value)); }
  void WriteAbsentString() { WriteCount(0); }
  void WriteString(const std::string& text) {
    WriteCount(text.size() + 1);
    out_.append(text.c_str(), text.size() + 1);
  }

  void WriteDebugData(const ImageFunction& function);
  void WriteConstant(const ImageConstant& constant);

  ImageOptions options_;
  std::string out_;
};

void Writer::WriteDebugData(const ImageFunction& function) {
  if (options_.strip) {
    for (int i = 0; i < 3; ++i) WriteCount(0);
    return;
  }
  WriteCount(function.lines.size());
  for (const std::int32_t line : function.lines) WriteInt(line);
  WriteCount(function.locals.size());
  for (const ImageLocal& local : function.locals) {
    WriteString(local.name);
    WriteInt(local.startPc);
    WriteInt(local.endPc);
  }
  WriteCount(function.upvalueNames.size());
  for (const std::string& name : function.upvalueNames) WriteString(name);
}

void Writer::WriteConstant(const ImageConstant& constant) {
  if (const double* number = std::get_if<double>(&constant)) {
    WriteByte(3);
    WriteDouble(*number);
  } else if (const std::string* text = std::get_if<std::string>(&constant)) {
    WriteByte(4);
    WriteString(*text);
  } else {
    WriteByte(0);
  }
}

void Writer::WriteFunction(const ImageFunction& function, const ImageFunction* parent) {
  if (options_.strip || (parent != nullptr && parent->source == function.source)) {
    WriteAbsentString();
  } else {
    WriteString(function.source);
  }
  WriteInt(function.lineDefined);
  WriteByte(function.upvalueCount);
  WriteByte(function.paramCount);
  WriteByte(function.isVarArg ? 1 : 0);
  WriteByte(function.maxStack);
  WriteDebugData(function);
  WriteCount(function.constants.size());
  for (const ImageConstant& constant : function.constants) WriteConstant(constant);
  WriteCount(function.functions.size());
  for (const ImageFunction& inner : function.functions) WriteFunction(inner, &function);
  WriteCount(function.code.size());
  for (const VmInstruction word : function.code) WriteUnsigned(word);
}

}  // namespace

std::string WriteImage(const ImageFunction& function, ImageOptions options) {
  Writer writer(options);
  writer.WriteHeader();
  writer.WriteFunction(function, nullptr);
  return writer.Finish();
}

}  // namespace quillmere
