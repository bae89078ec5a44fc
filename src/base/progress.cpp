#include "base/progress.h"

#include <cstdio>
#include <string>

#include "base/names.h"

namespace quillmere {
namespace {

void PrintWord(Host& host, MessageId message) {
  if (host.flags.quiet) return;
  host.flags.progressIsOpen = false;
  const std::string line = " " + host.messages.Get(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

}  // namespace

void PrintProgress(Host& host, MessageId message, std::string_view fileName, bool withDots) {
  if (host.flags.quiet) return;
  std::string line = FormatMessage(host.messages.Get(message), {ShownFileName(fileName)});
  if (withDots) line += "...";
  host.flags.progressIsOpen = true;
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

void PrintDone(Host& host) {
  PrintWord(host, MessageId::Done);
}
void PrintFailed(Host& host) {
  PrintWord(host, MessageId::Failed);
}
void PrintSkipped(Host& host) {
  PrintWord(host, MessageId::Skipped);
}

}  // namespace quillmere
