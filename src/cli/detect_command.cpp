#include <fmt/format.h>

#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/document_json.h"
#include "formats/detection.h"
#include "platform/file.h"

namespace tervo::cli {
namespace {

nlohmann::ordered_json detectionJson(const Text& path, const Detection& found) {
  const bool known = found.index != noFormat;
  return {{"path", utf8(path)},
          {"index", found.index},
          {"extension", known ? utf8(FormatTable()[static_cast<std::size_t>(found.index)].extension) : ""},
          {"description", known ? utf8(FormatTable()[static_cast<std::size_t>(found.index)].description) : ""},
          {"confidence", found.confidence}};
}

std::string detectionText(const Text& path, const Detection& found) {
  if (found.index == noFormat) return fmt::format("{}: Unknown file type\n", utf8(path));
  const FormatDescriptor& row = FormatTable()[static_cast<std::size_t>(found.index)];
  return fmt::format("{}: {} (row {}, .{}), confidence {} %\n", utf8(path), utf8(row.description), found.index,
                     utf8(row.extension), found.confidence);
}

}  // namespace

int runDetect(const CommandLine& line, Console& console) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  int status = exitDone;
  for (const auto& [shown, path] : line.files) {
    const auto file = platform::InputFile::open(path);
    const Detection found = file ? DetectFormat(path, *file) : Detection{};
    if (!file || file->size() == 0) {
      console.failure(shown);
      status = exitFailed;
      if (!file) continue;
    }
    if (line.json) {
      all.push_back(detectionJson(shown, found));
    } else if (file->size() > 0) {
      console.out(detectionText(shown, found));
    }
  }
  if (line.json) console.out(dumped(all));
  return status;
}

}  // namespace tervo::cli
