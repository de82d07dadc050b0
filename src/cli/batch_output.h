#pragma once
// What `tervo batch` prints.

#include <nlohmann/json.hpp>

#include "cli/command_line.h"
#include "cli/console.h"
#include "formats/batch/batch.h"

namespace tervo::cli {

/// Shows paths as short as the user typed them.
class BatchPrinter {
 public:
  BatchPrinter(const CommandLine& line, Console& console) : line_(line), console_(console) {}

  void plan(const std::vector<BatchEntry>& entries);
  /// An entry that has come to its end.
  void ended(const BatchEntry& entry);
  void progress(const std::vector<BatchEntry>& entries);
  /// The document for "--json", or else how many of what and the failures by name and cause.
  void summary(const std::vector<BatchEntry>& entries, bool isCancelled);
  /// False with LastErrorText when the report file cannot be written.
  bool reports(const std::vector<BatchEntry>& entries);
  void endProgress();

 private:
  std::string nameOfEntry(const BatchEntry& entry) const;
  std::string shortened(const Text& path) const;
  nlohmann::ordered_json json(const std::vector<BatchEntry>& entries) const;
  nlohmann::ordered_json entryJson(const BatchEntry& entry) const;

  const CommandLine& line_;
  Console& console_;
  std::string shown_;
};

}  // namespace tervo::cli
