#include "platform/posix/quiet_libraries.h"

#include <dlfcn.h>

#include <iostream>

namespace tervo::platform {
namespace {

void ignoreAlsa(const char*, int, const char*, int, const char*, ...) {}
void ignoreJack(const char*) {}

template <typename Handler>
void setHandler(const char* setter, Handler* handler) {
  // They came with the sound libraries: nothing is loaded for this.
  if (void* found = dlsym(RTLD_DEFAULT, setter)) reinterpret_cast<void (*)(Handler*)>(found)(handler);
}

void silenceForGood() {
  setHandler("snd_lib_error_set_handler", &ignoreAlsa);
  setHandler("jack_set_error_function", &ignoreJack);
  setHandler("jack_set_info_function", &ignoreJack);
}

}  // namespace

QuietLibraries::QuietLibraries() {
  [[maybe_unused]] static const bool once = (silenceForGood(), true);
  // The program itself writes to the stream's descriptor, never to the stream.
  std::cerr.setstate(std::ios::failbit);
}

QuietLibraries::~QuietLibraries() {
  std::cerr.clear();
}

}  // namespace tervo::platform
