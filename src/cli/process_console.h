#pragma once
// The console of a real process: its standard streams and its Ctrl+C.

#include "cli/console.h"
#include "platform/program.h"

namespace tervo::cli {

class ProcessConsole final : public Console {
 public:
  ProcessConsole() { platform::installCancelHandler(); }

  void err(std::string_view utf8) override { platform::writeStandardError(utf8); }
  bool isTerminal() const override { return platform::standardErrorIsTerminal(); }
  bool cancelRequested() const override { return platform::cancelRequested(); }

 protected:
  bool writeOutput(std::string_view utf8) override { return platform::writeStandardOutput(utf8); }
};

}  // namespace tervo::cli
