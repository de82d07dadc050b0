#pragma once
// Samples of a bank that are compressed: each as a stream of its own (".sf3"), or all of them as one (".sf2pack").
// Neither is in the published document. Streams are told by their content, whatever their file is called.

#include "core/waveform.h"
#include "formats/instrument/sf2_bank.h"

namespace tervo::sf2 {

/// Finds out whether the sample chunk is one stream, whose frames then are the words of the bank.
void findPackedSamples(Bank& bank, LossTally& losses);

/// Whether a sample is a stream, whose bytes the record counts from the beginning of "smpl".
bool isStream(const Bank& bank, const SampleRecord& record);

/// Gives the waveform the frames of such a sample; leaves it without any, noted, where there is no stream that makes
/// sense.
void openStreamOf(const Bank& bank, const SampleRecord& record, Waveform& waveform, LossTally& losses);

/// Notes codings that cannot be decoded because their library is not installed.
void noteMissingDecoders(const std::vector<Waveform*>& waveforms, LossTally& losses);

}  // namespace tervo::sf2
