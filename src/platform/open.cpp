#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <expected>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/headless/headless_platform.h"
#include "platform/platform.h"
#include "platform/sdl/sdl_platform.h"
#include "platform/settings.h"

namespace quillmere {
namespace {

constexpr int badEnvironmentStatus = 2;

[[noreturn]] void EndWith(const std::string& text) {
  std::fprintf(stderr, "%s\n", text.c_str());
  std::exit(badEnvironmentStatus);
}

InputScript ReadInputScript(const std::string& fileName) {
  std::ifstream file(fileName, std::ios::binary);
  std::stringstream text;
  if (!file || !(text << file.rdbuf() || file.peek() == std::ifstream::traits_type::eof())) {
    EndWith(fileName + ": the input script cannot be read");
  }
  auto script = ParseInputScript(text.str(), fileName);
  if (!script) EndWith(script.error());
  return std::move(*script);
}

/// A file name as it is meant where the program was started: the current directory moves later on.
std::string FromHere(const std::string& name) {
  if (name.empty()) return name;
  std::error_code error;
  const std::filesystem::path path = std::filesystem::absolute(name, error);
  return error ? name : path.string();
}

}  // namespace

Result<std::unique_ptr<Platform>> PlatformOpen(Host& host) {
  const auto settings = ReadPlatformSettings([](const char* name) { return std::getenv(name); });
  if (!settings) EndWith(settings.error());
  if (!settings->headless) return OpenSdlPlatform(host);
  HeadlessSettings headless;
  headless.screenWidth = settings->screenWidth;
  headless.screenHeight = settings->screenHeight;
  headless.virtualClock = settings->virtualClock;
  headless.shotFile = FromHere(settings->shotFile);
  if (!settings->inputFile.empty()) headless.input = ReadInputScript(settings->inputFile);
  for (UserAction& action : headless.input.actions) {
    const bool namesFiles = action.verb == UserVerb::Shot || action.verb == UserVerb::Screenshot ||
                            action.verb == UserVerb::Drop;
    if (!namesFiles) continue;
    for (std::string& name : action.texts) name = FromHere(name);
  }
  return OpenHeadlessPlatform(host, std::move(headless));
}

bool StartedFromDesktop() {
  constexpr const char* marks[] = {"DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN",
                                   "GIO_LAUNCHED_DESKTOP_FILE"};
  const bool marked = std::ranges::any_of(marks, [](const char* mark) {
    const char* value = std::getenv(mark);
    return value != nullptr && *value != '\0';
  });
  return marked && isatty(STDIN_FILENO) == 0;
}

}  // namespace quillmere
