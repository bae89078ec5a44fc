#include "frame/program.h"

#include <cstdio>
#include <new>

#include "base/progress.h"
#include "codecs/picture_reader.h"
#include "files/applet_loader.h"
#include "frame/argument_line.h"
#include "frame/command_line.h"
#include "frame/desktop_start.h"
#include "frame/error_position.h"
#include "frame/preload.h"
#include "frame/private_lists.h"
#include "frame/request.h"
#include "input/pump.h"
#include "scene/display.h"

namespace quillmere {
namespace {

void TellNoMemory() {
  std::puts("Not enough memory.");
}

}  // namespace

Program::~Program() = default;

int Program::Run(std::span<const char* const> arguments) {
  try {
    machine_.reset(vmOpen(host_));
    if (!machine_) {
      TellNoMemory();
      return 0;
    }
    Shutdown(RunGuarded(arguments));
  } catch (const std::bad_alloc&) {
    TellNoMemory();
  }
  return 0;
}

Error Program::RunGuarded(std::span<const char* const> arguments) {
  try {
    const Status status = RunToEnd(arguments);
    return status ? Error::None : status.error();
  } catch (const VmException& failure) {
    // The machine has run out of something outside of a protected call.
    return failure.code;
  } catch (const std::bad_alloc&) {
    return Error::OutOfMemory;
  }
}

Status Program::RunToEnd(std::span<const char* const> arguments) {
  TRY(Start(arguments));
  qmCLArgs& clargs = files_->clargs;
  if (!clargs.privatePath1.empty() || !clargs.privatePath2.empty()) return WritePrivateLists();

  TRY(ReadApplet(host_));
  EnterAppletTables();
  PrintProgress(host_, MessageId::CompilingScript, {}, true);
  host_.flags.scriptPosition = true;
  const Status loaded = LoadMainChunk();
  host_.flags.scriptPosition = false;
  TRY(loaded);
  vmSetHook(*machine_, ScriptLineHook, vmMaskLine, 0);
  PrintDone(host_);
  if (clargs.compileRequested) return Fail(Error::CompilationNotPossible);

  PrintProgress(host_, MessageId::LoadingApplet, clargs.scriptPath, false);
  TRY(MakeObjectsAndDisplays());
  if (clargs.isApplet) PrintDone(host_);
  TRY(OpenDisplays(*machine_, files_->applet, clargs.privatePath3));
  return RunMainChunk();
}

Status Program::Start(std::span<const char* const> arguments) {
  platform_ = TRY(PlatformOpen(host_));
  files_.emplace(host_);
  SetDebugDevice(host_, {});
  files_->clargs.selfPath = platform_->files().ProgramPath();
  files_->appletOffset = appendedApplet_.value_or(0);

  const bool fromDesktop = arguments.empty() && StartedFromDesktop();
  const std::string text = fromDesktop ? LineOfProgramIcon(host_) : TRY(JoinArguments(arguments));
  const ArgumentLine line = TRY(ParseArgumentLine(text));
  TRY(EvaluateCommandLine(host_, line, appendedApplet_.has_value()));
  host_.flags.quiet = files_->clargs.quiet;

  rooms_.emplace(host_);
  ServeClipboardPictures(host_);
  rooms_->lib.isAppended = appendedApplet_.has_value();
  rooms_->lib.startedFromShell = !fromDesktop;
  FillRegistry();
  return OpenLibraries(*machine_);
}

void Program::FillRegistry() {
  VmState& state = *machine_;
  vmRegistrySetLight(state, "applet", &files_->applet);
  vmRegistrySetLight(state, "clargs", &files_->clargs);
  vmPushStringFast(state, "inclevels");
  vmNewTable(state);
  vmSetFieldInt(state, "count", 0);
  vmRawSet(state, vmRegistryIndex);
  vmPushStringFast(state, "_g");
  vmPushValue(state, vmGlobalsIndex);
  vmRawSet(state, vmGlobalsIndex);
}

Status Program::WritePrivateLists() {
  const qmCLArgs& clargs = files_->clargs;
  if (!clargs.privatePath1.empty()) TRY(WriteCommandList(*machine_, clargs.privatePath1));
  if (!clargs.privatePath2.empty()) TRY(WriteConstantList(*machine_, clargs.privatePath2));
  return {};
}

void Program::EnterAppletTables() {
  VmState& state = *machine_;
  qmAppletInfo& applet = files_->applet;
  vmPushStringFast(state, "labels");
  vmNewTable(state);
  for (const AppletLabel& label : applet.labels) {
    vmPushBytes(state, label.name);
    vmPushNumber(state, label.position);
    vmRawSet(state, -3);
  }
  vmRawSet(state, vmRegistryIndex);

  std::vector<VmConstantEntry> constants;
  for (const UserConstant& constant : applet.userConstants) {
    const char* text = constant.text ? constant.text->c_str() : nullptr;
    constants.push_back({constant.name.c_str(), text, constant.number});
  }
  vmRegisterConstants(state, constants, true);
  vmRegistrySetString(state, "script", appletScriptName);
}

Status Program::LoadMainChunk() {
  TRY(vmLoadImage(*machine_, files_->applet.bytecode, {}));
  files_->applet.bytecode = {};
  return {};
}

Status Program::MakeObjectsAndDisplays() {
  VmState& state = *machine_;
  CompleteDisplays(files_->applet);
  MarkSharedPictures(files_->applet.preloadList);
  host_.flags.inPreload = true;
  host_.flags.scriptPosition = true;
  TRY(PreloadObjects(state));
  TRY(CreateDisplays(state));
  vmErrorPosition(state) = {};
  host_.flags.inPreload = false;
  host_.flags.quiet = files_->clargs.quiet;
  host_.flags.scriptPosition = false;
  files_->applet.preloadList = {};
  return {};
}

Status Program::RunMainChunk() {
  host_.flags.scriptPosition = true;
  const int code = vmPCall(*machine_, 0, 0);
  if (code != 0) return Fail(static_cast<Error>(code));
  return {};
}

void Program::TellError(Error code) {
  VmState& state = *machine_;
  const std::string message =
      ComposeErrorMessage(host_.messages, host_.errors, static_cast<int>(code));
  if (host_.flags.progressIsOpen) PrintFailed(host_);
  const bool hasRequests = platform_ && files_ && files_->clargs.debugDevice.empty();
  if (hasRequests) {
    ShowRequest(host_, RequestTextOfError(state, message, false),
                {host_.messages.Get(MessageId::Ok)});
    return;
  }
  if (!host_.debug.AtLineStart()) PrintFailed(host_);
  host_.debug.Write(DebugLineOfError(state, message));
}

void Program::Shutdown(Error code) {
  host_.flags.inPreload = false;
  if (files_) host_.flags.quiet = files_->clargs.quiet;
  if (rooms_) CloseLibraries(*machine_);
  if (static_cast<int>(code) > 0 && code != Error::UserAbort) TellError(code);
  machine_.reset();
  rooms_.reset();
  files_.reset();
  host_.debug.SetSink({});
  platform_.reset();
}

}  // namespace quillmere
