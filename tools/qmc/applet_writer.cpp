#include <zlib.h>

#include <algorithm>
#include <limits>

#include "qmc/applet.h"
#include "qmc/byte_writer.h"

namespace quillmere::qmc {
namespace {

constexpr std::uint32_t countSize = 4;

class AppletWriter {
 public:
  explicit AppletWriter(const Applet& applet) : applet_(applet) {}

  std::string Run() {
    out_.U32(appletMagic);
    Tag(AppletTag::Version);
    out_.U8(static_cast<std::uint8_t>(newestAppletVersion.major));
    out_.U8(static_cast<std::uint8_t>(newestAppletVersion.minor));
    WriteTexts();
    WriteSettings();
    WriteConstants();
    WriteLabels();
    WriteLines();
    WriteData();
    WriteObjects();
    WriteFiles();
    Tag(AppletTag::Bytecode);
    Block(applet_.bytecode);
    for (const std::uint8_t byte : appletTrailer) out_.U8(byte);
    return out_.Take();
  }

 private:
  void Tag(AppletTag tag) { out_.U8(static_cast<std::uint8_t>(tag)); }

  void Block(std::string_view bytes) {
    out_.U32(static_cast<std::uint32_t>(bytes.size()));
    out_.Bytes(bytes);
  }

  void Text(AppletTag tag, std::string_view text) {
    if (text.empty()) return;
    Tag(tag);
    out_.Text(text);
  }

  void Byte(AppletTag tag, const std::optional<std::uint8_t>& value) {
    if (!value) return;
    Tag(tag);
    out_.U8(*value);
  }

  void WriteTexts() {
    Text(AppletTag::Title, applet_.title);
    Text(AppletTag::VersionText, applet_.version);
    Text(AppletTag::Copyright, applet_.copyright);
    Text(AppletTag::Author, applet_.author);
    Text(AppletTag::Description, applet_.description);
  }

  /// The lock comes first, since it puts all other settings back.
  void WriteSettings() {
    if (applet_.lockSettings) Tag(AppletTag::LockSettings);
    Byte(AppletTag::DisplayMode, applet_.displayMode);
    Byte(AppletTag::HideTitleBar, applet_.hideTitleBar);
    Byte(AppletTag::ScreenDepth, applet_.screenDepth);
    if (applet_.screenSize) {
      Tag(AppletTag::ScreenSize);
      out_.I16(applet_.screenSize->first);
      out_.I16(applet_.screenSize->second);
    }
    if (!applet_.backfill.empty()) {
      Tag(AppletTag::Backfill);
      out_.Bytes(applet_.backfill);
    }
    if (applet_.desktop) Tag(AppletTag::DisplayDesktop);
  }

  void WriteConstants() {
    if (applet_.constants.empty()) return;
    Tag(AppletTag::UserConstants);
    for (const AppletConstant& constant : applet_.constants) {
      out_.Text(constant.name);
      if (!constant.text.empty()) {
        out_.Text(constant.text);
      } else {
        out_.U8(0);
        out_.F64(constant.number);
      }
    }
    out_.Text("");
  }

  void WriteLabels() {
    if (applet_.labels.empty()) return;
    Tag(AppletTag::Labels);
    out_.U32(static_cast<std::uint32_t>(applet_.labels.size()));
    for (const LabelPosition& label : applet_.labels) {
      out_.U32(label.position);
      out_.Text(label.name);
    }
  }

  /// The main chunk has no name of its own, and so have the chunks of the records.
  void WriteLines() {
    if (applet_.lines.empty()) return;
    Tag(AppletTag::LineTableOfChunks);
    out_.U32(static_cast<std::uint32_t>(applet_.lines.size()));
    for (const AppletLines& record : applet_.lines) {
      out_.U32(record.first);
      out_.U32(record.last);
      out_.U32(record.base);
      out_.Text(record.source);
      out_.Text("");
    }
  }

  /// Names and files of the objects. Offsets count from the start of the applet.
  void WriteData() {
    if (applet_.objects.empty() && applet_.data.empty()) return;
    Tag(AppletTag::Data);
    std::size_t offset = out_.Size() + countSize;
    std::string block;
    for (const std::string& data : applet_.data) {
      dataOffsets_.push_back(static_cast<std::uint32_t>(offset + block.size()));
      block += data;
    }
    for (const AppletObject& object : applet_.objects) {
      nameOffsets_.push_back(static_cast<std::uint32_t>(offset + block.size()));
      if (object.name.empty()) continue;
      block += object.name;
      block += '\0';
    }
    Block(block);
  }

  void WriteObjects() {
    if (applet_.objects.empty()) return;
    Tag(AppletTag::Objects);
    out_.U32(static_cast<std::uint32_t>(applet_.objects.size()));
    for (std::size_t i = 0; i < applet_.objects.size(); ++i) {
      const AppletObject& object = applet_.objects[i];
      const std::size_t nameSize = object.name.empty() ? 0 : object.name.size() + 1;
      out_.U8(static_cast<std::uint8_t>(object.kind));
      out_.U32(object.id);
      out_.U32(nameOffsets_[i]);
      out_.U32(static_cast<std::uint32_t>(nameSize));
      out_.U32(object.data ? dataOffsets_[*object.data] : 0);
      out_.U32(object.data ? DataSize(*object.data) : 0);
      out_.U32(object.transparency);
      out_.U32(object.loadAlpha);
      out_.U32(object.line);
      out_.Bytes(object.attributes);
    }
  }

  void WriteFiles() {
    if (applet_.files.empty()) return;
    Tag(AppletTag::LinkedFiles);
    out_.U32(static_cast<std::uint32_t>(applet_.files.size()));
    out_.U32(0);
    for (const AppletFile& file : applet_.files) {
      out_.Text(file.name);
      out_.U32(linkedDataElsewhere);
      out_.U32(DataSize(file.data));
      out_.U32(dataOffsets_[file.data]);
    }
  }

  [[nodiscard]] std::uint32_t DataSize(std::size_t data) const {
    return static_cast<std::uint32_t>(applet_.data[data].size());
  }

  const Applet& applet_;
  ByteWriter out_;
  std::vector<std::uint32_t> dataOffsets_;
  std::vector<std::uint32_t> nameOffsets_;
};

}  // namespace

Result<std::string> WriteApplet(const Applet& applet) {
  std::string bytes = AppletWriter(applet).Run();
  if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) return Fail(Error::InternalLimit);
  return bytes;
}

Result<std::string> CompressApplet(const std::string& applet) {
  ByteWriter header;
  header.U32(compressedAppletMagic);
  header.U32(0);
  std::string out = header.Take();
  const std::size_t start = out.size();
  uLongf size = compressBound(static_cast<uLong>(applet.size()));
  out.resize(start + size);
  const int code =
      compress(reinterpret_cast<Bytef*>(out.data() + start), &size,
               reinterpret_cast<const Bytef*>(applet.data()), static_cast<uLong>(applet.size()));
  if (code != Z_OK) return Fail(code == Z_MEM_ERROR ? Error::OutOfMemory : Error::ZlibStream);
  out.resize(start + size);
  return out;
}

Result<std::string> AppendToPlayer(std::string player, const std::string& applet) {
  const std::string_view key(reinterpret_cast<const char*>(player_marker::key.data()),
                             player_marker::key.size());
  const std::size_t at = player.find(key);
  constexpr std::size_t offsetSize = player_marker::keyAt - player_marker::offsetAt;
  if (at == std::string::npos || at < offsetSize) return Fail(Error::MagicKeyNotFound);
  auto* field = reinterpret_cast<std::uint8_t*>(player.data() + at - offsetSize);
  const std::uint32_t before = LoadBig<std::uint32_t>(field);
  const std::size_t playerSize = before == player_marker::nothingAppended
                                     ? player.size()
                                     : std::min<std::size_t>(before, player.size());
  if (playerSize + applet.size() > std::numeric_limits<std::uint32_t>::max()) {
    return Fail(Error::InternalLimit);
  }
  StoreBig(field, static_cast<std::uint32_t>(playerSize));
  player.resize(playerSize);
  return player + applet;
}

}  // namespace quillmere::qmc
