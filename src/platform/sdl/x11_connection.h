// A connection to the X server beside that of SDL, so that nothing that SDL waits for is lost.
#pragma once

#include <memory>

struct _XDisplay;

namespace quillmere {

struct CloseX11Display {
  void operator()(_XDisplay* display) const;
};
using X11Connection = std::unique_ptr<_XDisplay, CloseX11Display>;

/// Null when SDL shows its windows on another kind of desktop.
[[nodiscard]] X11Connection ConnectToX11();

}  // namespace quillmere
