// The user's language, web links, and where debug text goes.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"

namespace quillmere {

/// A table of texts by number in a file.
class PlatformCatalog {
 public:
  virtual ~PlatformCatalog() = default;
  [[nodiscard]] virtual std::optional<std::string> GetCatalogStr(int id) const = 0;
};

class PlatformLocale {
 public:
  virtual ~PlatformLocale() = default;
  /// Opens a catalog by file name and least version; null when there is none.
  virtual std::unique_ptr<PlatformCatalog> OpenCatalog(std::string_view name, int version) = 0;
  /// Whether a Latin-1 character prints.
  [[nodiscard]] virtual bool IsPrint(int character) = 0;
  /// Opens a web address with the user's browser; when nothing can, `Error::CannotOpen` with
  /// "openurl.library".
  virtual Status OpenUrl(std::string_view url) = 0;
  /// Writes debug text to a device: "@stdout", "@serial" (the system's log) or "@rexx:PORT" (one
  /// message a line). Any other name, the empty one too, is the console: standard error.
  virtual void WriteDebug(std::string_view device, std::string_view text) = 0;
  /// Sends one line to a message port; false when there is no such port.
  using RexxSender = std::function<bool(std::string_view port, std::string_view line)>;
  /// Sets how lines for "@rexx:" travel. What cannot be sent goes to the console.
  virtual void SetRexxSender(RexxSender sender) = 0;
};

}  // namespace quillmere
