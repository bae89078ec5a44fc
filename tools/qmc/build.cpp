#include "qmc/build.h"

#include <fstream>

#include "qmc/declarations.h"
#include "qmc/linker.h"
#include "vm/image.h"

namespace quillmere::qmc {
namespace {

/// A failure that has no place in the script.
std::string PlainFailure(const std::string& name, Error code, const std::string& argument) {
  return name + ": " + OneLineMessage(code, argument) + " (" +
         std::to_string(static_cast<int>(code)) + ")\n";
}

void LinkExtraFiles(const BuildOptions& options, Linker& linker, std::string& faults) {
  for (const std::string& file : options.files) {
    const Status status = linker.Link(file, file);
    if (!status) faults += PlainFailure("qmc", status.error(), file);
  }
  for (const std::string& font : options.fonts) {
    const std::size_t sign = font.find('=');
    const bool isNamed = sign != std::string::npos;
    const std::string file = isNamed ? font.substr(sign + 1) : font;
    const std::string name =
        isNamed ? font.substr(0, sign) : std::filesystem::path(file).stem().string();
    const Status status = linker.LinkFont(name, file);
    if (!status) faults += PlainFailure("qmc", status.error(), file);
  }
}

void AddConstants(const Compilation& compilation, Applet& applet) {
  for (const UserConstant& constant : compilation.script.constants) {
    AppletConstant& entry = applet.constants.emplace_back();
    entry.name = compilation.names.Text(constant.name);
    if (constant.value->kind == ExprKind::String) {
      entry.text = compilation.names.Text(As<StringExpr>(*constant.value).text);
    } else {
      entry.number = As<NumberExpr>(*constant.value).value;
    }
  }
}

/// Included files go by the names that the script gives them; the script itself goes by its name
/// alone, wherever it stood when it was compiled.
void AddLines(const Compilation& compilation, Applet& applet) {
  for (const LineStretch& stretch : compilation.sources.stretches) {
    const SourceFile& file = compilation.sources.File(stretch.file);
    const std::string name = stretch.file == 0 ? file.path.filename().string() : file.name;
    applet.lines.push_back({stretch.first, stretch.last, stretch.base, name});
  }
}

}  // namespace

Applet BuildApplet(Compilation& compilation, const BuildOptions& options,
                   std::string& plainFaults) {
  Applet applet;
  Linker linker(applet);
  Declarations(compilation, applet, linker, options.linkFiles).Run();
  LinkExtraFiles(options, linker, plainFaults);
  AddConstants(compilation, applet);
  if (!options.strip) AddLines(compilation, applet);
  applet.labels = compilation.code.labels;
  ImageOptions image;
  image.strip = options.strip;
  image.byteOrder = options.bigEndian ? std::endian::big : std::endian::little;
  applet.bytecode = WriteImage(compilation.code.main, image);
  return applet;
}

Status WriteWholeFile(const std::filesystem::path& path, const std::string& bytes, bool isProgram) {
  std::filesystem::path part = path;
  part += ".part";
  {
    std::ofstream stream(part, std::ios::binary | std::ios::trunc);
    if (!stream) return Fail(Error::CannotWriteFile);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.flush();
    if (!stream) {
      stream.close();
      std::error_code ignored;
      std::filesystem::remove(part, ignored);
      return Fail(Error::CannotWriteAll);
    }
  }
  std::error_code failure;
  using std::filesystem::perms;
  constexpr perms execute = perms::owner_exec | perms::group_exec | perms::others_exec;
  if (isProgram) {
    std::filesystem::permissions(part, execute, std::filesystem::perm_options::add, failure);
  }
  if (!failure) std::filesystem::rename(part, path, failure);
  if (!failure) return {};
  std::error_code ignored;
  std::filesystem::remove(part, ignored);
  return Fail(Error::CannotWriteFile);
}

std::string BuildScript(const BuildOptions& options) {
  const std::string shown = options.script.string();
  std::error_code noSuchFile;
  if (std::filesystem::equivalent(options.script, options.output, noSuchFile)) {
    return PlainFailure("qmc", Error::WrongArguments, "");
  }
  const Result<std::string> text = ReadWholeFile(options.script);
  if (!text) return PlainFailure("qmc", text.error(), shown);

  Compilation compilation;
  CompileText(compilation, shown, options.script, *text);
  if (!compilation.diagnostics.Empty()) return compilation.diagnostics.Render(compilation.sources);
  std::string faults;
  const Applet applet = BuildApplet(compilation, options, faults);
  if (!compilation.diagnostics.Empty() || !faults.empty()) {
    return compilation.diagnostics.Render(compilation.sources) + faults;
  }
  Result<std::string> bytes = WriteApplet(applet);
  if (bytes && options.compress) bytes = CompressApplet(*bytes);
  if (!bytes) return PlainFailure(shown, bytes.error(), "");
  if (!options.player.empty()) {
    const Result<std::string> player = ReadWholeFile(options.player);
    if (!player) return PlainFailure("qmc", player.error(), options.player.string());
    bytes = AppendToPlayer(*player, *bytes);
    if (!bytes) return PlainFailure(options.player.string(), bytes.error(), "");
  }
  const Status written = WriteWholeFile(options.output, *bytes, !options.player.empty());
  if (!written) return PlainFailure("qmc", written.error(), options.output.string());
  return {};
}

}  // namespace quillmere::qmc
