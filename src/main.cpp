#include <cstddef>
#include <span>

#include "frame/marker.h"
#include "frame/program.h"

int main(int argc, char** argv) {
  const std::span<const char* const> arguments(argv, static_cast<std::size_t>(argc));
  quillmere::Program program(quillmere::AppendedAppletOffset());
  return program.Run(arguments.subspan(argc > 0 ? 1 : 0));
}
