// Compiling a text inside a test.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>

#include "qmc/compiler.h"
#include "vm/image.h"

namespace quillmere::qmc {

/// Compiles a text that stands for a file of no directory.
inline std::unique_ptr<Compilation> CompileForTest(const std::string& text) {
  auto compilation = std::make_unique<Compilation>();
  CompileText(*compilation, "test.qms", "test.qms", text);
  return compilation;
}

/// Every fault of a text as "line:column code", one behind the other with a blank between.
inline std::string FaultsOf(const std::string& text) {
  const auto compilation = CompileForTest(text);
  std::string out;
  for (const Diagnostic& fault : compilation->diagnostics.List()) {
    const LinePlace place = compilation->sources.Find(fault.position);
    if (!out.empty()) out += ' ';
    out += std::to_string(place.line) + ':' + std::to_string(place.column) + ' ' +
           std::to_string(static_cast<int>(fault.code));
  }
  return out;
}

/// Compiles a text and reads its image back, which verifies it.
inline Result<ImageFunction> ImageOf(const std::string& text, ImageOptions options = {}) {
  const auto compilation = CompileForTest(text);
  EXPECT_EQ(compilation->diagnostics.Render(compilation->sources), "");
  const std::string bytes = WriteImage(compilation->code.main, options);
  return ReadImage({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, "");
}

}  // namespace quillmere::qmc
