#include "qmc/compiler.h"

#include "qmc/lexer.h"

namespace quillmere::qmc {

void CompileText(Compilation& compilation, std::string name, std::filesystem::path path,
                 std::string text) {
  const std::uint32_t file =
      compilation.sources.Add(std::move(name), std::move(path), std::move(text));
  Lexer lexer(compilation.names, compilation.sources, compilation.diagnostics);
  const std::vector<Token> tokens = lexer.Run(file);
  Parser parser(tokens, compilation.names, compilation.arena, compilation.diagnostics);
  compilation.script = parser.Run();
  if (!compilation.diagnostics.Empty()) return;
  Generator generator(compilation.names, compilation.diagnostics);
  compilation.code = generator.Run(*compilation.script.main);
}

}  // namespace quillmere::qmc
