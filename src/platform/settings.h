// What the environment says about the platform to open.
#pragma once

#include <expected>
#include <functional>
#include <string>

namespace quillmere {

/// The longest side of the screen in memory. A larger one would be a picture of more than a
/// gigabyte.
inline constexpr int largestScreenSide = 16384;

struct PlatformSettings {
  bool headless = false;
  int screenWidth = 1920;
  int screenHeight = 1080;
  bool virtualClock = true;
  std::string inputFile;
  std::string shotFile;
};

/// Gives the value of an environment variable, or null.
using EnvironmentLookup = std::function<const char*(const char* name)>;

/// Reads the variables that begin with QUILLMERE_. A value that cannot be read is a text for the
/// user, without a line feed. An empty value counts as none.
[[nodiscard]] std::expected<PlatformSettings, std::string> ReadPlatformSettings(
    const EnvironmentLookup& environment);

}  // namespace quillmere
