#include "formats/codec/encode_stream.h"

#include <algorithm>

#include "base/last_error.h"

namespace tervo {

bool encodeAll(const SampleData& samples, BlockEncoder& encoder, ByteSink& sink, Host& host) {
  constexpr std::size_t aimedFrames = 16384;
  const auto stream = samples.open();
  if (!stream) return false;
  const auto channels = static_cast<std::size_t>(samples.channels());
  const std::size_t blocks = std::max<std::size_t>(aimedFrames / encoder.blockFrames(), 1);
  std::vector<float> frames(blocks * encoder.blockFrames() * channels);
  std::vector<std::byte> coded;
  int64_t done = 0;
  while (true) {
    const auto count = stream->read(frames);
    if (!count) return false;
    coded.clear();
    if (*count > 0)
      encoder.encode(std::span<const float>(frames).first(*count * channels), coded);
    else
      encoder.finish(coded);
    if (!sink.write(coded)) return false;
    if (*count == 0) return true;
    done += static_cast<int64_t>(*count);
    if (!host.progress(static_cast<double>(done) / static_cast<double>(samples.frames())))
      return fail(u"Save aborted!");
  }
}

}  // namespace tervo
