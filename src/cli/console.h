#pragma once
// Where the command prints: results to standard output, everything else to standard error.

#include <string_view>

#include "base/text.h"

namespace tervo::cli {

class Console {
 public:
  virtual ~Console() = default;

  virtual void out(std::string_view utf8) = 0;
  virtual void err(std::string_view utf8) = 0;
  /// Whether progress may be drawn: standard error is a terminal.
  virtual bool isTerminal() const { return false; }
  /// Whether the user asked to stop (Ctrl+C).
  virtual bool cancelRequested() const { return false; }

  /// "tervo: FILE: MESSAGE", MESSAGE being LastErrorText.
  void failure(TextView file);
  void failure(TextView file, TextView message);
};

}  // namespace tervo::cli
