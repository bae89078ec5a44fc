#include "frame/error_position.h"

#include <algorithm>

#include "base/names.h"
#include "files/files_state.h"
#include "frame/preload.h"

namespace quillmere {
namespace {

constexpr char unknownFile[] = "---";

/// The chunk that the last failure happened in; empty for the main chunk.
std::string ChunkOfError(VmState& state) {
  const std::string& source = vmErrorPosition(state).source;
  return source.starts_with('?') ? std::string() : source;
}

ScriptPlace PlaceInApplet(const FilesState& files, const std::string& chunk, int line) {
  const auto& ranges = files.applet.includeRanges;
  const auto found = std::ranges::find_if(ranges, [&](const IncludeRange& range) {
    return range.chunk == chunk && range.first <= line && line <= range.last;
  });
  if (found == ranges.end()) return {unknownFile, -1};
  const std::int64_t sourceLine = std::int64_t{line} + found->base + 1 - found->first;
  return {found->source, static_cast<int>(sourceLine)};
}

/// The place in a script that is no applet: its lines count from "beginline" on, behind those of
/// the files that it includes.
ScriptPlace PlaceInFile(VmState& state, const FilesState& files, const std::string& script,
                        int line) {
  std::int64_t sourceLine =
      std::int64_t{line} + 1 - static_cast<std::int64_t>(vmRegistryGetNumber(state, "beginline"));
  for (const IncludeRange& range : files.applet.includeRanges) {
    if (range.source == script) sourceLine += std::int64_t{range.last} - range.first + 1;
  }
  return {script, static_cast<int>(sourceLine)};
}

}  // namespace

std::optional<ScriptPlace> PlaceOfError(VmState& state) {
  if (!vmHost(state).flags.scriptPosition) return std::nullopt;
  const auto& files = vmRoom<FilesState>(state);
  const std::string script = vmRegistryGetString(state, "script");
  const int line = vmErrorPosition(state).line;
  if (script == appletScriptName) return PlaceInApplet(files, ChunkOfError(state), line);
  return PlaceInFile(state, files, script, line);
}

std::string DebugLineOfError(VmState& state, std::string_view message) {
  const auto place = PlaceOfError(state);
  std::string text(message);
  if (!place) return vmHost(state).messages.Get(MessageId::ErrorWord) + ": " + text + "\n";
  return place->file + ":" + std::to_string(place->line) + ": " + text + "\n";
}

std::string RequestTextOfError(VmState& state, std::string_view message, bool plain) {
  std::string text(message);
  const auto place = plain ? std::nullopt : PlaceOfError(state);
  if (!place) return text;
  const Messages& messages = vmHost(state).messages;
  text += "\n" + messages.Get(MessageId::File) + ": ";
  text += NamePart(place->file);
  text += " (" + messages.Get(MessageId::CurrentLine) + ": " + std::to_string(place->line);
  const std::string& command = vmErrorPosition(state).command;
  if (command != noCommand) {
    text += " - " + messages.Get(MessageId::InFunction) + ": " + command;
  }
  return text + ")";
}

}  // namespace quillmere
