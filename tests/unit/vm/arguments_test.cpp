// The layers above the bare machine: arguments and fields with their messages, registration,
// references, lists with a size, the string builder.
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "base/messages.h"
#include "unit/vm/machine.h"

namespace quillmere {
namespace {

using Push = std::function<void(VmState&)>;

Push Number(double number) {
  return [=](VmState& state) { vmPushNumber(state, number); };
}
Push Text(const char* text) {
  return [=](VmState& state) { vmPushString(state, text); };
}
void Nil(VmState& state) {
  vmPushNil(state);
}
void Table(VmState& state) {
  vmNewTable(state);
}
void True(VmState& state) {
  vmPushBoolean(state, true);
}

class ArgumentsTest : public testing::Test {
 protected:
  /// What a command that reads its arguments with `read` comes to: the number that `read` gives, or
  /// the message of its failure.
  std::string Read(const std::vector<Push>& arguments,
                   const std::function<double(VmState&)>& read) {
    static const std::function<double(VmState&)>* reading;
    reading = &read;
    vmPushClosure(
        state_,
        [](VmState& state) -> CommandResult {
          vmPushNumber(state, (*reading)(state));
          return 1;
        },
        0);
    for (const Push& push : arguments) push(state_);
    const int code = vmPCall(state_, static_cast<int>(arguments.size()), 1);
    if (code != 0) return ComposeErrorMessage(machine_.host.messages, machine_.host.errors, code);
    std::string result = machine_.Show(-1);
    vmPop(state_, 1);
    return result;
  }

  Machine machine_;
  VmState& state_ = machine_.State();
};

TEST_F(ArgumentsTest, CountsAreChecked) {
  const auto check = [&](int count, int min, int max) {
    return Read(std::vector<Push>(static_cast<std::size_t>(count), Nil), [=](VmState& state) {
      vmCheckArgs(state, min, max);
      return 1.0;
    });
  };
  const std::string few = "Not enough arguments!";
  const std::string many = "Too many arguments for this function!";
  EXPECT_EQ(check(0, 0, 0), "1");
  EXPECT_EQ(check(1, 0, 0), many);
  EXPECT_EQ(check(0, 1, 0), few);
  EXPECT_EQ(check(5, 1, 0), "1");
  EXPECT_EQ(check(1, 2, 3), few);
  EXPECT_EQ(check(3, 2, 3), "1");
  EXPECT_EQ(check(4, 2, 3), many);
  EXPECT_EQ(check(0, 0, 1), "1");
  EXPECT_EQ(check(2, 0, 1), many);
}

TEST_F(ArgumentsTest, NumbersTakeWhatConverts) {
  const auto number = [](VmState& state) { return vmArgNumber(state, 2); };
  const std::string wrong = "Number expected in argument 2!";
  EXPECT_EQ(Read({Nil, Text("12")}, number), "12");
  EXPECT_EQ(Read({Nil, Nil}, number), "0");
  EXPECT_EQ(Read({Nil}, number), wrong);
  EXPECT_EQ(Read({Nil, Text("x")}, number), wrong);
  EXPECT_EQ(Read({Nil, Table}, number), wrong);
  EXPECT_EQ(Read({Nil, True}, number), wrong);
  const auto integer = [](VmState& state) { return vmArgInt(state, 1); };
  EXPECT_EQ(Read({Number(-2.9)}, integer), "-2");
  EXPECT_EQ(Read({Number(1e10)}, integer), "2147483647");
  const auto word = [](VmState& state) { return vmArgUnsigned(state, 1); };
  EXPECT_EQ(Read({Number(4294967295.0)}, word), "4294967295");
  EXPECT_EQ(Read({Number(-1)}, word), "4294967295");
  EXPECT_EQ(Read({Number(2147483648.0)}, word), "2147483648");
  const auto optional = [](VmState& state) { return vmArgOptNumber(state, 1, 5); };
  EXPECT_EQ(Read({}, optional), "5");
  EXPECT_EQ(Read({Nil}, optional), "0") << "Nil is given, and is 0";
  EXPECT_EQ(Read({Table}, optional), "Number expected in argument 1!");
}

TEST_F(ArgumentsTest, OtherKindsAreNamed) {
  const auto length = [](VmState& state) { return vmArgString(state, 1).size(); };
  EXPECT_EQ(Read({Number(12.5)}, length), "4");
  EXPECT_EQ(Read({Nil}, length), "0");
  EXPECT_EQ(Read({}, length), "String expected in argument 1!");
  EXPECT_EQ(Read({Table}, length), "String expected in argument 1!");
  const auto optional = [](VmState& state) { return vmArgOptString(state, 1, "four").size(); };
  EXPECT_EQ(Read({}, optional), "4");
  EXPECT_EQ(Read({Nil}, optional), "0");
  const auto table = [](VmState& state) { return vmArgTable(state, 1), 1.0; };
  EXPECT_EQ(Read({Table}, table), "1");
  EXPECT_EQ(Read({Nil}, table), "Table expected in argument 1!");
  const auto function = [](VmState& state) { return vmArgFunction(state, 1), 1.0; };
  EXPECT_EQ(Read({}, function), "Function expected in argument 1!");
}

TEST_F(ArgumentsTest, PercentagesAreSharesOfABase) {
  bool wasRelative = false;
  const auto share = [&](const Push& push, double base, bool above) {
    return Read({push}, [&, base, above](VmState& state) {
      return vmArgPercent(state, 1, base, above, &wasRelative);
    });
  };
  const std::string wrong = "Invalid percent format in argument 1!";
  EXPECT_EQ(share(Number(30), 200, false), "30");
  EXPECT_EQ(share(Text("30"), 200, false), "30");
  EXPECT_EQ(share(Text("25%"), 200, false), "50");
  EXPECT_FALSE(wasRelative);
  EXPECT_EQ(share(Text("25%"), 0, false), "0.25");
  EXPECT_TRUE(wasRelative);
  EXPECT_EQ(share(Text("100%"), 10, false), "10");
  EXPECT_EQ(share(Text("101%"), 10, false), wrong);
  EXPECT_EQ(share(Text("150%"), 10, true), "15");
  EXPECT_EQ(share(Text("-1%"), 10, true), wrong);
  EXPECT_EQ(share(Text("much"), 10, true), wrong);
  EXPECT_EQ(share(Nil, 10, true), "Number expected in argument 1!");
  EXPECT_EQ(share(Table, 10, true), "String or number expected in argument 1!");
}

TEST_F(ArgumentsTest, IdentifiersAreNumbersOrHandles) {
  vmPushId(state_, {7, 0});
  vmPushId(state_, {0, 4096});
  vmPushNil(state_);
  EXPECT_EQ(vmArgId(state_, 1), (ObjectId{7, 0}));
  EXPECT_EQ(vmArgId(state_, 2), (ObjectId{0, 4096}));
  EXPECT_FALSE(vmArgIdIsNil(state_, 2));
  EXPECT_TRUE(vmArgIdIsNil(state_, 3));
  EXPECT_TRUE(vmArgNewId(state_, 3).AsksForHandle());
  EXPECT_EQ(vmArgNewId(state_, 1), (ObjectId{7, 0}));
}

TEST_F(ArgumentsTest, FieldsKeepTheDefaultWhenTheyAreAbsent) {
  vmNewTable(state_);
  vmSetFieldNumber(state_, "number", -2.5);
  vmSetFieldInt(state_, "high", -1);
  vmSetFieldString(state_, "text", "12");
  vmSetFieldId(state_, "id", {0, 64});
  const int top = vmGetTop(state_);

  double number = 9;
  EXPECT_TRUE(vmGetFieldNumber(state_, 1, "number", number));
  EXPECT_EQ(number, -2.5);
  EXPECT_TRUE(vmGetFieldNumber(state_, -1, "text", number)) << "a text that converts";
  EXPECT_EQ(number, 12);
  EXPECT_FALSE(vmGetFieldNumber(state_, 1, "none", number));
  EXPECT_EQ(number, 12);
  std::int32_t integer = 0;
  EXPECT_TRUE(vmGetFieldInt(state_, 1, "number", integer));
  EXPECT_EQ(integer, -2);
  std::uint32_t word = 0;
  EXPECT_TRUE(vmGetFieldUnsigned(state_, 1, "high", word));
  EXPECT_EQ(word, 0xFFFFFFFFu);
  std::string text = "kept";
  EXPECT_FALSE(vmGetFieldString(state_, 1, "none", text));
  EXPECT_EQ(text, "kept");
  EXPECT_TRUE(vmGetFieldString(state_, 1, "number", text));
  EXPECT_EQ(text, "-2.5");
  bool flag = false;
  EXPECT_TRUE(vmGetFieldBool(state_, 1, "number", flag));
  EXPECT_TRUE(flag);
  ObjectId id;
  EXPECT_TRUE(vmGetFieldId(state_, 1, "id", id));
  EXPECT_EQ(id, (ObjectId{0, 64}));
  EXPECT_EQ(vmGetTop(state_), top);
}

TEST_F(ArgumentsTest, FieldsOfAWrongKindAreNamed) {
  const auto read = [&](const Push& push, const std::function<void(VmState&)>& reader) {
    return Read({Table}, [&](VmState& state) {
      vmPushString(state, "width");
      push(state);
      vmSetTable(state, 1);
      reader(state);
      return vmGetTop(state);
    });
  };
  double number = 0;
  std::string text;
  std::int32_t rectangle[4] = {};
  const auto readNumber = [&](VmState& state) { vmGetFieldNumber(state, 1, "width", number); };
  const auto readText = [&](VmState& state) { vmGetFieldString(state, 1, "width", text); };
  const auto readShare = [&](VmState& state) {
    vmGetFieldPercent(state, 1, "width", 50, false, number);
  };
  const auto readRectangle = [&](VmState& state) { vmGetFieldRect(state, 1, "width", rectangle); };
  EXPECT_EQ(read(Text("x"), readNumber), "Number expected in table argument \"width\"!");
  EXPECT_EQ(read(Table, readText), "String expected in table argument \"width\"!");
  EXPECT_EQ(read(Text("50%"), readShare), "1");
  EXPECT_EQ(number, 25);
  EXPECT_EQ(read(Text("101%"), readShare), "Invalid percent format in argument 1!");
  const auto four = [](int count, const Push& last) {
    return [=](VmState& state) {
      vmNewTable(state);
      for (int i = 0; i < count; ++i) {
        i == count - 1 ? last(state) : vmPushNumber(state, i + 1);
        vmRawSetInt(state, -2, i);
      }
    };
  };
  EXPECT_EQ(read(four(4, Number(4)), readRectangle), "1");
  EXPECT_EQ(std::vector(rectangle, rectangle + 4), std::vector({1, 2, 3, 4}));
  EXPECT_EQ(read(four(3, Number(3)), readRectangle), "Not enough arguments!");
  EXPECT_EQ(read(four(4, Table), readRectangle), "Number expected in table argument \"width\"!");
}

TEST_F(ArgumentsTest, FieldsAreReadWithEvents) {
  vmNewTable(state_);
  vmNewTable(state_);
  vmPushString(state_, "__index");
  vmNewTable(state_);
  vmSetFieldNumber(state_, "inherited", 3);
  vmRawSet(state_, -3);
  vmSetMetaTable(state_, 1);
  double number = 0;
  EXPECT_TRUE(vmGetFieldNumber(state_, 1, "inherited", number));
  EXPECT_EQ(number, 3);
}

CommandResult Upvalues(VmState& state) {
  vmPushValue(state, vmUpvalueIndex(1));
  vmPushValue(state, vmUpvalueIndex(2));
  return 2;
}

constexpr VmCommandEntry upvalueCommands[] = {{"LoadBrush", Upvalues}, {"Other", Upvalues}};

TEST_F(ArgumentsTest, CommandsAreRegisteredInLowerCase) {
  vmPushNumber(state_, 1);
  vmPushString(state_, "two");
  vmRegisterCommands(state_, "Lib", upvalueCommands, 2);
  vmPushString(state_, "Lib");
  vmRawGet(state_, vmGlobalsIndex);
  ASSERT_EQ(vmType(state_, -1), VmType::Table);
  const int library = vmGetTop(state_);
  vmPushString(state_, "LoadBrush");
  vmRawGet(state_, library);
  EXPECT_EQ(vmType(state_, -1), VmType::Nil);
  vmPushString(state_, "loadbrush");
  vmRawGet(state_, library);
  EXPECT_EQ(machine_.Call(), "1 \"two\"");
}

TEST_F(ArgumentsTest, CommandsAreCalledByNameInAnyCase) {
  machine_.Register(std::array{
      VmCommandEntry{"Count",
                     [](VmState& state) -> CommandResult {
                       vmPushNumber(state, vmGetTop(state));
                       return 1;
                     }},
      VmCommandEntry{"Fail", [](VmState&) -> CommandResult { return Error::WrongUsage; }}});
  const ObjectId id{3, 0};
  EXPECT_EQ(vmCallCommand(state_, "cOUNT", 1,
                          {-1, 4294967295u, 2.5, std::string_view("text"), std::monostate(),
                           static_cast<void*>(this), id}),
            0);
  EXPECT_EQ(machine_.Show(-1), "7");
  vmSetTop(state_, 0);
  vmPushString(state_, "last");
  EXPECT_EQ(vmCallCommandWith(state_, "Count", 1, {1, 2}, 1), 0);
  EXPECT_EQ(machine_.Show(1), "3");
  EXPECT_EQ(vmCallCommand(state_, "fail", 0, {}), static_cast<int>(Error::WrongUsage));
  const int code =
      vmProtectedRun(state_, [&] { static_cast<void>(vmCallCommand(state_, "Missing", 0, {})); });
  EXPECT_EQ(code, static_cast<int>(Error::FunctionNotFound));
  EXPECT_EQ(machine_.host.errors.argument, "Missing()");
}

TEST_F(ArgumentsTest, ReferencesAreUsedAgain) {
  const auto refer = [&](int value) {
    vmPushNumber(state_, value);
    return vmRef(state_, vmRegistryIndex);
  };
  const auto read = [&](int reference) {
    vmRawGetInt(state_, vmRegistryIndex, reference);
    const double value = vmToNumber(state_, -1);
    vmPop(state_, 1);
    return value;
  };
  std::vector<int> references;
  for (int i = 0; i < 5; ++i) references.push_back(refer(i));
  EXPECT_GT(references.front(), 2) << "the first two entries are the list's own";
  for (int i = 0; i < 5; ++i) EXPECT_EQ(read(references[static_cast<std::size_t>(i)]), i);
  vmUnref(state_, vmRegistryIndex, references[1]);
  vmUnref(state_, vmRegistryIndex, references[3]);
  vmUnref(state_, vmRegistryIndex, vmNoRef);
  // The last one given back comes first.
  EXPECT_EQ(refer(10), references[3]);
  EXPECT_EQ(refer(11), references[1]);
  const std::set<int> before(references.begin(), references.end());
  EXPECT_FALSE(before.contains(refer(12)));
  EXPECT_EQ(read(references[4]), 4);
  vmPushNil(state_);
  EXPECT_EQ(vmRef(state_, vmRegistryIndex), vmNoRef);
  EXPECT_EQ(vmGetTop(state_), 0);
}

TEST_F(ArgumentsTest, SizesOfListsComeFromTheFieldElseFromAside) {
  vmNewTable(state_);
  for (int i = 1; i <= 3; ++i) {
    vmPushNumber(state_, i);
    vmRawSetInt(state_, 1, i);
  }
  EXPECT_EQ(vmListSize(state_, 1), 3) << "counted";
  vmListSetSize(state_, 1, 10);
  EXPECT_EQ(vmListSize(state_, 1), 10) << "kept aside";
  EXPECT_FALSE(vmPushField(state_, 1, "n"));
  vmSetFieldNumber(state_, "n", 4);
  EXPECT_EQ(vmListSize(state_, 1), 4) << "the field";
  vmListSetSize(state_, 1, 5);
  double n = 0;
  EXPECT_TRUE(vmGetFieldNumber(state_, 1, "n", n));
  EXPECT_EQ(n, 5);
  // What is kept aside does not keep the list alive.
  vmSetTop(state_, 0);
  vmCollect(state_);
  vmRawGetInt(state_, vmRegistryIndex, 2);
  vmPushNil(state_);
  EXPECT_FALSE(vmNext(state_, 1));
}

TEST_F(ArgumentsTest, CallbacksAnswerWithTheirOwnCodes) {
  vmNewTable(state_);
  vmPushString(state_, "3");
  Error code = Error::None;
  EXPECT_EQ(vmResultNumber(state_, 2, code), 3);
  EXPECT_EQ(vmResultString(state_, 2, code), "3");
  EXPECT_EQ(code, Error::None);
  EXPECT_EQ(vmResultNumber(state_, 1, code), 0);
  EXPECT_EQ(code, Error::CallbackNumberExpected);
  EXPECT_EQ(vmResultString(state_, 1, code), "");
  EXPECT_EQ(code, Error::CallbackStringExpected);
}

TEST_F(ArgumentsTest, TheBuilderMakesOneStringOfManyPieces) {
  VmBuffer buffer;
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    buffer.AddChar(static_cast<char>(i));
    buffer.AddBytes(std::to_string(i));
    expected += static_cast<char>(i);
    expected += std::to_string(i);
  }
  buffer.Finish(state_);
  EXPECT_EQ(vmToBytes(state_, -1), expected);
  buffer.Finish(state_);
  EXPECT_EQ(vmToBytes(state_, -1), "") << "it starts anew";
  EXPECT_STREQ(vmPushFormat(state_, "%s is %d, %f%c %%", "it", -3, 0.5, '!'), "it is -3, 0.5! %");
}

}  // namespace
}  // namespace quillmere
