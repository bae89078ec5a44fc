// The reader of applets, on an applet that stands alone and on one behind other bytes.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "base/messages.h"
#include "files/applet_parser.h"

using namespace quillmere;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::make_shared<const std::vector<std::uint8_t>>(data, data + size);
  const std::int64_t origin = size > 0 && (data[size - 1] & 1) != 0 ? 3 : 0;
  qmAppletInfo info;
  ErrorContext errors;
  const Status status = ParseApplet(*qmFile::OverMemory(bytes), origin, "a.qma", info, errors);
  if (!status && MessageOfError(static_cast<int>(status.error())) < 0) std::abort();
  return 0;
}
