#pragma once
// The bytes behind a waveform taken otherwise: raw data say nothing about their layout, so that it is found by trying.

#include <memory>

#include "core/waveform.h"
#include "formats/format_table.h"

namespace tervo {

/// Whether bytes without a header can be read in this format.
bool suitsRawData(SampleFormat format);

/// How the waveform's bytes are taken now. The length is missing where they reach to the end of the file; for a coding
/// of headerless files so is what it settles: the sample format, mostly the channels, the order where there is but one.
/// Nothing for a waveform whose frames are neither, or are not those of a file any more.
std::optional<RawRequest> rawLayoutOf(const Waveform& waveform);

/// The same bytes taken as `layout` says: frames, rate and stored format of a waveform without a name. Null with
/// LastErrorText.
std::unique_ptr<Waveform> readAgain(const Waveform& waveform, const RawRequest& layout, Host& host,
                                    ConversionReport& report, const Settings& settings);

/// Exchanges frames, rate and stored format. Markers end with the frames, those that begin behind them go.
void takeSamples(Waveform& from, Waveform& to);

}  // namespace tervo
