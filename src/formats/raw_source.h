#pragma once
// The bytes behind a waveform taken otherwise: raw data say nothing about their layout, so that it is found by trying.

#include <memory>

#include "core/waveform.h"
#include "formats/format_table.h"

namespace tervo {

/// Whether bytes without a header can be read in this format.
bool suitsRawData(SampleFormat format);

/// How the waveform's bytes are taken now, every part of it set but the length, which is missing where they reach to
/// the end of the file. Nothing for a waveform whose frames are no plain samples of a file, or no longer.
std::optional<RawRequest> rawLayoutOf(const Waveform& waveform);

/// The same bytes taken as `layout` says: frames, rate and stored format of a waveform without a name. Null with
/// LastErrorText.
std::unique_ptr<Waveform> readAgain(const Waveform& waveform, const RawRequest& layout, Host& host,
                                    ConversionReport& report, const Settings& settings);

/// Exchanges frames, rate and stored format. Markers end with the frames, those that begin behind them go.
void takeSamples(Waveform& from, Waveform& to);

}  // namespace tervo
