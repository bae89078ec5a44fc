#include "base/progress.h"

#include <cstdio>
#include <string>

#include "base/names.h"

namespace quillmere {
namespace {

void Print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fflush(stdout);
}

void PrintWord(Host& host, MessageId message) {
  if (host.flags.quiet) return;
  host.flags.progressIsOpen = false;
  Print(" " + host.messages.Get(message) + "\n");
}

}  // namespace

void PrintProgress(Host& host, MessageId message, std::string_view fileName, bool withDots) {
  if (host.flags.quiet) return;
  std::string line = FormatMessage(host.messages.Get(message), {ShownFileName(fileName)});
  if (withDots) line += "...";
  host.flags.progressIsOpen = true;
  Print(line);
}

void PrintLine(Host& host, MessageId message) {
  if (!host.flags.quiet) Print(host.messages.Get(message) + "\n");
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
