#pragma once
// Sample data at another rate, converted while it is read.

#include "core/sample_data.h"
#include "core/waveform.h"

namespace tervo {

/// The same sound at `toHz`: round(frames × toHz / fromHz) frames. `data` itself when the rates are equal. Null with
/// LastErrorText when the rates cannot be converted.
SampleRef resampled(const SampleRef& data, double fromHz, double toHz);

/// Markers moved to their places at another rate: start and end are scaled, fractions kept. What rounding the number of
/// frames cut off, they lose too.
std::vector<Marker> scaledMarkers(const std::vector<Marker>& markers, double ratio, int64_t frames);

}  // namespace tervo
