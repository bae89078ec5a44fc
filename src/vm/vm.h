// The border between the script machine and the rest of the program. A command is a native function
// that reads its arguments from a stack, pushes its results there, and hands back how many there
// are or an error code. Everything that native code may do with the machine is declared here; the
// machine's own records stay behind it.
//
// Indices: a positive index counts from the frame's base (1 is the first argument), a negative one
// from the top (-1 is the top), and three pseudo indices address values outside the stack. The
// value at a positive index past the top is "none".
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "base/error.h"
#include "base/host.h"
#include "vm/object_id.h"

namespace quillmere {

struct VmState;

/// Kinds of values. -1, which is no kind, stands for "none".
enum class VmType : int {
  None = -1,
  Nil = 0,
  Boolean = 1,
  Light = 2,
  Number = 3,
  String = 4,
  Table = 5,
  Function = 6,
  Userdata = 7,
  Thread = 8
};

inline constexpr int vmRegistryIndex = -10000;
inline constexpr int vmGlobalsIndex = -10001;
/// The index of upvalue `i` (from 1) of the running native.
[[nodiscard]] constexpr int vmUpvalueIndex(int i) {
  return vmGlobalsIndex - i;
}

/// For `resultCount` of a call: keep all results.
inline constexpr int vmMultipleResults = -1;
/// A command can hand back at most this many results.
inline constexpr int vmMaxResults = 999;

/// What a command hands back: a count of results on top of the stack (0 to 999), an error code
/// (1000 and up), or a label jump (-1, -2).
class CommandResult {
 public:
  constexpr CommandResult(int resultCount) : value_(resultCount) {}  // NOLINT: meant to convert
  constexpr CommandResult(Error error) : value_(static_cast<int>(error)) {}  // NOLINT
  constexpr CommandResult(std::unexpected<Error> failure)                    // NOLINT
      : value_(static_cast<int>(failure.error())) {}
  CommandResult(const Status& status)  // NOLINT
      : value_(status ? 0 : static_cast<int>(status.error())) {}

  [[nodiscard]] constexpr int Value() const { return value_; }

 private:
  int value_;
};

using VmNative = CommandResult (*)(VmState& state);

/// One row of a library's table of commands; the name is in its shown spelling.
struct VmCommandEntry {
  const char* name;
  VmNative function;
};

/// One row of a library's table of constants: a text, or a number when `text` is null.
struct VmConstantEntry {
  const char* name;
  const char* text;
  double value;
};

/// The exception that carries an error code through the machine. It is thrown by `vmRaise` and
/// `vmThrow` alone and caught by the machine's protected calls; nothing else catches it.
struct VmException {
  Error code;
};

// States.

/// Creates a machine over the program's host, which must outlive it. Null when memory is out.
[[nodiscard]] VmState* vmOpen(Host& host);
/// Closes the machine and frees all that it holds.
void vmClose(VmState* state);

/// The program that the machine belongs to.
[[nodiscard]] Host& vmHost(VmState& state);
/// A room's state record.
template <class State>
[[nodiscard]] State& vmRoom(VmState& state) {
  return vmHost(state).Of<State>();
}

// Stack.

[[nodiscard]] int vmGetTop(VmState& state);
/// A non-negative index fills with nil or cuts; a negative one cuts relative to the top (-1 keeps).
void vmSetTop(VmState& state, int index);
inline void vmPop(VmState& state, int count) {
  vmSetTop(state, -count - 1);
}
/// Makes room for `count` more values; false when the frame would pass 2048 slots.
[[nodiscard]] bool vmCheckStack(VmState& state, int count);
void vmPushValue(VmState& state, int index);
void vmRemove(VmState& state, int index);
/// Moves the top to `index`, shifting up what is there.
void vmInsert(VmState& state, int index);

void vmPushNil(VmState& state);
void vmPushBoolean(VmState& state, bool value);
void vmPushNumber(VmState& state, double value);
void vmPushLight(VmState& state, void* pointer);
/// Pushes a text; the machine keeps its own copy. Null pushes nil. May collect.
void vmPushString(VmState& state, const char* text);
/// Pushes bytes, zeros included, as a string. May collect.
void vmPushBytes(VmState& state, std::string_view bytes);
/// Pushes a text without ever collecting, for start-up and for loops over known keys.
void vmPushStringFast(VmState& state, std::string_view text);
/// Pushes a native function with `upvalueCount` upvalues taken from the top.
void vmPushClosure(VmState& state, VmNative function, int upvalueCount);
/// Pushes a text composed with `%d` (int), `%f` (double), `%s` (const char*), `%c` (int), `%%`.
const char* vmPushFormat(VmState& state, const char* format, ...);
/// Pushes the identifier of an object: its number, or its handle as a light value.
void vmPushId(VmState& state, const ObjectId& id);

// Tables and userdata.

void vmNewTable(VmState& state);
/// Pushes a new userdata of `size` bytes and returns its block, which the machine owns.
void* vmNewUserdata(VmState& state, std::size_t size);
/// Replaces the key on top by the value; events run.
void vmGetTable(VmState& state, int index);
/// Stores the value on top under the key below it and pops both; events run.
void vmSetTable(VmState& state, int index);
void vmRawGet(VmState& state, int index);
void vmRawSet(VmState& state, int index);
/// Pushes the entry of an integer key, without events.
void vmRawGetInt(VmState& state, int index, int key);
/// Pops the value on top into the entry of an integer key, without events.
void vmRawSetInt(VmState& state, int index, int key);
/// The count of a script's list: the entries from index 0 up to the first nil, without events.
[[nodiscard]] int vmCountItems(VmState& state, int index);
/// Copies the entries of `count` indices from `from` on to the indices from `to` on, without
/// events; the two ranges may overlap.
void vmCopyItems(VmState& state, int index, int from, int to, int count);
/// Pops a table, or nil for the default metatable, and sets it; false for a value that can have
/// none.
bool vmSetMetaTable(VmState& state, int index);
/// Pushes the metatable and returns true; false, with nothing pushed, for the default.
[[nodiscard]] bool vmGetMetaTable(VmState& state, int index);
/// With a key on top: replaces it by the next key and its value, or pops it and returns false.
[[nodiscard]] bool vmNext(VmState& state, int index);
/// Joins that many values from the top into one string; 0 pushes the empty string.
void vmConcat(VmState& state, int count);

// Reading values.

[[nodiscard]] VmType vmType(VmState& state, int index);
/// True for a number, a string that converts, and nil.
[[nodiscard]] bool vmIsNumber(VmState& state, int index);
/// True for a string or a number.
[[nodiscard]] bool vmIsString(VmState& state, int index);
/// True for a native function.
[[nodiscard]] bool vmIsNative(VmState& state, int index);
/// The number, 0.0 when the value does not convert.
[[nodiscard]] double vmToNumber(VmState& state, int index);
[[nodiscard]] bool vmToBoolean(VmState& state, int index);
/// The text, with a zero behind it; numbers and nil are converted in place. Null for other types.
/// Valid until the next collection. May collect.
[[nodiscard]] const char* vmToString(VmState& state, int index);
/// The same as a view that may hold zeros; empty for values that have no text.
[[nodiscard]] std::string_view vmToBytes(VmState& state, int index);
[[nodiscard]] std::size_t vmStringLength(VmState& state, int index);
/// The address of a collectable, the pointer of a light value, null for others.
[[nodiscard]] const void* vmToPointer(VmState& state, int index);
/// The block of a userdata, the pointer of a light value, null for others.
[[nodiscard]] void* vmToUserdata(VmState& state, int index);
/// The native function at an index, or null.
[[nodiscard]] VmNative vmToNative(VmState& state, int index);
[[nodiscard]] bool vmRawEqual(VmState& state, int index1, int index2);
[[nodiscard]] bool vmEqual(VmState& state, int index1, int index2);
[[nodiscard]] bool vmLessThan(VmState& state, int index1, int index2);

// Calls and errors.

/// Calls the function below its `argumentCount` arguments. Returns the code of a called native, or
/// 0; an error of script code is thrown.
int vmCall(VmState& state, int argumentCount, int resultCount);
/// The same, protected: returns the code of any failure, or 0. On failure the stack is cut to where
/// the function stood.
int vmPCall(VmState& state, int argumentCount, int resultCount);
/// Raises an error whatever `ExitOnError` says. The error argument and index are set before.
[[noreturn]] void vmRaise(VmState& state, Error code);
/// Raises an error with its argument or its index.
[[noreturn]] void vmRaise(VmState& state, Error code, std::string argument);
[[noreturn]] void vmRaise(VmState& state, Error code, int index);
/// Unwinds with a code to the innermost protected call, without noting anything.
[[noreturn]] void vmThrow(VmState& state, Error code);

/// Makes every running activation leave at its next instruction.
void vmSetQuitFlag(VmState& state, bool quit);
[[nodiscard]] bool vmQuitFlag(VmState& state);

/// Ways in which a hook is called.
enum class VmHookEvent : int { Call = 0, Return = 1, Line = 2, Count = 3, TailReturn = 4 };
inline constexpr int vmMaskCall = 1;
inline constexpr int vmMaskReturn = 2;
inline constexpr int vmMaskLine = 4;
inline constexpr int vmMaskCount = 8;
using VmHook = void (*)(VmState& state, VmHookEvent event, int line);
/// Installs a hook; null or a zero mask clears it. The line hook runs when the script calls
/// something or jumps backward, but at most every 256th time, so that it costs next to nothing.
void vmSetHook(VmState& state, VmHook hook, int mask, int count);

/// Makes the line hook run at the next chance: for commands that have let time pass.
void vmRequestLineHook(VmState& state);

/// What is known of one running function. Texts are valid while it runs.
struct VmActivation {
  /// The chunk name, "=native" for natives, "?" when unknown.
  std::string source;
  /// The name by which it was called; empty when there is none.
  std::string name;
  /// "global", "local", "method", "field" or empty.
  std::string nameWhat;
  int currentLine = -1;
  /// The line where the function is declared, -1 for natives.
  int lineDefined = -1;
  bool isNative = false;
};
/// Describes the function that runs at a level: 0 is the innermost. False when there is no such
/// level.
[[nodiscard]] bool vmGetActivation(VmState& state, int level, VmActivation& activation);

// Images.

/// Loads a bytecode image and pushes the closure of its main function.
[[nodiscard]] Status vmLoadImage(VmState& state, std::span<const std::uint8_t> image,
                                 std::string_view chunkName);
/// Writes the script function on top of the stack as an image; `strip` leaves out debug data.
[[nodiscard]] Result<std::string> vmDumpImage(VmState& state, bool strip);

// Collector.

/// Sets the threshold in kilobytes, then collects when it is passed.
void vmSetGCThreshold(VmState& state, int kilobytes);
[[nodiscard]] int vmGetGCThreshold(VmState& state);
[[nodiscard]] int vmGetGCCount(VmState& state);

// Arguments. Each failure raises, whatever `ExitOnError` says, with the index in the message.

/// Checks the number of arguments: `min` and `max` both 0 mean none; `max` 0 with `min` above 0
/// means no upper bound.
void vmCheckArgs(VmState& state, int min, int max);
[[nodiscard]] double vmArgNumber(VmState& state, int index);
/// The number truncated toward zero to 32 bits.
[[nodiscard]] std::int32_t vmArgInt(VmState& state, int index);
[[nodiscard]] std::uint32_t vmArgUnsigned(VmState& state, int index);
[[nodiscard]] double vmArgOptNumber(VmState& state, int index, double fallback);
[[nodiscard]] std::int32_t vmArgOptInt(VmState& state, int index, std::int32_t fallback);
[[nodiscard]] std::uint32_t vmArgOptUnsigned(VmState& state, int index, std::uint32_t fallback);
/// A text, with a zero behind it. Valid until the next collection.
[[nodiscard]] std::string_view vmArgString(VmState& state, int index);
[[nodiscard]] std::string_view vmArgOptString(VmState& state, int index, std::string_view fallback);
void vmArgFunction(VmState& state, int index);
void vmArgTable(VmState& state, int index);
/// A number, or a text ending in `%` that is a share of `base`. With base 0 a share is a factor and
/// `wasRelative` is set.
[[nodiscard]] double vmArgPercent(VmState& state, int index, double base, bool allowAbove100,
                                  bool* wasRelative = nullptr);
/// The identifier of an existing object.
[[nodiscard]] ObjectId vmArgId(VmState& state, int index);
/// The identifier of an object to make: nil asks for an automatic one (`handle` 1).
[[nodiscard]] ObjectId vmArgNewId(VmState& state, int index);
[[nodiscard]] bool vmArgIdIsNil(VmState& state, int index);

/// The value at `index`, which came out of the table field `name`: the name is in the message.
[[nodiscard]] double vmFieldNumber(VmState& state, int index, std::string_view name);
[[nodiscard]] std::uint32_t vmFieldUnsigned(VmState& state, int index, std::string_view name);
[[nodiscard]] std::string_view vmFieldString(VmState& state, int index, std::string_view name);

// Fields of the table at `index`. Each reads one field with events and leaves the stack as it
// was. A field that is nil leaves `value` alone and gives false. A wrong type raises.

bool vmGetFieldNumber(VmState& state, int index, const char* name, double& value);
bool vmGetFieldInt(VmState& state, int index, const char* name, std::int32_t& value);
bool vmGetFieldUnsigned(VmState& state, int index, const char* name, std::uint32_t& value);
/// A number read as a switch: non-zero is on; a boolean counts too.
bool vmGetFieldBool(VmState& state, int index, const char* name, bool& value);
bool vmGetFieldString(VmState& state, int index, const char* name, std::string& value);
bool vmGetFieldId(VmState& state, int index, const char* name, ObjectId& value);
bool vmGetFieldPercent(VmState& state, int index, const char* name, double base, bool allowAbove100,
                       double& value);
/// A table of four numbers at the indices 0 to 3.
bool vmGetFieldRect(VmState& state, int index, const char* name, std::int32_t (&value)[4]);
/// Pushes the field and returns true, or pushes nothing when it is nil.
[[nodiscard]] bool vmPushField(VmState& state, int index, const char* name);

/// Writers for the table on top of the stack.
void vmSetFieldString(VmState& state, const char* name, std::string_view value);
void vmSetFieldNumber(VmState& state, const char* name, double value);
void vmSetFieldInt(VmState& state, const char* name, std::int32_t value);
void vmSetFieldId(VmState& state, const char* name, const ObjectId& value);

// Registry.

void vmRegistrySetNumber(VmState& state, const char* key, double value);
void vmRegistrySetString(VmState& state, const char* key, std::string_view value);
void vmRegistrySetLight(VmState& state, const char* key, void* value);
[[nodiscard]] double vmRegistryGetNumber(VmState& state, const char* key);
[[nodiscard]] std::string vmRegistryGetString(VmState& state, const char* key);
[[nodiscard]] void* vmRegistryGetLight(VmState& state, const char* key);

/// An unset reference.
inline constexpr int vmNoRef = -1;
/// Pops the top into the table and returns a number for it; nil gives `vmNoRef`.
[[nodiscard]] int vmRef(VmState& state, int tableIndex);
void vmUnref(VmState& state, int tableIndex, int reference);
/// The size of a list by its field "n", else by the sizes kept aside, else by counting from 1.
[[nodiscard]] int vmListSize(VmState& state, int index);
void vmListSetSize(VmState& state, int index, int size);

// Registration.

/// One opened library.
struct VmLibraryEntry {
  std::string name;
  std::span<const VmCommandEntry> commands;
};

/// Enters commands, folded to lower case, into the table of that name in the globals, or with an
/// empty name into the table on the stack below the upvalues. The upvalues are popped.
void vmRegisterCommands(VmState& state, std::string_view library,
                        std::span<const VmCommandEntry> commands, int upvalueCount = 0);
/// Notes a library for the lookup of spellings. Names are cut to 63 characters.
void vmAddLibrary(VmState& state, std::string_view name, std::span<const VmCommandEntry> commands);
[[nodiscard]] std::span<const VmLibraryEntry> vmLibraries(VmState& state);
/// Enters constants under lower-case keys into the registry table "constants", or "userconstants".
void vmRegisterConstants(VmState& state, std::span<const VmConstantEntry> constants,
                         bool isUser = false);
/// All that a library's opening does with its tables: commands into the globals, then the list of
/// libraries, then constants.
void vmOpenLibrary(VmState& state, std::string_view name, std::span<const VmCommandEntry> commands,
                   std::span<const VmConstantEntry> constants = {});

/// An argument for `vmCallCommand`; `std::monostate` is nil.
using VmArgument = std::variant<std::monostate, std::int32_t, std::uint32_t, double,
                                std::string_view, void*, ObjectId>;
/// Calls a command by its name in any case. Returns its code.
int vmCallCommand(VmState& state, std::string_view name, int resultCount,
                  std::initializer_list<VmArgument> arguments);
/// The same with further arguments already on the stack below: `stackArguments` values are moved
/// behind `arguments`.
int vmCallCommandWith(VmState& state, std::string_view name, int resultCount,
                      std::initializer_list<VmArgument> arguments, int stackArguments);

// Labels and constants.

/// The instruction index of a label, -1 when there is none. The case of the name does not matter.
[[nodiscard]] int vmFindLabel(VmState& state, std::string_view name);
/// Sets where the main chunk goes on after a command has returned a label jump: -1 jumps, -2 calls
/// as a subroutine.
void vmSetPendingJump(VmState& state, int instruction);

// Errors of commands.

/// Where the last failure happened, as far as it is known.
struct VmErrorPosition {
  /// The command or function that failed; "----" for none.
  std::string command = "----";
  /// The chunk name of the innermost script frame; "?" for none.
  std::string source = "?";
  /// The line in the compiled numbering, -1 for unknown.
  int line = -1;
};
[[nodiscard]] VmErrorPosition& vmErrorPosition(VmState& state);
/// The code that `GetLastError` gives.
[[nodiscard]] int& vmLastError(VmState& state);

/// A callback's return value. On failure `code` becomes the error of the callback.
[[nodiscard]] double vmResultNumber(VmState& state, int index, Error& code);
[[nodiscard]] std::string vmResultString(VmState& state, int index, Error& code);

// String builder.

/// Builds a long string piece by piece. Pieces are gathered outside the stack, so that the caller
/// may push and pop between them.
class VmBuffer {
 public:
  void AddChar(char c) { text_.push_back(c); }
  void AddBytes(std::string_view bytes) { text_.append(bytes); }
  [[nodiscard]] std::size_t Size() const { return text_.size(); }
  /// Pushes what was gathered as one string and starts anew.
  void Finish(VmState& state) {
    vmPushBytes(state, text_);
    text_.clear();
  }

 private:
  std::string text_;
};

}  // namespace quillmere
