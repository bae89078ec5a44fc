// The life of a machine.
#include "vm/state.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

#include "vm/image.h"
#include "vm/prepare.h"
#include "vm/table.h"

namespace quillmere {
namespace {

constexpr const char* eventNames[] = {
    "__index", "__newindex", "__gc",  "__mode", "__eq",  "__add",    "__sub", "__mul",
    "__div",   "__divint",   "__mod", "__lsh",  "__rsh", "__or",     "__and", "__xor",
    "__pow",   "__unm",      "__not", "__lt",   "__le",  "__concat", "__call"};
static_assert(std::size(eventNames) == static_cast<std::size_t>(VmEvent::Count));

void MakeStack(VmState& state) {
  state.frames = std::make_unique<VmFrame[]>(vmInitialFrames);
  state.frameCount = vmInitialFrames;
  state.lastFrame = state.frames.get() + vmInitialFrames - 1;
  state.ci = state.frames.get();
  state.stack = NewBlock<VmValue>(state, vmInitialStack);
  state.stackSize = vmInitialStack;
  for (int i = 0; i < vmInitialStack; ++i) state.stack[i] = VmValue();
  state.stackLast = state.stack + vmInitialStack - vmExtraStack;
  // The first frame belongs to the program itself: it counts as a native's.
  state.ci->isNative = true;
  state.top = state.stack + 1;
  state.ci->base = state.base = state.top;
  state.ci->top = state.top + vmMinStack;
}

void MakeContents(VmState& state) {
  VmGlobals& globals = *state.globals;
  globals.buckets.assign(vmInitialStringBuckets, nullptr);
  MakeStack(state);
  globals.defaultMeta = NewTable(state, 0, 0);
  globals.registry = NewTable(state, 0, 0);
  state.globalTable = NewTable(state, 0, 0);
  for (std::size_t i = 0; i < std::size(eventNames); ++i) {
    globals.eventNames[i] = NewString(state, eventNames[i]);
    globals.eventNames[i]->marked |= markFixed;
  }
  globals.nextName = NewString(state, "next");
  globals.nextName->marked |= markFixed;
  constexpr std::size_t firstThreshold = 4;
  const char* collect = std::getenv("QUILLMERE_COLLECT");
  globals.collectAlways = collect != nullptr && std::string_view(collect) == "always";
  globals.gcThreshold = globals.collectAlways ? 0 : firstThreshold * globals.bytesInUse;
}

void FreeState(VmState* state) {
  FreeAllObjects(*state);
  FreeBlock(*state, state->stack, static_cast<std::size_t>(state->stackSize));
  const std::unique_ptr<VmGlobals> globals(state->globals);
  const std::unique_ptr<VmState> owned(state);
}

template <class T>
VmArray<T> NewArray(VmState& state, std::size_t count) {
  VmArray<T> array;
  if (count == 0) return array;
  array.items = NewBlock<T>(state, count);
  for (std::size_t i = 0; i < count; ++i) ::new (array.items + i) T();
  array.count = static_cast<std::uint32_t>(count);
  return array;
}

/// Makes prototypes of decoded functions. No collection runs meanwhile.
class Instantiation {
 public:
  explicit Instantiation(VmState& state) : state_(state) {}

  VmProto* Make(const ImageFunction& function) {
    VmProto* proto = NewProto(state_);
    proto->source = NewString(state_, function.source);
    proto->lineDefined = function.lineDefined;
    proto->upvalueCount = function.upvalueCount;
    proto->paramCount = function.paramCount;
    proto->isVarArg = function.isVarArg;
    proto->maxStack = function.maxStack;
    proto->code = NewArray<VmInstruction>(state_, function.code.size());
    std::ranges::copy(function.code, proto->code.items);
    proto->ops = NewArray<VmCode>(state_, function.code.size());
    proto->lineInfo = NewArray<std::int32_t>(state_, function.lines.size());
    std::ranges::copy(function.lines, proto->lineInfo.items);
    proto->constants = NewArray<VmValue>(state_, function.constants.size());
    std::ranges::transform(function.constants, proto->constants.items,
                           [this](const ImageConstant& constant) { return Constant(constant); });
    MakeNames(*proto, function);
    proto->protos = NewArray<VmProto*>(state_, function.functions.size());
    std::ranges::transform(function.functions, proto->protos.items,
                           [this](const ImageFunction& nested) { return Make(nested); });
    PrepareCode(*proto);
    return proto;
  }

 private:
  VmValue Constant(const ImageConstant& constant) {
    if (const auto* number = std::get_if<double>(&constant)) return VmValue::ForeignNumber(*number);
    if (const auto* text = std::get_if<std::string>(&constant)) {
      return VmValue::String(NewString(state_, *text));
    }
    return VmValue();
  }

  void MakeNames(VmProto& proto, const ImageFunction& function) {
    proto.locals = NewArray<VmLocalInfo>(state_, function.locals.size());
    std::ranges::transform(function.locals, proto.locals.items, [this](const ImageLocal& local) {
      return VmLocalInfo{NewString(state_, local.name), local.startPc, local.endPc};
    });
    proto.upvalueNames = NewArray<VmString*>(state_, function.upvalueNames.size());
    std::ranges::transform(function.upvalueNames, proto.upvalueNames.items,
                           [this](const std::string& name) { return NewString(state_, name); });
  }

  VmState& state_;
};

/// The plain form of a prototype.
ImageFunction Describe(const VmProto& proto) {
  ImageFunction function;
  if (proto.source != nullptr) function.source = proto.source->View();
  function.lineDefined = proto.lineDefined;
  function.upvalueCount = proto.upvalueCount;
  function.paramCount = proto.paramCount;
  function.isVarArg = proto.isVarArg;
  function.maxStack = proto.maxStack;
  function.code.assign(proto.code.begin(), proto.code.end());
  function.lines.assign(proto.lineInfo.begin(), proto.lineInfo.end());
  for (const VmLocalInfo& local : proto.locals) {
    function.locals.push_back({std::string(local.name->View()), local.startPc, local.endPc});
  }
  for (const VmString* name : proto.upvalueNames) {
    function.upvalueNames.emplace_back(name->View());
  }
  for (const VmValue& constant : proto.constants) {
    if (constant.IsNumber()) {
      function.constants.emplace_back(constant.number());
    } else if (constant.IsString()) {
      function.constants.emplace_back(std::string(constant.string()->View()));
    } else {
      function.constants.emplace_back();
    }
  }
  for (const VmProto* nested : proto.protos) function.functions.push_back(Describe(*nested));
  return function;
}

/// The name of a chunk as messages show it.
std::string_view ShownChunkName(std::string_view name) {
  if (name.starts_with('@') || name.starts_with('=')) return name.substr(1);
  if (name.starts_with(imageSignature[0])) return "binary string";
  return name.empty() ? "?" : name;
}

}  // namespace

VmState* vmOpen(Host& host) {
  auto state = std::make_unique<VmState>();
  auto globals = std::make_unique<VmGlobals>(host);
  state->globals = globals.release();
  VmState* opened = state.release();
  if (vmProtectedRun(*opened, [&] { MakeContents(*opened); }) == 0) return opened;
  FreeState(opened);
  return nullptr;
}

void vmClose(VmState* state) {
  CloseUpvalues(*state, state->stack);
  SeparateAllUserdata(*state);
  const auto unwind = [&] {
    state->ci = state->frames.get();
    state->base = state->ci->base;
    state->top = state->base;
    state->nativeCalls = 0;
    state->attention = 0;
  };
  do unwind();
  while (vmProtectedRun(*state, [&] { CallFinalizers(*state); }) != 0);
  FreeState(state);
}

Status vmLoadImage(VmState& state, std::span<const std::uint8_t> image,
                   std::string_view chunkName) {
  const ImageFunction function = TRY(ReadImage(image, ShownChunkName(chunkName)));
  const int code = vmProtectedRun(state, [&] {
    EnsureStack(state, 1);
    VmProto* proto = Instantiation(state).Make(function);
    VmClosure* closure = NewScriptClosure(state, proto, state.globalTable);
    for (int i = 0; i < proto->upvalueCount; ++i) {
      // A function that stands by itself shares its variables with nobody.
      closure->Upvalues()[i] = NewUpvalue(state);
    }
    *state.top++ = VmValue::Function(closure);
  });
  if (code != 0) return Fail(static_cast<Error>(code));
  vmCheckGC(state);
  return {};
}

Result<std::string> vmDumpImage(VmState& state, bool strip) {
  const VmValue& function = state.top[-1];
  if (!function.IsFunction() || function.closure()->isNative) {
    return Fail(Error::NotAUserFunction);
  }
  return WriteImage(Describe(*function.closure()->proto), {.strip = strip});
}

}  // namespace quillmere
