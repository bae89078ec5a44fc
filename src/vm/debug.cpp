// What can be told about running functions: names of registers and calls, lines, the words that an
// error message needs.
#include <array>
#include <cstdio>

#include "base/fold.h"
#include "vm/state.h"
#include "vm/table.h"

namespace quillmere {
namespace {

int CurrentInstruction(const VmFrame& frame) {
  const VmProto& proto = *FunctionOf(frame)->proto;
  return static_cast<int>(frame.savedPc - proto.ops.items) - 1;
}

/// The name of a local variable that is alive in a register at an instruction, or null.
const VmString* LocalName(const VmProto& proto, int reg, int pc) {
  int alive = 0;
  for (const VmLocalInfo& local : proto.locals) {
    if (local.startPc > pc) break;
    if (pc < local.endPc && alive++ == reg) return local.name;
  }
  return nullptr;
}

/// Whether an instruction writes a register, calls included.
bool Writes(VmInstruction word, int reg) {
  const int op = opCode(word);
  const int a = opA(word);
  switch (op) {
    case OP_LOADNIL:
      return a <= reg && reg <= opB(word);
    case OP_TFORLOOP:
      return reg >= a + 2;
    case OP_TFORPREP:
      return reg == a || reg == a + 1;
    case OP_CALL:
    case OP_TAILCALL:
      return reg >= a;
    case OP_SELF:
      return reg == a || reg == a + 1;
    default:
      return op < opCount && vmOpInfo(op).writesA && reg == a;
  }
}

/// The last instruction before `lastPc` that wrote a register, in a walk from the start that takes
/// forward jumps which stay before `lastPc`; -1 when there is none.
int LastWriter(const VmProto& proto, int reg, int lastPc) {
  int last = -1;
  for (int pc = 0; pc < lastPc; ++pc) {
    const VmInstruction word = proto.code[static_cast<std::size_t>(pc)];
    const int op = opCode(word);
    if (Writes(word, reg)) last = pc;
    if (op == OP_CLOSURE) {
      pc += proto.protos[static_cast<std::size_t>(opBx(word))]->upvalueCount;
    } else if (op == OP_LOADNUM && opC(word) != 0) {
      ++pc;
    } else if (op == OP_JMP && opMode(word) != opJumpSubroutine) {
      const int target = pc + 1 + opSJ(word);
      if (pc < target && target <= lastPc) pc = target - 1;
    }
  }
  return last;
}

std::string ConstantName(const VmProto& proto, int rk) {
  if (!vmIsConstant(rk)) return "?";
  const VmValue& constant = proto.constants[static_cast<std::size_t>(vmConstantIndex(rk))];
  return constant.IsString() ? std::string(constant.string()->View()) : "?";
}

VmName FindNameAt(const VmProto& proto, int reg, int pc) {
  if (const VmString* local = LocalName(proto, reg, pc))
    return {std::string(local->View()), "local"};
  const int writer = LastWriter(proto, reg, pc);
  if (writer < 0) return {};
  const VmInstruction word = proto.code[static_cast<std::size_t>(writer)];
  switch (opCode(word)) {
    case OP_GETGLOBAL:
      return {std::string(proto.constants[static_cast<std::size_t>(opBx(word))].string()->View()),
              "global"};
    case OP_MOVE:
      return opB(word) < opA(word) ? FindNameAt(proto, opB(word), writer) : VmName{};
    case OP_GETTABLE:
      return {ConstantName(proto, opC(word)), "field"};
    case OP_SELF:
      return {ConstantName(proto, opC(word)), "method"};
    default:
      return {};
  }
}

/// The shown spelling of a command, "?" for a native that is none.
std::string SpellingOf(VmState& state, std::string_view name) {
  for (const VmLibraryEntry& library : state.globals->libraries) {
    for (const VmCommandEntry& command : library.commands) {
      if (EqualsFolded(command.name, name)) return command.name;
    }
  }
  return "?";
}

constexpr std::string_view noCommand = "----";

void CollectFrom(VmState& state, const VmActivation& activation, bool& hasSource) {
  VmErrorPosition& position = state.globals->position;
  if (!hasSource && !activation.source.empty() && activation.source[0] != '=' &&
      activation.source[0] != '?') {
    position.source = activation.source;
    hasSource = true;
  }
  if (position.command != noCommand) return;
  if (!activation.nameWhat.empty()) {
    if (activation.isNative) {
      position.command = SpellingOf(state, activation.name);
    } else {
      position.command = activation.name.empty() ? "anonymous" : activation.name;
    }
  } else if (!activation.isNative) {
    position.command = "<<unnamed>>";
  }
}

}  // namespace

VmName FindName(VmState&, const VmFrame& frame, int reg) {
  return FindNameAt(*FunctionOf(frame)->proto, reg, CurrentInstruction(frame));
}

VmName NameOfCall(VmState& state, const VmFrame& frame) {
  if (&frame <= state.frames.get() + 1 || frame.tailCalls > 0) return {};
  const VmFrame& caller = (&frame)[-1];
  if (caller.isNative || &caller == state.frames.get()) return {};
  const VmProto& proto = *FunctionOf(caller)->proto;
  const VmInstruction word = proto.code[static_cast<std::size_t>(CurrentInstruction(caller))];
  if (opCode(word) != OP_CALL && opCode(word) != OP_TAILCALL) return {};
  return FindName(state, caller, opA(word));
}

int CurrentLine(const VmFrame& frame) {
  if (frame.isNative) return -1;
  const VmProto& proto = *FunctionOf(frame)->proto;
  const int pc = CurrentInstruction(frame);
  if (proto.lineInfo.count == 0 || pc < 0) return 0;
  return proto.lineInfo[static_cast<std::size_t>(pc)];
}

bool vmGetActivation(VmState& state, int level, VmActivation& activation) {
  activation = VmActivation();
  const VmFrame* frame = state.ci;
  const VmFrame* const first = state.frames.get();
  for (; level > 0 && frame > first; --frame) {
    --level;
    if (frame->isNative) continue;
    if (level < frame->tailCalls) {
      activation.source = "=(tail call)";
      activation.nameWhat = "tail";
      return true;
    }
    level -= frame->tailCalls;
  }
  if (level != 0 || frame <= first) return false;
  const VmClosure* closure = FunctionOf(*frame);
  const VmName name = NameOfCall(state, *frame);
  activation.isNative = frame->isNative;
  activation.name = name.name;
  activation.nameWhat = name.kind;
  if (frame->isNative) {
    activation.source = "=[C]";
  } else {
    activation.source = closure->proto->source != nullptr
                            ? std::string(closure->proto->source->View())
                            : std::string();
    activation.lineDefined = closure->proto->lineDefined;
    activation.currentLine = CurrentLine(*frame);
  }
  return true;
}

void NamedError(VmState& state, Error code, const VmValue* place, const char* suffix) {
  const VmFrame& frame = *state.ci;
  std::string name = "??";
  if (!frame.isNative && place != nullptr && &frame != state.frames.get() && place >= frame.base &&
      place < frame.top) {
    const VmName found = FindName(state, frame, static_cast<int>(place - frame.base));
    if (*found.kind != '\0') name = found.name;
  }
  vmRaise(state, code, name + suffix);
}

void CollectErrorContext(VmState& state) {
  VmErrorPosition& position = state.globals->position;
  VmActivation activation;
  bool hasSource = false;
  for (int level = 0; vmGetActivation(state, level, activation); ++level) {
    CollectFrom(state, activation, hasSource);
    if (level == 1 && position.line == -1) position.line = activation.currentLine;
  }
}

void ReportNativeError(VmState& state, int code) {
  VmGlobals& globals = *state.globals;
  RunFlags& flags = globals.host.flags;
  globals.lastError = code;
  if (!flags.exitOnError) {
    if (flags.callbackDepth == 0) {
      globals.position.command = noCommand;
      globals.position.line = -1;
    }
    return;
  }
  CollectErrorContext(state);
  if (flags.callbackDepth == 0) vmSetQuitFlag(state, true);
  vmThrow(state, static_cast<Error>(code));
}

void TraceCall(VmState& state) {
  const auto print = [&](const char* format, auto... values) {
    std::array<char, 256> text;
    const int length = std::snprintf(text.data(), text.size(), format, values...);
    vmHost(state).debug.Write(
        {text.data(), static_cast<std::size_t>(std::min<int>(length, text.size() - 1))});
  };
  const VmName name = NameOfCall(state, *state.ci);
  vmHost(state).debug.Write("Now calling " + name.name + "()");
  const auto count = static_cast<int>(state.top - state.base);
  if (count > 0) vmHost(state).debug.Write(" with arguments ");
  for (int i = 0; i < count; ++i) {
    const VmValue& value = state.base[i];
    switch (value.Type()) {
      case VmType::Number:
        print("#%d=(NUMBER)%g ", i + 1, value.number());
        break;
      case VmType::Nil:
        print("#%d=(NIL) ", i + 1);
        break;
      case VmType::String:
        print("#%d=(STRING)\"", i + 1);
        vmHost(state).debug.Write(value.string()->View());
        vmHost(state).debug.Write("\" ");
        break;
      case VmType::Table:
        print("#%d=(TABLE)%p ", i + 1, value.pointer());
        break;
      case VmType::Function:
        print("#%d=(FUNCPTR)%p ", i + 1, value.pointer());
        break;
      default:
        print("#%d=(INTERNAL)%d ", i + 1, static_cast<int>(value.Type()));
        break;
    }
  }
  vmHost(state).debug.Write("\n");
}

}  // namespace quillmere
