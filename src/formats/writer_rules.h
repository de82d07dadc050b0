#pragma once
// What a row's writer takes: sample formats, channels, rates.

#include <optional>

#include "core/waveform.h"
#include "formats/format_table.h"

namespace tervo {

/// The sample format that the options ask for, or else the waveform's preferred one.
std::optional<SampleFormat> requestedFormat(const Waveform& waveform, const SaveOptions& options);

/// The sample format to write: the coding that the options ask for, else the waveform's preferred one, else the one
/// that it was read in, or, instead of a second lossy coding, the plain one that keeps it; where the row cannot hold
/// that, the row's format that loses least. SampleFormat::none for a row without sample formats.
SampleFormat chooseSampleFormat(const FormatDescriptor& row, const Waveform& waveform, const SaveOptions& options);
/// The same, with an entry in the report when samples lose precision.
SampleFormat chooseSampleFormat(const TargetFile& file, const Waveform& waveform);

/// The channel count that a row with these flags writes for a waveform of 1 or 2 channels.
int channelsFor(uint32_t flags, int channels);

/// The rate in Hz that the row's files always have; nothing where a file has the rate of its waveform.
std::optional<double> fixedRateOf(const FormatDescriptor& row);

}  // namespace tervo
