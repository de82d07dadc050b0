#include "platform/system_error.h"

#include <cerrno>
#include <system_error>

namespace tervo::platform {

Text systemErrorText(int code) {
  return fromUtf8(std::system_category().message(code));
}
void noteSystemError() noexcept {
  noteSystemError(errno);
}

}  // namespace tervo::platform
