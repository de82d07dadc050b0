#include "cli/console.h"

#include <fmt/format.h>

#include "base/last_error.h"
#include "formats/failure_cause.h"

namespace tervo::cli {
namespace {

/// Messages that a window shows in paragraphs.
Text onOneLine(TextView message) {
  Text line;
  for (const char16_t c : message) {
    if (c != u'\n')
      line += c;
    else if (!line.empty() && line.back() != u' ')
      line += u' ';
  }
  while (!line.empty() && line.back() == u' ') line.pop_back();
  return line;
}

}  // namespace

void Console::failure(TextView file, TextView detail) {
  const Text message = LastErrorText();
  const Text more = detail.empty() ? failureCause() : Text(detail);
  const std::string cause = more.empty() ? std::string() : fmt::format(" ({})", printable(more));
  err(fmt::format("tervo: {}: {}{}\n", printable(file), printable(onOneLine(message)), cause));
}

}  // namespace tervo::cli
