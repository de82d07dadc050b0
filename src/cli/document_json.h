#pragma once
// A document as JSON, for `tervo info --json`; the fields are described in docs/command-line.md.

#include <nlohmann/json.hpp>

#include "core/collection.h"
#include "core/report.h"

namespace tervo::cli {

nlohmann::ordered_json waveformJson(const Waveform& waveform);
nlohmann::ordered_json songJson(const Song& song);
/// Puts "collection", "waveforms", "instruments" and "songs" into `object`.
void addDocument(nlohmann::ordered_json& object, const Collection& collection);
nlohmann::ordered_json reportJson(const ConversionReport& report);
/// One file with its document. Without a confidence the format is what the document remembers.
nlohmann::ordered_json fileJson(const Text& path, const Collection& collection, std::optional<int> confidence,
                                const ConversionReport& report);

/// Text as the JSON library takes it.
std::string utf8(TextView text);
/// The decimal number that names a float, without the digits that a double would show after it.
double shortest(float value);
/// One line a document, whatever its names hold.
std::string dumped(const nlohmann::ordered_json& json);

}  // namespace tervo::cli
