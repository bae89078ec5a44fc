#include "platform/late_library.h"

#include <dlfcn.h>

namespace quillmere {

// The library stays in memory after the last handle has gone: its own tasks may still run.
LateLibrary::LateLibrary(const char* file)
    : handle_(dlopen(file, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)),
      isComplete_(handle_ != nullptr) {}

void* LateLibrary::FindAddress(const char* name) {
  void* address = handle_ ? dlsym(handle_.get(), name) : nullptr;
  if (address == nullptr) isComplete_ = false;
  return address;
}

void LateLibrary::CloseLibrary::operator()(void* handle) const {
  dlclose(handle);
}

}  // namespace quillmere
