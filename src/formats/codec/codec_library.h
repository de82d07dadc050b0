#pragma once
// Codec libraries that are loaded when something needs them. The program works without any of them; what it cannot do
// then it says with a request to install the library.

#include <mutex>

#include "base/last_error.h"
#include "platform/dynamic_library.h"

namespace tervo {

/// A library for `purpose` ("Ogg Vorbis"), by the first of the names under which systems have it. Null with
/// LastErrorText.
std::unique_ptr<platform::DynamicLibrary> openCodecLibrary(TextView purpose, TextView library,
                                                           std::span<const TextView> fileNames);

/// Looks up functions of one library; after the first that is missing the rest is left out.
class FunctionLookup {
 public:
  explicit FunctionLookup(const platform::DynamicLibrary* library) : library_(library), ok_(library != nullptr) {}

  template <typename Signature>
  FunctionLookup& operator()(Signature*& function, const char* name) {
    if (ok_) ok_ = (function = library_->function<Signature>(name)) != nullptr;
    return *this;
  }
  bool ok() const { return ok_; }

 private:
  const platform::DynamicLibrary* library_;
  bool ok_;
};

/// The functions of libraries, loaded when they are first wanted and kept. Any thread. `Functions` has a load() that
/// gives false, with LastErrorText, as long as they are not there.
template <typename Functions>
const Functions* codecFunctions() {
  static std::mutex mutex;
  static std::unique_ptr<const Functions> loaded;
  const std::lock_guard lock(mutex);
  if (loaded) return loaded.get();
  auto functions = std::make_unique<Functions>();
  if (!functions->load()) return nullptr;
  loaded = std::move(functions);
  return loaded.get();
}

}  // namespace tervo
