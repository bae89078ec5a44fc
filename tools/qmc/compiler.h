// The way from a script's text to code: what the program `qmc` and its tests call.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "qmc/arena.h"
#include "qmc/diagnostics.h"
#include "qmc/generator.h"
#include "qmc/names.h"
#include "qmc/parser.h"
#include "qmc/source.h"

namespace quillmere::qmc {

/// One script on its way: the texts, the tree and the code of it, and what is wrong with it.
struct Compilation {
  Sources sources;
  NameTable names;
  Arena arena;
  Diagnostics diagnostics;
  Script script;
  CompiledCode code;
};

/// Compiles a text. `name` is shown in messages; includes are looked up beside `path`. The code is
/// there only when `diagnostics` is empty.
void CompileText(Compilation& compilation, std::string name, std::filesystem::path path,
                 std::string text);

}  // namespace quillmere::qmc
