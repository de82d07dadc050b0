#pragma once
// The text of the last failure. An operation that fails returns false or null and has set this text; its caller shows
// it.

#include <memory>
#include <optional>

#include "base/text.h"

namespace tervo {

/// The last failure's text. Process-wide; any thread.
Text LastErrorText();
void setLastErrorText(TextView text);

/// While it lives, failures of the thread that made it leave the process's text alone: for work in the background whose
/// failure is nobody's answer.
class SilentFailures {
 public:
  SilentFailures();
  ~SilentFailures();
  SilentFailures(const SilentFailures&) = delete;
  SilentFailures& operator=(const SilentFailures&) = delete;
};

/// Sets the last failure's text and converts to whatever says "failed": false, a null pointer, an empty optional.
///
///     if (frames == 0) return fail(u"Zero length");
class Failure {
 public:
  operator bool() const { return false; }
  template <typename T>
  operator T*() const {
    return nullptr;
  }
  template <typename T>
  operator std::unique_ptr<T>() const {
    return nullptr;
  }
  template <typename T>
  operator std::shared_ptr<T>() const {
    return nullptr;
  }
  template <typename T>
  operator std::optional<T>() const {
    return std::nullopt;
  }
};
Failure fail(TextView text);

}  // namespace tervo
