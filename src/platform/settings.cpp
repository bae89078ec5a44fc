#include "platform/settings.h"

#include <charconv>
#include <optional>
#include <string_view>

namespace quillmere {
namespace {

std::optional<int> ParseSide(std::string_view text) {
  int side = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (side < 1 || side > largestScreenSide) return std::nullopt;
  return side;
}

std::unexpected<std::string> Refuse(std::string_view name, std::string_view value,
                                    std::string_view wanted) {
  return std::unexpected(std::string(name) + ": \"" + std::string(value) + "\" is not " +
                         std::string(wanted));
}

}  // namespace

std::expected<PlatformSettings, std::string> ReadPlatformSettings(
    const EnvironmentLookup& environment) {
  const auto value = [&environment](const char* name) -> std::string_view {
    const char* text = environment(name);
    return text != nullptr ? std::string_view(text) : std::string_view();
  };
  PlatformSettings settings;

  const std::string_view platform = value("QUILLMERE_PLATFORM");
  if (platform.empty()) {
    settings.headless = value("DISPLAY").empty() && value("WAYLAND_DISPLAY").empty();
  } else if (platform == "headless" || platform == "sdl") {
    settings.headless = platform == "headless";
  } else {
    return Refuse("QUILLMERE_PLATFORM", platform, "sdl or headless");
  }

  if (const std::string_view screen = value("QUILLMERE_SCREEN"); !screen.empty()) {
    const std::size_t cross = screen.find('x');
    const bool whole = cross != std::string_view::npos;
    const auto width = ParseSide(screen.substr(0, cross));
    const auto height = whole ? ParseSide(screen.substr(cross + 1)) : std::nullopt;
    if (!width || !height) return Refuse("QUILLMERE_SCREEN", screen, "WIDTHxHEIGHT");
    settings.screenWidth = *width;
    settings.screenHeight = *height;
  }

  if (const std::string_view clock = value("QUILLMERE_CLOCK"); !clock.empty()) {
    if (clock != "virtual" && clock != "real") {
      return Refuse("QUILLMERE_CLOCK", clock, "virtual or real");
    }
    settings.virtualClock = clock == "virtual";
  }

  settings.inputFile = value("QUILLMERE_INPUT");
  settings.shotFile = value("QUILLMERE_SHOT");
  if (!settings.shotFile.empty() && !settings.shotFile.ends_with(".png")) {
    return Refuse("QUILLMERE_SHOT", settings.shotFile, "a file name ending in .png");
  }
  return settings;
}

}  // namespace quillmere
