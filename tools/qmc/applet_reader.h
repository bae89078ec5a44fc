// Applets as the tool shows them: every section in file order.
#pragma once

#include <string>
#include <vector>

#include "base/error.h"

namespace quillmere::qmc {

/// An applet taken apart: a line of text for everything in it, and its code.
struct AppletListing {
  std::string text;
  std::string bytecode;
};

/// Reads an applet, a compressed one, or a player with an applet behind it. What is wrong with the
/// bytes gives the error that the player would give.
[[nodiscard]] Result<AppletListing> ListApplet(const std::string& bytes);

}  // namespace quillmere::qmc
