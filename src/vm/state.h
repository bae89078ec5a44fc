// The machine's own records: the running context with its stack and frames, and what all of it
// shares. Everything outside of this room sees them through vm.h alone.
#pragma once

#include <array>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "vm/heap.h"
#include "vm/limits.h"
#include "vm/object.h"
#include "vm/vm.h"

namespace quillmere {

/// The events of metatables, in the order of their numbers.
enum class VmEvent : int {
  Index,
  NewIndex,
  GC,
  Mode,
  Eq,
  Add,
  Sub,
  Mul,
  Div,
  DivInt,
  Mod,
  Lsh,
  Rsh,
  Or,
  And,
  Xor,
  Pow,
  Unm,
  Not,
  Lt,
  Le,
  Concat,
  Call,
  Count
};

/// One running function.
struct VmFrame {
  /// The first register; the function itself stands below it.
  VmValue* base = nullptr;
  /// The end of the frame.
  VmValue* top = nullptr;
  /// The next instruction, valid while another frame runs or a call can look.
  VmCode* savedPc = nullptr;
  /// Tail calls that were lost behind this frame.
  std::int32_t tailCalls = 0;
  bool isNative = false;
  /// Entered by a call instruction, so that its return goes on in the same loop.
  bool calledFromScript = false;
};

/// Bits of `VmState::attention`: why the interpreter has to look up before an instruction.
enum VmAttention : std::uint32_t { attentionQuit = 1, attentionCount = 2 };

struct VmGlobals {
  explicit VmGlobals(Host& programHost) : host(programHost) {}

  Host& host;
  VmHeap heap;

  std::vector<VmString*> buckets;
  std::size_t stringCount = 0;

  VmUserdata* allUserdata = nullptr;
  VmUserdata* toFinalize = nullptr;
  std::size_t gcThreshold = 0;
  std::size_t bytesInUse = 0;
  /// Collect wherever a collection may happen, so that a value that nothing holds is gone at once:
  /// for finding faults. The variable `QUILLMERE_COLLECT=always` switches it on for every machine.
  bool collectAlways = false;
  bool collecting = false;
  std::vector<VmObject*> gray;

  VmTable* registry = nullptr;
  VmTable* defaultMeta = nullptr;
  std::array<VmString*, static_cast<std::size_t>(VmEvent::Count)> eventNames{};
  /// The name of the global that walks a bare table.
  VmString* nextName = nullptr;

  /// Return addresses of subroutine calls.
  std::vector<VmCode*> subroutines;
  /// The instruction of the main chunk that a native wants to go on at; -1 for none.
  std::int32_t pendingJump = -1;

  std::vector<VmLibraryEntry> libraries;
  VmErrorPosition position;
  int lastError = 0;
  /// The command that reads the last error, and so does not clear it.
  VmNative lastErrorReader = nullptr;
};

struct VmState {
  VmValue* top = nullptr;
  VmValue* base = nullptr;
  VmFrame* ci = nullptr;
  std::uint32_t attention = 0;
  VmGlobals* globals = nullptr;
  VmTable* globalTable = nullptr;
  VmValue* stack = nullptr;
  VmValue* stackLast = nullptr;
  std::int32_t stackSize = 0;
  std::unique_ptr<VmFrame[]> frames;
  std::int32_t frameCount = 0;
  /// The last record of `frames`.
  VmFrame* lastFrame = nullptr;
  std::int32_t nativeCalls = 0;
  /// Protected calls in force, one inside the other.
  std::int32_t protectedRegions = 0;
  VmUpvalue* openUpvalues = nullptr;

  VmHook hook = nullptr;
  int hookMask = 0;
  int baseHookCount = 0;
  int hookCount = 0;
  /// Calls and backward jumps until the line hook is looked at again.
  std::int32_t linePatience = vmLineHookInterval;
  bool allowHook = true;
};

[[nodiscard]] inline std::ptrdiff_t SaveStack(const VmState& state, const VmValue* place) {
  return place - state.stack;
}
[[nodiscard]] inline VmValue* RestoreStack(const VmState& state, std::ptrdiff_t offset) {
  return state.stack + offset;
}

/// The function of a frame.
[[nodiscard]] inline VmClosure* FunctionOf(const VmFrame& frame) {
  return frame.base[-1].closure();
}

// In memory.cpp:

/// The door to memory: new size 0 frees. Keeps the account; a failure throws `OutOfMemory`.
void* vmRealloc(VmState& state, void* block, std::size_t oldSize, std::size_t newSize);

/// A cell for an object, whose size is charged to the account.
inline void* NewCell(VmState& state, std::size_t size) {
  void* cell = state.globals->heap.AllocateCell(size);
  if (cell == nullptr) vmThrow(state, Error::OutOfMemory);
  state.globals->bytesInUse += size;
  return cell;
}

template <class T>
T* NewBlock(VmState& state, std::size_t count) {
  if (count > vmMaxBlock / sizeof(T)) vmThrow(state, Error::OutOfMemory);
  void* block = state.globals->heap.Allocate(count * sizeof(T));
  if (block == nullptr) vmThrow(state, Error::OutOfMemory);
  state.globals->bytesInUse += count * sizeof(T);
  return static_cast<T*>(block);
}
template <class T>
void FreeBlock(VmState& state, T* block, std::size_t count) {
  if (block == nullptr) return;
  state.globals->heap.Free(block, count * sizeof(T));
  state.globals->bytesInUse -= count * sizeof(T);
}

// In strings.cpp:

VmString* NewString(VmState& state, std::string_view bytes);
/// A string whose bytes are yet to be written; it is none of the machine's until `InternString`.
[[nodiscard]] VmString* NewBlankString(VmState& state, std::size_t length);
/// The string with these bytes: this one, or an older one, which takes its place.
[[nodiscard]] VmString* InternString(VmState& state, VmString* string);
/// Walks the strings piece by piece between zeros: below, equal or above 0.
[[nodiscard]] int CompareStrings(const VmString& a, const VmString& b);
void FreeString(VmState& state, VmString* string);
void ResizeStringTable(VmState& state, std::size_t size);

// In objects.cpp:

[[nodiscard]] VmClosure* NewScriptClosure(VmState& state, VmProto* proto, VmTable* environment);
[[nodiscard]] VmClosure* NewNativeClosure(VmState& state, VmNative entry, int upvalueCount);
[[nodiscard]] VmUserdata* NewUserdata(VmState& state, std::size_t size);
[[nodiscard]] VmProto* NewProto(VmState& state);
/// A closed upvalue that holds nil.
[[nodiscard]] VmUpvalue* NewUpvalue(VmState& state);
VmUpvalue* FindUpvalue(VmState& state, VmValue* level);
/// Closes the upvalues at or above `level`.
void CloseUpvalues(VmState& state, const VmValue* level);
[[nodiscard]] inline bool HasOpenUpvalues(const VmState& state, const VmValue* level) {
  return state.openUpvalues != nullptr && state.openUpvalues->location >= level;
}
/// Lets go of what an object in a cell owns, and takes it off the account.
void ReleaseObject(VmState& state, VmObject& object);
void FreeUserdata(VmState& state, VmUserdata* userdata);

// In collector.cpp:

void vmCollect(VmState& state);
inline void vmCheckGC(VmState& state);
/// Calls what is left to be finalized; errors of finalizers pass through.
void CallFinalizers(VmState& state);
/// Moves every userdata to the ones to be finalized.
void SeparateAllUserdata(VmState& state);
void FreeAllObjects(VmState& state);

// In calls.cpp:

/// What a native handed back: its results lie from `first` up to the top; else `code` is an error
/// code, or -1 or -2 for a jump, and there are none.
struct NativeResult {
  VmValue* first = nullptr;
  int code = 0;
};

void GrowStack(VmState& state, int slots);
inline void EnsureStack(VmState& state, int slots) {
  if (state.stackLast - state.top <= slots) GrowStack(state, slots);
}
void ResizeStack(VmState& state, int size);
void ResizeFrames(VmState& state, int count);
/// Prepares a call of the function below its arguments: a script function gets its frame. True for
/// a native, which is left to `vmCallNative`; an event that was put below the arguments may have
/// moved the stack.
[[nodiscard]] bool vmPrepareCall(VmState& state, VmValue* function);
/// Runs a native in a frame of its own, which stays for `vmPostCall`.
[[nodiscard]] NativeResult vmCallNative(VmState& state, VmValue* function);
/// Drops the frame and moves the results to the function's place.
void vmPostCall(VmState& state, int wanted, VmValue* firstResult);
/// Calls through a new activation; the code of a native, or 0.
int vmCallAt(VmState& state, VmValue* function, int wanted);
/// The same for the interpreter's own calls of any function, which no native stands behind.
int vmCallFromScript(VmState& state, VmValue* function, int wanted);
/// Runs `body`; the code that it threw, or 0, with the state as it was at the start but for the
/// top.
template <class Body>
int vmProtectedRun(VmState& state, Body&& body);
void RecoverState(VmState& state, std::ptrdiff_t frameOffset, int nativeCalls, bool allowHook,
                  std::ptrdiff_t oldTop);
void CallHook(VmState& state, VmHookEvent event, int line);

// In execute.cpp:

/// Runs the topmost frame until it returns; the place of its first result, or null when the program
/// is to stop.
VmValue* vmExecute(VmState& state);

// In operations.cpp:

/// A pointer to a number made of the value, which may be `scratch`, or null.
const VmValue* ToNumberValue(const VmValue& value, VmValue& scratch);
/// Converts numbers and nil in place.
bool ToStringInPlace(VmState& state, VmValue& value);
void PushNumberText(VmState& state, double value);
/// Reads an entry with events; a missing one is nil. `object` and `key` may stand on the stack.
VmValue GetTableEntry(VmState& state, VmValue object, VmValue key, const VmValue* place,
                      int loop = 0);
void SetTableEntry(VmState& state, VmValue object, VmValue key, VmValue value,
                   const VmValue* place);
/// The value of a global whose name is not in the environment.
VmValue GetMissingGlobal(VmState& state, VmTable& environment, VmValue key);
/// Reads a field for the script: what is missing raises, unless `missingIsNil`.
VmValue GetField(VmState& state, VmValue object, VmValue key, const VmValue* place,
                 bool missingIsNil);
VmValue Arithmetic(VmState& state, VmValue a, VmValue b, VmOp op);
VmValue Negate(VmState& state, VmValue a);
VmValue Complement(VmState& state, VmValue a);
[[nodiscard]] bool EqualValues(VmState& state, const VmValue& a, const VmValue& b);
[[nodiscard]] bool LessThan(VmState& state, const VmValue& a, const VmValue& b);
[[nodiscard]] bool LessEqual(VmState& state, const VmValue& a, const VmValue& b);
/// Joins `count` values that end at `last` into the first of them.
void Concatenate(VmState& state, int count, VmValue* last);
/// The event of a value: tables and userdata only.
[[nodiscard]] const VmValue& EventOf(VmState& state, const VmValue& value, VmEvent event);
/// The event of a metatable; remembers that it is absent.
[[nodiscard]] const VmValue* FindEvent(VmState& state, VmTable& metatable, VmEvent event);
/// `FindEvent` with the test of the remembered ones inline.
[[nodiscard]] inline const VmValue* FastEvent(VmState& state, VmTable& metatable, VmEvent event) {
  if ((metatable.absentEvents >> static_cast<int>(event) & 1) != 0) return nullptr;
  return FindEvent(state, metatable, event);
}

// In debug.cpp:

struct VmName {
  std::string name;
  const char* kind = "";
};
/// The name of a register of a script frame, as far as it can be told.
[[nodiscard]] VmName FindName(VmState& state, const VmFrame& frame, int reg);
/// The name by which the function of a frame was called.
[[nodiscard]] VmName NameOfCall(VmState& state, const VmFrame& frame);
[[nodiscard]] int CurrentLine(const VmFrame& frame);
/// Raises with the name of the value at `place`, when it is a register of the running function, and
/// a suffix as the error argument.
[[noreturn]] void NamedError(VmState& state, Error code, const VmValue* place, const char* suffix);
void CollectErrorContext(VmState& state);
/// What becomes of the code that a native handed back; returns when the script goes on.
void ReportNativeError(VmState& state, int code);
void TraceCall(VmState& state);

// Inline parts.

inline void vmCheckGC(VmState& state) {
  if (state.globals->bytesInUse >= state.globals->gcThreshold) [[unlikely]]
    vmCollect(state);
}

template <class Body>
int vmProtectedRun(VmState& state, Body&& body) {
  const std::ptrdiff_t frameOffset = state.ci - state.frames.get();
  const std::ptrdiff_t oldTop = SaveStack(state, state.top);
  const int nativeCalls = state.nativeCalls;
  const bool allowHook = state.allowHook;
  ++state.protectedRegions;
  Error code = Error::None;
  try {
    body();
  } catch (const VmException& exception) {
    code = exception.code;
  } catch (const std::bad_alloc&) {
    code = Error::OutOfMemory;
  }
  --state.protectedRegions;
  if (code != Error::None) RecoverState(state, frameOffset, nativeCalls, allowHook, oldTop);
  return static_cast<int>(code);
}

}  // namespace quillmere
