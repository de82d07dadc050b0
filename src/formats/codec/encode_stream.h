#pragma once
// Drives a block encoder over sample data, in pieces that it can take.

#include "core/host.h"
#include "core/sample_data.h"
#include "formats/codec/block_codec.h"

namespace tervo {

/// Encodes all frames into the sink. False with LastErrorText when reading or writing fails or the user stops
/// ("Save aborted!").
bool encodeAll(const SampleData& samples, BlockEncoder& encoder, ByteSink& sink, Host& host);

}  // namespace tervo
