#pragma once
// Sample data of bytes that a program-state file has kept in the coding of their source.

#include "core/sample_data.h"

namespace tervo {

/// Reopens what SampleData::stored() described: plain samples, any coding that a "fmt " chunk describes, streams of
/// codec libraries, and the named codings of headerless files. Null with LastErrorText.
SampleRef openStoredSamples(StoredSamples stored, int channels, int64_t frames);

}  // namespace tervo
