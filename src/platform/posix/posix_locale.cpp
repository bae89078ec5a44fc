#include "platform/posix/posix_locale.h"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>

#include "base/byte_order.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/process.h"

namespace quillmere {
namespace {

constexpr std::size_t chunkHeaderSize = 8;

std::string_view AsText(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::size_t Padded(std::size_t size, std::size_t unit) {
  return (size + unit - 1) / unit * unit;
}

/// The number in front of the point in a text such as "$VER: Name 4.8 (21.4.11)"; 0 when there is
/// none.
int VersionOf(std::string_view text) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool starts = text[at] >= '0' && text[at] <= '9' && at > 0 && text[at - 1] == ' ';
    if (!starts) continue;
    int version = 0;
    const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), version);
    if (error == std::errc() && end != text.data() + text.size() && *end == '.') return version;
  }
  return 0;
}

std::map<int, std::string> ReadStrings(std::span<const std::uint8_t> bytes) {
  std::map<int, std::string> texts;
  while (bytes.size() >= chunkHeaderSize) {
    const auto id = static_cast<int>(LoadBig<std::uint32_t>(bytes.data()));
    const std::size_t length = LoadBig<std::uint32_t>(bytes.data() + 4);
    bytes = bytes.subspan(chunkHeaderSize);
    if (length > bytes.size()) break;
    const std::string_view text = AsText(bytes.first(length));
    texts[id] = text.substr(0, text.find('\0'));
    bytes = bytes.subspan(std::min(Padded(length, 4), bytes.size()));
  }
  return texts;
}

/// Languages whose catalogs traditionally lie in directories with names of their own.
constexpr std::array<std::array<const char*, 2>, 15> languageNames = {{{"cs", "czech"},
                                                                       {"da", "dansk"},
                                                                       {"de", "deutsch"},
                                                                       {"el", "greek"},
                                                                       {"es", "espa\xF1ol"},
                                                                       {"fi", "suomi"},
                                                                       {"fr",
                                                                        "fran\xE7"
                                                                        "ais"},
                                                                       {"hu", "magyar"},
                                                                       {"it", "italiano"},
                                                                       {"nl", "nederlands"},
                                                                       {"no", "norsk"},
                                                                       {"pl", "polski"},
                                                                       {"pt", "portugu\xEAs"},
                                                                       {"ru", "russian"},
                                                                       {"sv", "svenska"}}};

std::string UserLocale() {
  for (const char* variable : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return {};
}

void AddLocale(std::string_view locale, std::vector<std::string>& directories) {
  const std::string_view territory = locale.substr(0, locale.find_first_of(".@"));
  const std::string_view language = territory.substr(0, territory.find('_'));
  for (const std::string_view name : {territory, language}) {
    if (!name.empty() && std::ranges::find(directories, name) == directories.end()) {
      directories.emplace_back(name);
    }
  }
  for (const auto& [code, name] : languageNames) {
    if (language == code) directories.emplace_back(name);
  }
}

/// The directories that may hold "Catalogs".
std::vector<std::string> CatalogRoots() {
  std::vector<std::string> roots = {"", "PROGDIR:"};
  if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') {
    roots.push_back(std::string(home) + "/.local/share/quillmere");
  }
  roots.emplace_back("/usr/local/share/quillmere");
  roots.emplace_back("/usr/share/quillmere");
  return roots;
}

std::vector<std::uint8_t> ReadWhole(PlatformFiles& files, const std::string& path) {
  const auto file = files.Open(path, OpenMode::Read);
  const std::int64_t size = file ? file->Size() : -1;
  if (size < 0 || size > largestCatalog) return {};
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
  bytes.resize(file->Read(bytes).value_or(0));
  return bytes;
}

/// Joins a text to the rest of an earlier one and hands out each complete line.
template <class Send>
void SendLines(std::string& rest, std::string_view text, const Send& send) {
  rest.append(text);
  std::size_t start = 0;
  for (std::size_t end; (end = rest.find('\n', start)) != std::string::npos; start = end + 1) {
    send(std::string_view(rest).substr(start, end - start));
  }
  rest.erase(0, start);
}

}  // namespace

std::unique_ptr<PlatformCatalog> MemoryCatalog::Read(std::span<const std::uint8_t> bytes,
                                                     int version) {
  constexpr std::size_t formHeaderSize = 12;
  if (bytes.size() < formHeaderSize || AsText(bytes.first(4)) != "FORM" ||
      AsText(bytes.subspan(8, 4)) != "CTLG") {
    return nullptr;
  }
  auto catalog = std::make_unique<MemoryCatalog>();
  int found = 0;
  bytes = bytes.subspan(formHeaderSize);
  while (bytes.size() >= chunkHeaderSize) {
    const std::string_view type = AsText(bytes.first(4));
    const std::size_t length = LoadBig<std::uint32_t>(bytes.data() + 4);
    bytes = bytes.subspan(chunkHeaderSize);
    if (length > bytes.size()) return nullptr;
    if (type == "FVER") found = VersionOf(AsText(bytes.first(length)));
    if (type == "STRS") catalog->texts_ = ReadStrings(bytes.first(length));
    bytes = bytes.subspan(std::min(Padded(length, 2), bytes.size()));
  }
  if (found < version) return nullptr;
  return catalog;
}

std::optional<std::string> MemoryCatalog::GetCatalogStr(int id) const {
  const auto text = texts_.find(id);
  return text != texts_.end() ? std::optional(text->second) : std::nullopt;
}

std::vector<std::string> CatalogDirectoriesOf(std::string_view locale) {
  std::vector<std::string> directories;
  while (!locale.empty()) {
    const std::size_t end = locale.find(':');
    const std::string_view one = locale.substr(0, end);
    if (one.starts_with("en") || one == "C" || one.starts_with("C.") || one == "POSIX") break;
    AddLocale(one, directories);
    locale = end == std::string_view::npos ? std::string_view() : locale.substr(end + 1);
  }
  return directories;
}

PosixLocale::PosixLocale(PlatformFiles& files) : files_(files) {}

PosixLocale::~PosixLocale() {
  if (!openLine_.empty()) WriteDebug(openDevice_, "\n");
}

std::unique_ptr<PlatformCatalog> PosixLocale::OpenCatalog(std::string_view name, int version) {
  const auto open = [&](const std::string& path) {
    return MemoryCatalog::Read(ReadWhole(files_, path), version);
  };
  for (const std::string& directory : CatalogDirectoriesOf(UserLocale())) {
    for (const std::string& root : CatalogRoots()) {
      const std::string catalogs = AddPart(root, "Catalogs/" + directory);
      if (auto catalog = open(AddPart(catalogs, name))) return catalog;
    }
  }
  return open(std::string(name));
}

bool PosixLocale::IsPrint(int character) {
  return (character >= 0x20 && character < 0x7F) || (character >= 0xA0 && character <= 0xFF);
}

Status PosixLocale::OpenUrl(std::string_view url) {
  const auto opener = FindOnPath("xdg-open");
  // An address is never taken for an option.
  const bool sound = !url.empty() && !url.starts_with('-') && url.find('\0') == url.npos;
  if (opener && sound && StartDetached({*opener, std::string(url)})) return {};
  if (errors_ != nullptr) errors_->argument = "openurl.library";
  return Fail(Error::CannotOpen);
}

void PosixLocale::WriteDebug(std::string_view device, std::string_view text) {
  constexpr std::string_view rexx = "@rexx:";
  openDevice_ = device;
  if (device == "@stdout") {
    WriteTo(stdout, text);
  } else if (device == "@serial") {
    SendLines(openLine_, text, [](std::string_view line) {
      syslog(LOG_USER | LOG_DEBUG, "%.*s", static_cast<int>(line.size()), line.data());
    });
  } else if (device.starts_with(rexx)) {
    WriteRexx(device.substr(rexx.size()), text);
  } else {
    WriteTo(stderr, text);
  }
}

void PosixLocale::WriteTo(std::FILE* stream, std::string_view text) const {
  errno = 0;
  std::fwrite(text.data(), 1, text.size(), stream);
  std::fflush(stream);
  if (errno == EPIPE && onClosed_) onClosed_();
}

void PosixLocale::WriteRexx(std::string_view port, std::string_view text) {
  SendLines(openLine_, text, [this, port](std::string_view line) {
    if (rexxSender_ && rexxSender_(port, line)) return;
    WriteTo(stderr, std::string(line) + "\n");
  });
}

}  // namespace quillmere
