// The tables of the system library: its commands and constants in the order of the language.
#include <iterator>

#include "lib/libraries.h"
#include "lib/system_commands.h"

namespace quillmere {
namespace {

using namespace system_library;

constexpr VmCommandEntry commands[] = {
    {"Wait", Wait},
    {"OpenCatalog", OpenCatalog},
    {"CloseCatalog", CloseCatalog},
    {"GetCatalogString", GetCatalogString},
    {"GetDate", GetDate},
    {"GetTime", GetTime},
    {"GetWeekday", GetWeekday},
    {"GetDateNum", GetDateNum},
    {"GetTimer", GetTimer},
    {"PauseTimer", PauseTimer},
    {"ResumeTimer", ResumeTimer},
    {"StartTimer", StartTimer},
    {"StopTimer", StopTimer},
    {"SystemRequest", SystemRequest},
    {"GetMemoryInfo", GetMemoryInfo},
    {"End", End},
    {"GetErrorName", GetErrorName},
    {"Sort", Sort},
    {"DebugStr", DebugPrint},
    {"DebugVal", DebugPrint},
    {"DebugPrint", DebugPrint},
    {"ExitOnError", ExitOnError},
    {"GetLastError", GetLastError},
    {"DebugOutput", DebugOutputSwitch},
    {"GetType", GetType},
    {"IIf", IIf},
    {"InsertItem", InsertItem},
    {"RemoveItem", RemoveItem},
    {"ListItems", ListItems},
    {"StringRequest", StringRequest},
    {"Unpack", Unpack},
    {"SetMetaTable", SetMetaTable},
    {"GetMetaTable", GetMetaTable},
    {"RawEqual", RawEqual},
    {"RawGet", RawGet},
    {"RawSet", RawSet},
    {"GCInfo", GCInfo},
    {"CollectGarbage", CollectGarbage},
    {"Error", RaiseScriptError},
    {"WaitTimer", WaitTimer},
    {"FileRequest", FileRequest},
    {"PathRequest", PathRequest},
    {"IPairs", IPairs},
    {"Pairs", Pairs},
    {"NextItem", NextItem},
    {"GetVersion", GetVersion},
    {"GetCommandLine", GetCommandLine},
    {"GetProgramInfo", GetProgramInfo},
    {"ResetTimer", ResetTimer},
    {"GetConstant", GetConstant},
    {"SetClipboard", SetClipboard},
    {"GetClipboard", GetClipboard},
    {"PeekClipboard", PeekClipboard},
    {"ClearClipboard", ClearClipboard},
    {"CompareDates", CompareDates},
    {"OpenURL", OpenURL},
    {"CopyTable", CopyTable},
    {"GetIconProperties", GetIconProperties},
    {"SetIconProperties", SetIconProperties},
    {"SetWBIcon", SetWBIcon},
};

constexpr VmConstantEntry constants[] = {
    {"SECONDS", nullptr, 0},
    {"MILLISECONDS", nullptr, 1},
    {"TICKS", nullptr, 2},
    {"DATEYEAR", nullptr, 0},
    {"DATEMONTH", nullptr, 1},
    {"DATEDAY", nullptr, 2},
    {"DATETIME", nullptr, 3},
    {"CHIPMEMORY", nullptr, 0},
    {"FASTMEMORY", nullptr, 1},
    {"NIL", nullptr, 0},
    {"STRING", nullptr, 3},
    {"LONG", nullptr, 1},
    {"FLOAT", nullptr, 1},
    {"INTEGER", nullptr, 1},
    {"HKEY_CLASSES_ROOT", nullptr, 0},
    {"HKEY_CURRENT_CONFIG", nullptr, 1},
    {"NUMBER", nullptr, 2},
    {"FUNCTION", nullptr, 5},
    {"TABLE", nullptr, 4},
    {"USERDATA", nullptr, 8},
    {"LIGHTUSERDATA", nullptr, 9},
    {"THREAD", nullptr, 10},
    {"BYTE", nullptr, 7},
    {"SHORT", nullptr, 6},
    {"WORD", nullptr, 6},
    {"REQ_NORMAL", nullptr, 0},
    {"REQ_MULTISELECT", nullptr, 1},
    {"REQ_SAVEMODE", nullptr, 2},
    {"PRGTYPE_SCRIPT", nullptr, 0},
    {"PRGTYPE_APPLET", nullptr, 1},
    {"PRGTYPE_PROGRAM", nullptr, 2},
    {"HKEY_LOCAL_MACHINE", nullptr, 2},
    {"REQICON_NONE", nullptr, 0},
    {"REQICON_INFORMATION", nullptr, 1},
    {"REQICON_ERROR", nullptr, 2},
    {"REQICON_WARNING", nullptr, 3},
    {"REQICON_QUESTION", nullptr, 4},
    {"CLIPBOARD_EMPTY", nullptr, 0},
    {"CLIPBOARD_TEXT", nullptr, 1},
    {"CLIPBOARD_IMAGE", nullptr, 2},
    {"CLIPBOARD_SOUND", nullptr, 3},
    {"CLIPBOARD_UNKNOWN", nullptr, 4},
    {"AMIGAICON_DISK", nullptr, 1},
    {"AMIGAICON_DRAWER", nullptr, 2},
    {"AMIGAICON_TOOL", nullptr, 3},
    {"AMIGAICON_PROJECT", nullptr, 4},
    {"HKEY_USERS", nullptr, 3},
    {"HKEY_CURRENT_USER", nullptr, 4},
};
static_assert(std::size(constants) == 48);

}  // namespace

Status OpenSystemLibrary(VmState& state) {
  vmOpenLibrary(state, "system", commands, constants);
  return {};
}

}  // namespace quillmere
