#pragma once
// What the tree and the item list write beside an item.

#include <memory>
#include <span>

#include "base/text.h"
#include "core/collection.h"

namespace tervo {

/// "%d\t(%d layers, %d regions)"; `number` is the one that the view gives the instrument.
Text treeLabel(int number, const Instrument& instrument);
/// "%d\t(%d tracks)".
Text treeLabel(int number, const Song& song);
/// "%d\t(total %sK samples)": how many waveforms, and their frames times channels in units of 1024.
Text treeLabel(std::span<const std::unique_ptr<Waveform>> waveforms);

/// What a marker is called: its name, else "Main Loop" or "Alt Loop" for the first two loops, else its type.
TextView markerLabel(const Waveform& waveform, const Marker& marker);

/// The stored sample format that the waveforms share; "Mixed" when they differ, empty when there are none.
Text sampleFormatLabel(std::span<const Waveform* const> waveforms);

}  // namespace tervo
