// The lines that tell a user what is being loaded.
#pragma once

#include <string_view>

#include "base/host.h"

namespace quillmere {

/// Prints a message to standard output unless the program is quiet: `%s` takes the last part of the
/// file name, a virtual name is shown by its display name, and `withDots` adds "...". The line
/// stays open for `PrintDone`, `PrintFailed` or `PrintSkipped`.
void PrintProgress(Host& host, MessageId message, std::string_view fileName, bool withDots);

/// Prints a message on a line of its own, unless the program is quiet.
void PrintLine(Host& host, MessageId message);

/// Close the line with the texts "done", "failed" and "skipped", unless the program is quiet.
void PrintDone(Host& host);
void PrintFailed(Host& host);
void PrintSkipped(Host& host);

}  // namespace quillmere
