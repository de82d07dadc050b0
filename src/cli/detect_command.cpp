#include <fmt/format.h>

#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/document_json.h"
#include "formats/detection.h"
#include "platform/file.h"

namespace tervo::cli {
namespace {

nlohmann::ordered_json detectionJson(const NamedFile& file, const Detection& found) {
  const FormatDescriptor* row = rowAt(found.index);
  return {{"path", utf8(file.shown)},
          {"index", found.index},
          {"extension", row ? utf8(row->extension) : ""},
          {"description", row ? utf8(row->description) : ""},
          {"confidence", found.confidence}};
}

std::string detectionText(const NamedFile& file, const Detection& found) {
  const FormatDescriptor& row = *rowAt(found.index);
  const Text note = found.index == 0 ? knownButUnreadNote(file.path) : Text();
  return fmt::format("{}: {} (row {}, .{}), confidence {} %{}\n", printable(file.shown), utf8(row.description),
                     found.index, utf8(row.extension), found.confidence, note.empty() ? "" : "; " + utf8(note));
}

Detection detect(const NamedFile& file) {
  const auto bytes = platform::InputFile::open(file.path);
  return bytes ? DetectFormat(file.path, *bytes) : Detection{};
}

}  // namespace

int runDetect(const CommandLine& line, Console& console) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  int status = exitDone;
  for (const NamedFile& file : line.files) {
    if (console.cancelRequested()) {
      status = exitCancelled;
      break;
    }
    const Detection found = detect(file);
    if (found.index == noFormat) {
      console.failure(file.shown);
      status = exitFailed;
    }
    if (line.json)
      all.push_back(detectionJson(file, found));
    else if (found.index != noFormat)
      console.out(detectionText(file, found));
  }
  if (line.json) console.out(dumped(all));
  return status;
}

}  // namespace tervo::cli
