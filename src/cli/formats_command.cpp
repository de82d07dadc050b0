#include <fmt/format.h>

#include "cli/commands.h"
#include "cli/document_json.h"
#include "core/item.h"

namespace tervo::cli {
namespace {

std::string letters(bool read, bool write, bool detect) {
  std::string result;
  if (read) result += 'R';
  if (write) result += 'W';
  if (detect) result += 'D';
  return result;
}

std::string declaredLetters(const FormatDescriptor& row) {
  return letters(row.declared & DeclaredOps::read, row.declared & DeclaredOps::write,
                 row.declared & DeclaredOps::detect);
}

std::string availableLetters(const FormatDescriptor& row) {
  return letters(row.read, row.write, row.detect);
}

void printJson(Console& console) {
  nlohmann::ordered_json rows = nlohmann::ordered_json::array();
  for (std::size_t i = 0; i < formatCount; ++i) {
    const FormatDescriptor& row = FormatTable()[i];
    rows.push_back({{"index", i},
                    {"extension", utf8(row.extension)},
                    {"description", utf8(row.description)},
                    {"kinds", row.kindMask},
                    {"flags", row.flags},
                    {"variant", row.variant},
                    {"declared", declaredLetters(row)},
                    {"available", availableLetters(row)}});
  }
  console.out(dumped(rows));
}

}  // namespace

int runFormats(const CommandLine& line, Console& console) {
  if (line.json) {
    printJson(console);
    return exitDone;
  }
  std::string text = "  row  extension    now  meant  description\n";
  std::size_t readable = 0, writable = 0;
  for (std::size_t i = 0; i < formatCount; ++i) {
    const FormatDescriptor& row = FormatTable()[i];
    readable += row.read ? 1 : 0;
    writable += row.write ? 1 : 0;
    text += fmt::format("{:5}  {:11}  {:3}  {:5}  {}\n", i, utf8(row.extension), availableLetters(row),
                        declaredLetters(row), utf8(row.description));
  }
  text += fmt::format("{} rows: {} can be read and {} written (R read, W write, D detect)\n", formatCount, readable,
                      writable);
  console.out(text);
  return exitDone;
}

}  // namespace tervo::cli
