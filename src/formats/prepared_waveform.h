#pragma once
// Copies of waveforms: as they are, and as a writer can take them.

#include <memory>

#include "core/waveform.h"
#include "formats/format_table.h"

namespace tervo {

/// A copy with the channels and the rate that the row and the options ask for; its frames are shared, or converted
/// while they are read, and its markers move with the rate. Null with LastErrorText when the rates cannot be converted.
/// What is lost goes into the report.
std::unique_ptr<Waveform> preparedFor(const FormatDescriptor& row, const Waveform& waveform, const SaveOptions& options,
                                      ConversionReport& report);

}  // namespace tervo
