#pragma once
// Libraries that are loaded while the program runs, when they are there.

#include <memory>
#include <span>

#include "base/text.h"

namespace tervo::platform {

/// A loaded library; unloaded with the object, so that it has to outlive what was looked up in it.
class DynamicLibrary {
 public:
  /// Loads the first of `names` that there is, from where the system keeps libraries or from the program's own folder,
  /// never from the current folder. Null with LastErrorText, which names the first of them.
  static std::unique_ptr<DynamicLibrary> open(std::span<const TextView> names);

  ~DynamicLibrary();
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  /// A function of the C interface: function<int(const char*)>("puts"). Null with LastErrorText when there is none.
  template <typename Signature>
  Signature* function(const char* name) const {
    return reinterpret_cast<Signature*>(address(name));
  }
  /// True when there is such a symbol; leaves LastErrorText alone.
  bool has(const char* name) const { return find(name) != nullptr; }
  /// The name under which it was found.
  const Text& name() const { return name_; }

 private:
  DynamicLibrary(void* handle, TextView name) : handle_(handle), name_(name) {}
  static void* load(TextView name);
  void* find(const char* name) const;
  void* address(const char* name) const;

  void* handle_;
  Text name_;
};

}  // namespace tervo::platform
