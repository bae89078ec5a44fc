// The authoring tool's command line.
#include <CLI/CLI.hpp>
#include <iostream>

#include "base/names.h"
#include "qmc/applet_reader.h"
#include "qmc/build.h"
#include "qmc/disassembler.h"
#include "vm/image.h"

namespace quillmere::qmc {
namespace {

int Complain(const std::string& name, Error code) {
  std::cerr << name << ": " << OneLineMessage(code, std::string(NamePart(name))) << " ("
            << static_cast<int>(code) << ")\n";
  return 1;
}

/// Shows what an applet holds, or its instructions.
int Show(const std::string& name, bool wantsCode) {
  const Result<std::string> bytes = ReadWholeFile(name);
  if (!bytes) return Complain(name, bytes.error());
  const Result<AppletListing> listing = ListApplet(*bytes);
  if (!listing) return Complain(name, listing.error());
  if (!wantsCode) {
    std::cout << listing->text;
    return 0;
  }
  const auto* code = reinterpret_cast<const std::uint8_t*>(listing->bytecode.data());
  const Result<ImageFunction> image = ReadImage({code, listing->bytecode.size()}, "");
  if (!image) return Complain(name, image.error());
  std::cout << Disassemble(*image);
  return 0;
}

}  // namespace
}  // namespace quillmere::qmc

int main(int argc, char** argv) {
  using namespace quillmere::qmc;
  CLI::App app("Compiles scripts into applets for the Quillmere player, and looks into applets.");
  app.require_subcommand(0, 1);

  BuildOptions build;
  bool skipLinking = false;
  app.add_option("script", build.script, "The script to compile");
  app.add_option("-o,--output", build.output,
                 "The applet to write (default: the script's name with .qma)");
  app.add_flag("--no-link", skipLinking, "Leave the files that the script declares outside");
  app.add_option("--link", build.files, "A further file to link")
      ->type_name("FILE")
      ->allow_extra_args(false);
  app.add_option("--link-font", build.fonts, "A font file to link, as FILE or NAME=FILE")
      ->type_name("FONT")
      ->allow_extra_args(false);
  app.add_flag("--compress", build.compress, "Store the applet compressed");
  app.add_flag("--strip", build.strip, "Leave out lines and the names of variables");
  app.add_flag("--big-endian", build.bigEndian, "Write the code in the big-endian order");
  app.add_option("--exe", build.player, "Append the applet to a copy of this player")
      ->type_name("PLAYER");

  std::string applet;
  CLI::App* list = app.add_subcommand("list", "Lists everything that an applet holds");
  CLI::App* dump = app.add_subcommand("dump", "Shows the instructions of an applet");
  for (CLI::App* command : {list, dump}) command->add_option("applet", applet)->required();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& problem) {
    return app.exit(problem) == 0 ? 0 : 1;
  }

  if (*list || *dump) return Show(applet, dump->parsed());
  if (build.script.empty()) {
    std::cerr << "qmc: " << OneLineMessage(quillmere::Error::NoScriptFilenameSpecified, "") << " ("
              << static_cast<int>(quillmere::Error::NoScriptFilenameSpecified)
              << ")\nRun with --help for more information.\n";
    return 1;
  }
  build.linkFiles = !skipLinking;
  if (build.output.empty()) {
    build.output = build.script;
    build.output.replace_extension(build.player.empty() ? ".qma" : "");
  }
  const std::string faults = BuildScript(build);
  std::cerr << faults;
  return faults.empty() ? 0 : 1;
}
