#include "qmc/applet_reader.h"

#include <zlib.h>

#include <array>
#include <bit>
#include <iomanip>
#include <optional>
#include <sstream>

#include "base/byte_order.h"
#include "files/applet_format.h"
#include "qmc/folding.h"

namespace quillmere::qmc {
namespace {

constexpr std::array kindNames = {"bgpic", "brush",  "anim", "music", "sample", "button",
                                  "key",   "sprite", "file", "font",  "display"};
static_assert(kindNames.size() == objectKindCount);

constexpr std::array tagNames = {
    "data",          "bytecode",       "objects",          "display size",
    "display title", "display color",  "display position", "display desktop",
    "lines",         "labels",         "version",          "title",
    "version text",  "copyright",      "author",           "description",
    "display mode",  "backfill",       "borderless",       "fixed",
    "sizeable",      "hide title bar", "screen size",      "screen depth",
    "hide pointer",  "no mode switch", "linked files",     "lines of chunks",
    "scale mode",    "lock settings",  "no hide",          "constants"};
static_assert(tagNames.size() == appletTagCount);

/// Reads numbers and texts; the first read past the end makes all later ones empty.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  template <std::unsigned_integral T>
  T Big() {
    const std::string_view part = Bytes(sizeof(T));
    return part.empty() ? T{0} : LoadBig<T>(reinterpret_cast<const std::uint8_t*>(part.data()));
  }
  int U8() { return Big<std::uint8_t>(); }
  int I16() { return static_cast<std::int16_t>(Big<std::uint16_t>()); }
  std::uint32_t U32() { return Big<std::uint32_t>(); }
  std::int32_t I32() { return static_cast<std::int32_t>(U32()); }
  double F64() { return std::bit_cast<double>(Big<std::uint64_t>()); }
  std::string_view Bytes(std::size_t size) {
    if (size > bytes_.size() - at_) {
      failed_ = true;
      at_ = bytes_.size();
      return {};
    }
    at_ += size;
    return bytes_.substr(at_ - size, size);
  }
  std::string Text() {
    const std::size_t end = bytes_.find('\0', at_);
    const std::size_t size = (end == std::string_view::npos ? bytes_.size() + 1 : end) - at_;
    std::string text(Bytes(size));
    if (!failed_) ++at_;
    return text;
  }
  /// A part anywhere in the file; empty when it reaches past the end.
  [[nodiscard]] std::string_view Part(std::size_t offset, std::size_t size) const {
    if (offset > bytes_.size() || size > bytes_.size() - offset) return {};
    return bytes_.substr(offset, size);
  }
  [[nodiscard]] bool Failed() const { return failed_; }
  [[nodiscard]] std::size_t At() const { return at_; }
  void Rewind(std::size_t at) { at_ = at; }

 private:
  std::string_view bytes_;
  std::size_t at_ = 0;
  bool failed_ = false;
};

class Lister {
 public:
  explicit Lister(std::string_view bytes) : in_(bytes) {}

  Result<AppletListing> Run() {
    if (in_.U32() != appletMagic) return Fail(Error::NoApplet);
    while (!hasCode_) {
      const std::size_t at = in_.At();
      const int tag = in_.U8();
      if (in_.Failed()) return Fail(Error::UnexpectedEndOfFile);
      if (tag >= appletTagCount) return Fail(Error::UnknownSection);
      out_ << std::setw(9) << at << "  " << std::left << std::setw(17)
           << tagNames[static_cast<std::size_t>(tag)] << std::right;
      Section(static_cast<AppletTag>(tag));
      if (in_.Failed()) return Fail(Error::UnexpectedEndOfFile);
    }
    return AppletListing{out_.str(), std::move(code_)};
  }

 private:
  void Section(AppletTag tag) {
    switch (tag) {
      case AppletTag::Data: {
        const std::uint32_t size = in_.U32();
        in_.Bytes(size);
        out_ << size << " bytes\n";
        break;
      }
      case AppletTag::Bytecode:
        code_ = in_.Bytes(in_.U32());
        hasCode_ = true;
        out_ << code_.size() << " bytes\n";
        break;
      case AppletTag::Objects:
        Objects();
        break;
      case AppletTag::DisplaySize:
      case AppletTag::ScreenSize: {
        const int width = in_.I16();
        out_ << width << " by " << in_.I16() << '\n';
        break;
      }
      case AppletTag::DisplayTitle:
        out_ << CountedText() << '\n';
        break;
      case AppletTag::DisplayColor:
        out_ << Color(in_.U32()) << '\n';
        break;
      case AppletTag::DisplayPosition: {
        const int x = in_.I32();
        out_ << x << ", " << in_.I32() << '\n';
        break;
      }
      case AppletTag::DisplayDesktop:
      case AppletTag::LockSettings:
        out_ << '\n';
        break;
      case AppletTag::LineTable:
        Lines(false);
        break;
      case AppletTag::LineTableOfChunks:
        Lines(true);
        break;
      case AppletTag::Labels:
        Labels();
        break;
      case AppletTag::Version:
        version_.major = in_.U8();
        version_.minor = in_.U8();
        out_ << version_.major << '.' << version_.minor << '\n';
        break;
      case AppletTag::Title:
      case AppletTag::VersionText:
      case AppletTag::Copyright:
      case AppletTag::Author:
      case AppletTag::Description:
        out_ << in_.Text() << '\n';
        break;
      case AppletTag::DisplayMode:
      case AppletTag::HideTitleBar:
      case AppletTag::ScreenDepth:
      case AppletTag::Borderless:
      case AppletTag::Fixed:
      case AppletTag::Sizeable:
      case AppletTag::HidePointer:
      case AppletTag::NoModeSwitch:
      case AppletTag::NoHide:
        out_ << in_.U8() << '\n';
        break;
      case AppletTag::Backfill:
        Backfill();
        break;
      case AppletTag::LinkedFiles:
        Files();
        break;
      case AppletTag::ScaleMode: {
        out_ << (in_.U8() == 0 ? "auto" : "layers");
        const int width = in_.I32();
        out_ << ", " << width << " by " << in_.I32() << (in_.U8() != 0 ? ", smooth\n" : "\n");
        break;
      }
      case AppletTag::UserConstants:
        Constants();
        break;
    }
  }

  static std::string Color(std::uint32_t color) {
    std::ostringstream out;
    out << '$' << std::hex << std::uppercase << std::setw(6) << std::setfill('0') << color;
    return out.str();
  }

  std::string CountedText() {
    return std::string(in_.Bytes(static_cast<std::uint16_t>(in_.I16())));
  }

  /// The number of records to come, with the line closed behind it.
  std::uint32_t Count() {
    const std::uint32_t count = in_.U32();
    out_ << count << '\n';
    return count;
  }

  void Lines(bool hasChunks) {
    for (std::uint32_t left = Count(); left > 0 && !in_.Failed(); --left) {
      const std::uint32_t first = in_.U32();
      const std::uint32_t last = in_.U32();
      const std::uint32_t base = in_.U32();
      out_ << std::string(11, ' ') << first << " to " << last << ": " << in_.Text() << " from line "
           << base + 1;
      const std::string chunk = hasChunks ? in_.Text() : std::string();
      out_ << (chunk.empty() ? "" : " in ") << chunk << '\n';
    }
  }

  void Labels() {
    for (std::uint32_t left = Count(); left > 0 && !in_.Failed(); --left) {
      const std::uint32_t position = in_.U32();
      out_ << std::string(11, ' ') << in_.Text() << " at " << position << '\n';
    }
  }

  void Constants() {
    out_ << '\n';
    for (std::string name = in_.Text(); !name.empty(); name = in_.Text()) {
      out_ << std::string(11, ' ') << '#' << name << " = ";
      const std::size_t at = in_.At();
      if (in_.U8() == 0) {
        out_ << NumberText(in_.F64()) << '\n';
      } else {
        in_.Rewind(at);
        out_ << '"' << in_.Text() << "\"\n";
      }
    }
  }

  void Backfill() {
    const int kind = in_.U8();
    switch (static_cast<BackfillKind>(kind)) {
      case BackfillKind::Color:
        out_ << "color " << Color(in_.U32());
        break;
      case BackfillKind::Gradient:
        out_ << "gradient " << Color(in_.U32());
        out_ << " to " << Color(in_.U32());
        break;
      case BackfillKind::Texture:
        out_ << "texture of brush " << in_.U32();
        break;
      case BackfillKind::Picture: {
        out_ << "picture of brush " << in_.U32();
        const int x = in_.I32();
        const int y = in_.I32();
        out_ << " at " << x << ", " << y << ", " << Color(in_.U32());
        out_ << " to " << Color(in_.U32());
        if (version_ >= versionOfBackfillScale && in_.U8() != 0) out_ << ", scaled";
        break;
      }
      default:
        out_ << "none";
        break;
    }
    out_ << '\n';
  }

  void Files() {
    const std::uint32_t count = in_.U32();
    in_.U32();
    out_ << count << '\n';
    for (std::uint32_t left = count; left > 0 && !in_.Failed(); --left) {
      const std::string name = in_.Text();
      std::uint32_t size = in_.U32();
      if (size == linkedDataElsewhere) {
        size = in_.U32();
        in_.U32();
      } else {
        in_.Bytes(size);
      }
      out_ << std::string(11, ' ') << name << ", " << size << " bytes\n";
    }
  }

  void Objects() {
    for (std::uint32_t left = Count(); left > 0 && !in_.Failed(); --left) {
      const int kind = in_.U8();
      if (kind >= objectKindCount) {
        out_ << "unknown object " << kind << '\n';
        return;
      }
      out_ << std::string(11, ' ') << kindNames[static_cast<std::size_t>(kind)] << ' ' << in_.I32();
      const std::uint32_t nameOffset = in_.U32();
      const std::uint32_t nameSize = in_.U32();
      const std::string name(in_.Part(nameOffset, nameSize > 0 ? nameSize - 1 : 0));
      in_.U32();
      const std::uint32_t size = in_.U32();
      const std::int32_t transparency = in_.I32();
      const std::uint32_t alpha = in_.U32();
      const std::uint32_t line = in_.U32();
      if (!name.empty()) out_ << " \"" << name << '"';
      if (size > 0) out_ << ", " << size << " bytes";
      Attributes(static_cast<ObjectKind>(kind), transparency, alpha);
      out_ << ", line " << line << '\n';
    }
  }

  /// A field that only counts when it isn't -1.
  void Optional(const char* name) {
    if (const int value = in_.I16(); value != -1) out_ << ", " << name << ' ' << value;
  }

  void Frames() {
    for (const char* name : {"width", "height", "frames", "fpr", "x", "y"}) Optional(name);
  }

  void Fill() {
    out_ << " to " << Color(in_.U32());
    out_ << " at " << in_.I16() << " degrees";
    out_ << ", brush " << in_.U32();
    const int x = in_.I32();
    out_ << " from " << x << ", " << in_.I32();
  }

  void Attributes(ObjectKind kind, std::int32_t transparency, std::uint32_t alpha) {
    if (kind == ObjectKind::Font) {
      out_ << ", size " << transparency << ", engine " << (alpha & fontEngineMask);
      if ((alpha & fontCacheOff) != 0) out_ << ", no cache";
      return;
    }
    if (transparency != -1) {
      out_ << ", transparent " << Color(static_cast<std::uint32_t>(transparency));
    }
    if (alpha != 0) out_ << ", alpha channel";
    switch (kind) {
      case ObjectKind::BGPic:
        if (version_ < versionOfFillStyles) break;
        out_ << ", fill style " << in_.U8();
        out_ << ' ' << Color(in_.U32());
        Fill();
        break;
      case ObjectKind::Brush:
        for (const char* name : {"width", "height", "x", "y", "globalalpha"}) Optional(name);
        break;
      case ObjectKind::Anim:
        if (version_ >= versionOfAnimFromDisk && in_.U8() != 0) out_ << ", from disk";
        if (version_ >= versionOfAnimGeometry) Frames();
        break;
      case ObjectKind::Sprite:
        Frames();
        break;
      case ObjectKind::Button:
        for (const char* gap : {", ", " ", " to ", " "}) out_ << gap << in_.I16();
        break;
      case ObjectKind::Display:
        Display();
        break;
      default:
        break;
    }
  }

  void Regions(const char* name) {
    const std::uint32_t count = in_.U32();
    for (std::uint32_t left = count; left > 0 && !in_.Failed(); --left) {
      in_.U32();
      out_ << ", " << name;
      for (int i = 0; i < 4; ++i) out_ << ' ' << in_.I32();
    }
  }

  void Display() {
    const std::uint32_t bgpic = in_.U32();
    const int x = in_.I32();
    const int y = in_.I32();
    const int width = in_.I32();
    const int height = in_.I32();
    const std::uint32_t color = in_.U32();
    const std::uint32_t flags = in_.U32();
    const std::uint32_t mask = in_.U32();
    const int scaleWidth = in_.I32();
    const int scaleHeight = in_.I32();
    out_ << ", " << width << " by " << height << " at " << x << ", " << y << ", " << Color(color)
         << ", options $" << std::hex << flags << " of $" << mask << std::dec;
    if ((flags & display_option::hasBGPic) != 0) out_ << ", bgpic " << bgpic;
    if (scaleWidth != 0 || scaleHeight != 0) {
      out_ << ", scaled to " << scaleWidth << " by " << scaleHeight;
    }
    Regions("drag region");
    Regions("size region");
    out_ << ", \"" << CountedText() << '"';
    if (version_ < versionOfFillStyles) return;
    out_ << ", fill style " << in_.U8();
    Fill();
  }

  Reader in_;
  std::ostringstream out_;
  AppletVersion version_;
  std::string code_;
  bool hasCode_ = false;
};

/// A whole zlib stream, bounded so that a small file can't fill the memory.
Result<std::string> Inflate(std::string_view stream) {
  constexpr std::size_t limit = std::size_t{1} << 31;
  std::string out;
  z_stream state{};
  if (inflateInit(&state) != Z_OK) return Fail(Error::OutOfMemory);
  state.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(stream.data()));
  state.avail_in = static_cast<uInt>(stream.size());
  std::array<char, 65536> buffer;
  int code = Z_OK;
  while (code == Z_OK && out.size() < limit) {
    state.next_out = reinterpret_cast<Bytef*>(buffer.data());
    state.avail_out = buffer.size();
    code = inflate(&state, Z_NO_FLUSH);
    out.append(buffer.data(), buffer.size() - state.avail_out);
  }
  inflateEnd(&state);
  if (code != Z_STREAM_END) return Fail(Error::ZlibData);
  return out;
}

/// Where the applet behind a player begins; 0 for a file that is no player.
std::size_t AppletOffset(const std::string& bytes) {
  const std::string_view key(reinterpret_cast<const char*>(player_marker::key.data()),
                             player_marker::key.size());
  const std::size_t at = bytes.find(key);
  constexpr std::size_t offsetSize = player_marker::keyAt - player_marker::offsetAt;
  if (at == std::string::npos || at < offsetSize) return 0;
  const auto* field = reinterpret_cast<const std::uint8_t*>(bytes.data() + at - offsetSize);
  const std::uint32_t offset = LoadBig<std::uint32_t>(field);
  return offset == player_marker::nothingAppended ? bytes.size() : offset;
}

}  // namespace

Result<AppletListing> ListApplet(const std::string& bytes) {
  std::string_view applet = bytes;
  const bool isApplet = applet.starts_with("QMA") || applet.starts_with("QMZ");
  if (!isApplet) applet.remove_prefix(std::min(AppletOffset(bytes), applet.size()));
  if (applet.size() <= sizeof(std::uint32_t)) return Fail(Error::NoApplet);
  Reader start(applet);
  if (start.U32() != compressedAppletMagic) return Lister(applet).Run();
  start.U32();
  const std::string plain = TRY(Inflate(applet.substr(start.At())));
  return Lister(plain).Run();
}

}  // namespace quillmere::qmc
