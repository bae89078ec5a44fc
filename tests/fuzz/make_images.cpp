// Makes the images that the fuzz target of the loader starts from: each script becomes one of
// either byte order.
//
//   make_images DIRECTORY SCRIPT...
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string>

#include "qmc/compiler.h"
#include "vm/image.h"

using namespace quillmere;

namespace {

bool Save(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out << bytes;
  return out.good();
}

bool Make(const std::filesystem::path& directory, const std::filesystem::path& script) {
  std::ifstream in(script, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  qmc::Compilation compilation;
  qmc::CompileText(compilation, script.filename(), script, text);
  if (!compilation.diagnostics.Empty()) {
    std::fputs(compilation.diagnostics.Render(compilation.sources).c_str(), stderr);
    return false;
  }
  const ImageFunction& main = compilation.code.main;
  const std::string name = script.stem();
  return Save(directory / (name + "_little"), WriteImage(main, {std::endian::little, false})) &&
         Save(directory / (name + "_big"), WriteImage(main, {std::endian::big, true}));
}

}  // namespace

int main(int argc, char** argv) {
  const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
  for (std::size_t i = 2; i < arguments.size(); ++i) {
    if (!Make(arguments[1], arguments[i])) return 1;
  }
  return 0;
}
