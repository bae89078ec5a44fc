// Catalogs, character classes, web links and the debug output of the system.
#pragma once

#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>

#include "platform/files.h"
#include "platform/locale.h"

namespace quillmere {

/// Catalogs hold a few hundred lines of text; a file of more bytes is none.
inline constexpr std::int64_t largestCatalog = 16 << 20;

/// A catalog in memory.
class MemoryCatalog final : public PlatformCatalog {
 public:
  /// Reads a catalog in IFF form: a FORM of the type CTLG whose chunk STRS holds, for each text,
  /// its number, its length (both big-endian), its bytes with a zero behind them, and padding to a
  /// multiple of four. The chunk FVER holds the version text. Nothing when the bytes are no
  /// catalog or its version is below `version`.
  [[nodiscard]] static std::unique_ptr<PlatformCatalog> Read(std::span<const std::uint8_t> bytes,
                                                             int version);

  [[nodiscard]] std::optional<std::string> GetCatalogStr(int id) const override;

 private:
  std::map<int, std::string> texts_;
};

class PosixLocale final : public PlatformLocale {
 public:
  explicit PosixLocale(PlatformFiles& files);
  /// Ends a debug line that is still open.
  ~PosixLocale() override;

  std::unique_ptr<PlatformCatalog> OpenCatalog(std::string_view name, int version) override;
  bool IsPrint(int character) override;
  Status OpenUrl(std::string_view url) override;
  void WriteDebug(std::string_view device, std::string_view text) override;
  void SetRexxSender(RexxSender sender) override { rexxSender_ = std::move(sender); }
  /// Called when nobody reads the debug output any more.
  void SetOnClosed(std::function<void()> onClosed) { onClosed_ = std::move(onClosed); }
  /// Where an error that names something is noted.
  void SetErrors(ErrorContext& errors) { errors_ = &errors; }

 private:
  void WriteTo(std::FILE* stream, std::string_view text) const;
  void WriteRexx(std::string_view port, std::string_view text);

  PlatformFiles& files_;
  ErrorContext* errors_ = nullptr;
  RexxSender rexxSender_;
  std::function<void()> onClosed_;
  /// The beginning of a line for "@rexx:" or "@serial" whose end has not come.
  std::string openLine_;
  /// Where it goes.
  std::string openDevice_;
};

/// The names by which the directories of a user's catalogs are called, the best first, from the
/// value of the environment (`LANGUAGE`, or a locale such as "de_AT.UTF-8"): "de_AT", "de",
/// "deutsch". Empty for the program's own language, English.
[[nodiscard]] std::vector<std::string> CatalogDirectoriesOf(std::string_view locale);

}  // namespace quillmere
