// The state records of the rooms above the files, from the lowest up, and their script libraries.
#pragma once

#include <utility>

#include "base/error.h"
#include "base/host.h"
#include "vm/vm.h"

#include "input/input_state.h"
#include "lib/lib_state.h"
#include "pixels/pixels_state.h"
#include "scene/scene_state.h"

namespace quillmere {

/// Enters a record that does not enter itself.
template <class State>
class Entered : public State {
 public:
  template <class... Arguments>
  explicit Entered(Host& owner, Arguments&&... arguments)
      : State(std::forward<Arguments>(arguments)...), enteredIn_(owner) {
    owner.Enter(static_cast<State&>(*this));
  }
  ~Entered() { enteredIn_.Leave(State::room); }
  Entered(const Entered&) = delete;
  Entered& operator=(const Entered&) = delete;

 private:
  Host& enteredIn_;
};

/// One record of each room. They go in the reverse order.
struct Rooms {
  explicit Rooms(Host& host) : pixels(host), scene(host, host), input(host, host), lib(host) {}

  Entered<PixelsState> pixels;
  Entered<SceneState> scene;
  Entered<InputState> input;
  LibState lib;
};

/// Opens all script libraries in their order. The records must have been entered.
[[nodiscard]] Status OpenLibraries(VmState& state);

/// Frees what scripts have made, in the order of the tear-down. The machine is still open; the
/// records stay.
void CloseLibraries(VmState& state);

}  // namespace quillmere
