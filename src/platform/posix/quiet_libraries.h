#pragma once
// Inside platform/posix/: the sound libraries tell the terminal whatever they do not find. While this lives they keep
// it to themselves: what matters is returned to who asked.

namespace tervo::platform {

class QuietLibraries {
 public:
  QuietLibraries();
  ~QuietLibraries();
  QuietLibraries(const QuietLibraries&) = delete;
  QuietLibraries& operator=(const QuietLibraries&) = delete;
};

}  // namespace tervo::platform
