#pragma once
// Writes the samples of a compressed bank: a stream for each, one after another in "smpl".

#include "base/byte_writer.h"
#include "formats/instrument/sf2_sample_plan.h"

namespace tervo::sf2 {

/// The list "sdta"; the plan learns where the streams stand. A stream that a file holds is copied, others are made on
/// all processors. False with LastErrorText.
bool writeStreams(ByteWriter& writer, SamplePlan& plan, TargetFile& file);

}  // namespace tervo::sf2
