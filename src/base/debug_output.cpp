#include "base/debug_output.h"

#include <cstdio>

namespace quillmere {

void DebugOutput::Write(std::string_view text) {
  if (text.empty()) return;
  atLineStart_ = text.back() == '\n';
  if (sink_) {
    sink_(text);
  } else {
    std::fwrite(text.data(), 1, text.size(), stderr);
  }
}

}  // namespace quillmere
