#include "platform/dynamic_library.h"

#include <dlfcn.h>

namespace tervo::platform {

void* DynamicLibrary::load(TextView name) {
  return dlopen(toPathBytes(name).c_str(), RTLD_NOW | RTLD_LOCAL);
}
void* DynamicLibrary::find(const char* name) const {
  return dlsym(handle_, name);
}
DynamicLibrary::~DynamicLibrary() {
  dlclose(handle_);
}

}  // namespace tervo::platform
