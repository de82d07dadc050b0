#include "platform/dynamic_library.h"

#include <bit>

#include "platform/path.h"
#include "platform/windows/wide.h"

namespace tervo::platform {

void* DynamicLibrary::load(TextView name) {
  // A library given with its folder finds the libraries that it needs in the same folder.
  const bool hasFolder = fileNameOf(name).size() < name.size();
  const DWORD where = LOAD_LIBRARY_SEARCH_DEFAULT_DIRS | (hasFolder ? LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR : 0);
  return LoadLibraryExW(toWide(hasFolder ? absolute(name) : Text(name)).c_str(), nullptr, where);
}

void* DynamicLibrary::find(const char* name) const {
  return std::bit_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

DynamicLibrary::~DynamicLibrary() {
  FreeLibrary(static_cast<HMODULE>(handle_));
}

}  // namespace tervo::platform
