#include "platform/dynamic_library.h"

#include "base/last_error.h"

namespace tervo::platform {

std::unique_ptr<DynamicLibrary> DynamicLibrary::open(std::span<const TextView> names) {
  for (const TextView name : names) {
    if (void* handle = load(name)) return std::unique_ptr<DynamicLibrary>(new DynamicLibrary(handle, name));
  }
  return fail(u"Library \"" + Text(names.empty() ? u"" : names.front()) + u"\" was not found");
}

void* DynamicLibrary::address(const char* name) const {
  if (void* found = find(name)) return found;
  return fail(u"Library \"" + name_ + u"\" has no function \"" + fromUtf8(name) + u"\"");
}

}  // namespace tervo::platform
