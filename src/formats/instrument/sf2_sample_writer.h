#pragma once
// Writes the samples of a bank: "smpl", and "sm24" where they have 24 bits.

#include "base/byte_writer.h"
#include "formats/instrument/sf2_sample_plan.h"

namespace tervo::sf2 {

/// The list "sdta". Samples that stand in a file in the form wanted are copied as they are; for streams that are
/// damaged there is silence, reported. False with LastErrorText.
bool writeSampleData(ByteWriter& writer, const SamplePlan& plan, TargetFile& file);

}  // namespace tervo::sf2
