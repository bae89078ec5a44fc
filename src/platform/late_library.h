// Shared libraries of the system that are loaded when they are first needed: a run that opens no
// window and reads no rare picture does not wait for them, and starts without them.
//
// The functions that are used of a library stand in a list, one line each:
//
//   LATE(result, name, (parameters), (arguments))
//
// From it come a record with the addresses (LATE_ADDRESS, LATE_LOOKUP), and for each function one
// of the same name in the program that calls the loaded one (LATE_FORWARD). So the code that uses a
// library is written as if the linker had found it; whoever uses it first asks whether it is there.
#pragma once

#include <memory>

namespace quillmere {

/// A library that is loaded for the rest of the run.
class LateLibrary {
 public:
  /// Loads a library by the name that the system's loader knows it by.
  explicit LateLibrary(const char* file);
  LateLibrary(const LateLibrary&) = delete;
  LateLibrary& operator=(const LateLibrary&) = delete;

  /// Whether the library was found with all functions that were looked up in it. Nothing of an
  /// incomplete library may be called.
  [[nodiscard]] bool IsComplete() const { return isComplete_; }

 protected:
  /// Looks a function up.
  template <class Function>
  void Find(const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(FindAddress(name));
  }

 private:
  struct CloseLibrary {
    void operator()(void* handle) const;
  };

  void* FindAddress(const char* name);

  std::unique_ptr<void, CloseLibrary> handle_;
  bool isComplete_ = false;
};

}  // namespace quillmere

#define LATE_ADDRESS(result, name, parameters, arguments) decltype(&::name) name = nullptr;
#define LATE_LOOKUP(result, name, parameters, arguments) Find(#name, name);
/// `Functions()` gives the record of the library.
#define LATE_FORWARD(result, name, parameters, arguments) \
  extern "C" result name parameters {                     \
    return quillmere::Functions().name arguments;         \
  }
