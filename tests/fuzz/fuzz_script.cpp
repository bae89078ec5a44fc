// The compiler: a script is refused with faults that have a place, or becomes an image that the
// machine takes.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "qmc/applet_reader.h"
#include "qmc/compiler.h"
#include "qmc/disassembler.h"
#include "vm/image.h"

using namespace quillmere;
using namespace quillmere::qmc;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  // The tool's own reader of applets takes foreign bytes too.
  static_cast<void>(ListApplet(text));
  // Includes would read the disk.
  if (text.find('@') != std::string::npos) return 0;
  Compilation compilation;
  CompileText(compilation, "fuzz.qms", "fuzz.qms", text);
  if (!compilation.diagnostics.Empty()) {
    for (const Diagnostic& fault : compilation.diagnostics.List()) {
      if (fault.position.offset > size) std::abort();
    }
    if (compilation.diagnostics.Render(compilation.sources).empty()) std::abort();
    return 0;
  }
  const std::string image = WriteImage(compilation.code.main);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(image.data());
  const Result<ImageFunction> read = ReadImage({bytes, image.size()}, "");
  if (!read || Disassemble(*read).empty()) std::abort();
  return 0;
}
