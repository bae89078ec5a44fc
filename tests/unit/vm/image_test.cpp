#include "vm/image.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

namespace quillmere {
namespace {

std::span<const std::uint8_t> Bytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

ImageFunction Minimal() {
  ImageFunction function;
  function.source = "@test";
  function.code = {vmEncodeABC(OP_RETURN, 0, 1, 0)};
  return function;
}

ImageFunction Rich() {
  ImageFunction function = Minimal();
  function.maxStack = 20;
  function.isVarArg = true;
  function.paramCount = 3;
  function.constants = {3.25, std::string("na\0me", 5), std::monostate(), -0.0};
  function.locals = {{"x", 0, 2}, {"y", -1, 7}};
  function.code = {vmEncodeABx(OP_GETGLOBAL, 0, 1), vmEncodeABx(OP_CLOSURE, 1, 0),
                   vmEncodeABC(OP_MOVE, 0, 0, 0), vmEncodeABC(OP_RETURN, 0, 1, 0)};
  function.lines = {10, 20, 30, -5};
  ImageFunction inner = Minimal();
  inner.upvalueCount = 1;
  inner.upvalueNames = {"up"};
  inner.lineDefined = 12;
  function.functions = {inner};
  inner.source = "@other";
  inner.upvalueNames.clear();
  function.functions.push_back(inner);
  return function;
}

Error LoadError(const std::string& image) {
  const auto result = ReadImage(Bytes(image), "chunk");
  return result ? Error::None : result.error();
}

Error VerifyError(const ImageFunction& function) {
  const auto status = VerifyFunction(function);
  return status ? Error::None : status.error();
}

TEST(Image, BothByteOrdersComeBackWhole) {
  for (const std::endian order : {std::endian::little, std::endian::big}) {
    const ImageFunction in = Rich();
    const std::string image = WriteImage(in, {.byteOrder = order});
    EXPECT_EQ(image[4], order == std::endian::little ? 1 : 0);
    const auto read = ReadImage(Bytes(image), "chunk");
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->source, "@test");
    EXPECT_EQ(read->paramCount, 3);
    EXPECT_TRUE(read->isVarArg);
    EXPECT_EQ(read->lines, in.lines);
    EXPECT_EQ(read->code, in.code);
    EXPECT_EQ(read->constants, in.constants);
    ASSERT_EQ(read->locals.size(), 2u);
    EXPECT_EQ(read->locals[1].name, "y");
    EXPECT_EQ(read->locals[1].startPc, -1);
    EXPECT_EQ(read->locals[1].endPc, 7);
    ASSERT_EQ(read->functions.size(), 2u);
    EXPECT_EQ(read->functions[0].upvalueNames, std::vector<std::string>{"up"});
    EXPECT_EQ(read->functions[0].lineDefined, 12);
    EXPECT_EQ(WriteImage(*read, {.byteOrder = order}), image);
  }
}

TEST(Image, SourcesAreInherited) {
  const std::string image = WriteImage(Rich());
  const auto read = ReadImage(Bytes(image), "chunk");
  ASSERT_TRUE(read.has_value());
  EXPECT_EQ(read->functions[0].source, "@test");
  EXPECT_EQ(read->functions[1].source, "@other");

  const auto stripped = ReadImage(Bytes(WriteImage(Rich(), {.strip = true})), "chunk");
  ASSERT_TRUE(stripped.has_value());
  EXPECT_EQ(stripped->source, "chunk");
  EXPECT_EQ(stripped->functions[1].source, "chunk");
  EXPECT_TRUE(stripped->lines.empty());
  EXPECT_TRUE(stripped->locals.empty());
  EXPECT_TRUE(stripped->functions[0].upvalueNames.empty());
}

TEST(Image, ACutAtAnyByteIsAnEarlyEnd) {
  const std::string image = WriteImage(Rich());
  for (std::size_t length = 0; length < image.size(); ++length)
    EXPECT_EQ(LoadError(image.substr(0, length)), Error::UnexpectedEndOfFile) << length;
  EXPECT_EQ(LoadError(image + "rest"), Error::None);
}

TEST(Image, HeaderFaultsHaveTheirCodes) {
  const std::string image = WriteImage(Minimal());
  const auto withByte = [&](std::size_t at, char value) {
    std::string changed = image;
    changed[at] = value;
    return LoadError(changed);
  };
  EXPECT_EQ(withByte(1, 'X'), Error::BadBytecodeSignature);
  for (std::size_t at = 5; at <= 12; ++at) EXPECT_EQ(withByte(at, 7), Error::TypeMismatch) << at;
  EXPECT_EQ(withByte(17, 0x33), Error::BadBytecodeNumberFormat);
  // A byte order that is neither of the two is not this machine's own.
  EXPECT_EQ(withByte(4, 2), Error::BadBytecodeNumberFormat);
  // The last bytes of the test number are beyond the point.
  EXPECT_EQ(withByte(std::endian::native == std::endian::little ? 13 : 20, 0), Error::None);
}

TEST(Image, BodyFaultsHaveTheirCodes) {
  const std::string image = WriteImage(Minimal());
  const std::size_t body = 21 + 4 + 6;
  const auto withInt = [&](std::size_t at, std::int32_t value) {
    std::string changed = image;
    std::memcpy(&changed[at], &value, sizeof value);
    return LoadError(changed);
  };
  EXPECT_EQ(withInt(body, -1), Error::BadBytecodeInteger) << "line defined";
  const std::size_t counts = body + 4 + 4;
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(withInt(counts + 4u * static_cast<unsigned>(i), -1), Error::BadBytecodeInteger) << i;
    EXPECT_NE(withInt(counts + 4u * static_cast<unsigned>(i), 0x7FFFFFFF), Error::None) << i;
  }
  EXPECT_EQ(withInt(counts + 8, 1), Error::BadBytecodeUpvalues);

  ImageFunction function = Minimal();
  function.constants = {std::monostate()};
  std::string changed = WriteImage(function);
  changed[changed.size() - 13] = 1;
  EXPECT_EQ(LoadError(changed), Error::BadBytecodeConstant);
}

TEST(Image, NestingEndsAtTheLimit) {
  const auto nested = [](int depth) {
    ImageFunction function = Minimal();
    for (int i = 1; i < depth; ++i) {
      ImageFunction outer = Minimal();
      outer.functions.push_back(std::move(function));
      function = std::move(outer);
    }
    return LoadError(WriteImage(function));
  };
  EXPECT_EQ(nested(vmMaxImageDepth), Error::None);
  EXPECT_EQ(nested(vmMaxImageDepth + 1), Error::BadBytecode);
}

TEST(Image, ManyNilConstantsAreRefusedBeforeTheyFillMemory) {
  ImageFunction function = Minimal();
  function.constants.resize(1);
  EXPECT_EQ(LoadError(WriteImage(function)), Error::None);
  function.constants.resize(100'000);
  EXPECT_EQ(LoadError(WriteImage(function)), Error::BadBytecode);
}

/// A function of ten registers, two constants (a number, a string), one upvalue and one nested
/// function of one upvalue, whose code is the given words and a return.
ImageFunction WithCode(std::vector<VmInstruction> code) {
  ImageFunction function = Minimal();
  function.maxStack = 10;
  function.upvalueCount = 1;
  function.constants = {1.0, std::string("key")};
  function.functions = {Minimal()};
  function.functions[0].upvalueCount = 1;
  code.push_back(vmEncodeABC(OP_RETURN, 0, 1, 0));
  function.code = std::move(code);
  return function;
}

struct VerifierCase {
  const char* what;
  std::vector<VmInstruction> good;
  std::vector<VmInstruction> bad;
};

TEST(Verifier, RefusesWhatLeavesFrameConstantsOrCode) {
  const VmInstruction jump = vmEncodeJump(0, 0);
  const VmInstruction move = vmEncodeABC(OP_MOVE, 0, 0, 0);
  const int k1 = vmRkConstant(1);
  const int k2 = vmRkConstant(2);
  const VerifierCase cases[] = {
      {"A", {vmEncodeABC(OP_MOVE, 9, 0, 0)}, {vmEncodeABC(OP_MOVE, 10, 0, 0)}},
      {"unknown op", {vmEncodeABC(VmOp(50), 9, 511, 511)}, {vmEncodeABC(VmOp(50), 10, 0, 0)}},
      {"B register", {vmEncodeABC(OP_MOVE, 0, 9, 0)}, {vmEncodeABC(OP_MOVE, 0, 10, 0)}},
      {"B not RK", {}, {vmEncodeABC(OP_MOVE, 0, k1, 0)}},
      {"Bx constant", {vmEncodeABx(OP_LOADK, 0, 1)}, {vmEncodeABx(OP_LOADK, 0, 2)}},
      {"RK register", {vmEncodeABC(OP_ADD, 0, 9, 9)}, {vmEncodeABC(OP_ADD, 0, 9, 10)}},
      {"RK constant", {vmEncodeABC(OP_ADD, 0, k1, k1)}, {vmEncodeABC(OP_ADD, 0, k2, 0)}},
      {"test", {vmEncodeABC(OP_EQ, 1, 0, 0), jump}, {vmEncodeABC(OP_EQ, 1, 0, 0), move}},
      {"test at the end", {}, {vmEncodeABC(OP_TEST, 1, 0, 0)}},
      {"LOADNUM skip",
       {vmEncodeABC(OP_LOADNUM, 0, 1, 1), move},
       {vmEncodeABC(OP_LOADNUM, 0, 1, 1)}},
      {"upvalue", {vmEncodeABC(OP_GETUPVAL, 0, 0, 0)}, {vmEncodeABC(OP_GETUPVAL, 0, 1, 0)}},
      {"set upvalue", {vmEncodeABC(OP_SETUPVAL, 0, 0, 0)}, {vmEncodeABC(OP_SETUPVAL, 0, 1, 0)}},
      {"global", {vmEncodeABx(OP_GETGLOBAL, 0, 1)}, {vmEncodeABx(OP_GETGLOBAL, 0, 0)}},
      {"set global", {vmEncodeABx(OP_SETGLOBAL, 0, 1)}, {vmEncodeABx(OP_SETGLOBAL, 0, 0)}},
      {"concat", {vmEncodeABC(OP_CONCAT, 0, 1, 2)}, {vmEncodeABC(OP_CONCAT, 0, 2, 2)}},
      {"concat constant", {}, {vmEncodeABC(OP_CONCAT, 0, 1, k1)}},
      {"jump forward", {jump}, {vmEncodeJump(0, 1)}},
      {"jump back", {vmEncodeJump(0, -1)}, {vmEncodeJump(0, -2)}},
      {"call arguments", {vmEncodeABC(OP_CALL, 5, 5, 1)}, {vmEncodeABC(OP_CALL, 5, 6, 1)}},
      {"call results", {vmEncodeABC(OP_CALL, 5, 1, 6)}, {vmEncodeABC(OP_CALL, 5, 1, 7)}},
      {"open results",
       {vmEncodeABC(OP_CALL, 0, 1, 0), vmEncodeABx(OP_SETLISTO, 0, 0)},
       {vmEncodeABC(OP_CALL, 0, 1, 0), move}},
      {"open results into a call",
       {vmEncodeABC(OP_CALL, 1, 1, 0), vmEncodeABC(OP_CALL, 0, 0, 1)},
       {vmEncodeABC(OP_CALL, 1, 1, 0), vmEncodeABC(OP_CALL, 0, 2, 1)}},
      {"return", {vmEncodeABC(OP_RETURN, 5, 6, 0)}, {vmEncodeABC(OP_RETURN, 5, 7, 0)}},
      {"return with an odd C", {}, {vmEncodeABC(OP_RETURN, 5, 7, 2)}},
      {"subroutine return", {vmEncodeABC(OP_RETURN, 5, 7, 1)}, {}},
      {"for loop registers", {vmEncodeAsBx(OP_FORLOOP, 7, 0)}, {vmEncodeAsBx(OP_FORLOOP, 8, 0)}},
      {"for loop target", {vmEncodeAsBx(OP_FORLOOP, 0, -1)}, {vmEncodeAsBx(OP_FORLOOP, 0, -2)}},
      {"generic loop",
       {vmEncodeABC(OP_TFORLOOP, 3, 0, 1), jump},
       {vmEncodeABC(OP_TFORLOOP, 4, 0, 1), jump}},
      {"generic loop start", {vmEncodeAsBx(OP_TFORPREP, 8, 0)}, {vmEncodeAsBx(OP_TFORPREP, 9, 0)}},
      {"generic loop target", {}, {vmEncodeAsBx(OP_TFORPREP, 0, 1)}},
      {"list", {vmEncodeABx(OP_SETLIST, 2, 32 + 6)}, {vmEncodeABx(OP_SETLIST, 2, 32 + 7)}},
      {"closure", {vmEncodeABx(OP_CLOSURE, 0, 0), move}, {vmEncodeABx(OP_CLOSURE, 0, 1), move}},
      {"closure upvalues", {}, {vmEncodeABx(OP_CLOSURE, 0, 0)}},
      {"self", {vmEncodeABC(OP_SELF, 8, 0, k1)}, {vmEncodeABC(OP_SELF, 9, 0, k1)}},
  };
  for (const VerifierCase& test : cases) {
    EXPECT_EQ(VerifyError(WithCode(test.good)), Error::None) << test.what;
    if (test.bad.empty()) continue;
    EXPECT_EQ(VerifyError(WithCode(test.bad)), Error::BadBytecode) << test.what;
  }
}

TEST(Verifier, FrameIsChecked) {
  const auto with = [](const std::function<void(ImageFunction&)>& change) {
    ImageFunction function = WithCode({});
    change(function);
    return VerifyError(function);
  };
  EXPECT_EQ(with([](auto& f) { f.maxStack = 250; }), Error::None);
  EXPECT_EQ(with([](auto& f) { f.maxStack = 251; }), Error::BadBytecode);
  EXPECT_EQ(with([](auto& f) { f.paramCount = 10; }), Error::None);
  EXPECT_EQ(with([](auto& f) { f.paramCount = 11; }), Error::BadBytecode);
  EXPECT_EQ(with([](auto& f) {
              f.paramCount = 10;
              f.isVarArg = true;
            }),
            Error::BadBytecode);
  EXPECT_EQ(with([](auto& f) { f.lines = {1}; }), Error::None);
  EXPECT_EQ(with([](auto& f) { f.lines = {1, 2}; }), Error::BadBytecode);
  EXPECT_EQ(with([](auto& f) { f.code.clear(); }), Error::BadBytecode);
  EXPECT_EQ(with([](auto& f) { f.code = {vmEncodeABC(OP_MOVE, 0, 0, 0)}; }), Error::BadBytecode);
}

}  // namespace
}  // namespace quillmere
