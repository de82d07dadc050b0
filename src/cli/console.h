#pragma once
// Where the command prints: results to standard output, everything else to standard error.

#include <string>
#include <string_view>

#include "base/printable.h"
#include "base/text.h"

namespace tervo::cli {

class Console {
 public:
  virtual ~Console() = default;

  void out(std::string_view utf8) { outputFailed_ = !writeOutput(utf8) || outputFailed_; }
  virtual void err(std::string_view utf8) = 0;
  /// Whether progress may be drawn: standard error is a terminal.
  virtual bool isTerminal() const { return false; }
  /// Whether the user asked to stop (Ctrl+C).
  virtual bool cancelRequested() const { return false; }

  /// "tervo: FILE: MESSAGE", MESSAGE being LastErrorText, followed in parentheses by `detail` or else by what the
  /// operating system said.
  void failure(TextView file, TextView detail = {});
  /// Whether results were lost on their way out.
  bool outputFailed() const { return outputFailed_; }

 protected:
  virtual bool writeOutput(std::string_view utf8) = 0;

 private:
  bool outputFailed_ = false;
};

}  // namespace tervo::cli
