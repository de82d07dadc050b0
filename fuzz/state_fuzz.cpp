// Program-state files of any content: what is refused leaves the document alone; what is read streams, is the same
// after it was saved and read again, and its waveforms can be saved as other files.

#include <algorithm>
#include <cstdlib>

#include "core/history/state_file.h"
#include "formats/stored_samples.h"
#include "fuzz/wave_round_trip.h"

using namespace tervo;

namespace {

bool read(Collection& document, std::span<const std::byte> bytes) {
  const MemorySource source({bytes.begin(), bytes.end()});
  return readState(document, LoadedBytes::load(source), openStoredSamples);
}

std::vector<std::byte> written(const Collection& document) {
  MemorySink sink;
  if (!writeState(sink, imageOf(document), openStoredSamples)) std::abort();
  return sink.take();
}

void streamBeginning(const SampleData& samples) {
  std::vector<float> block(8192);
  const auto stream = samples.open();
  for (int i = 0; i < 16 && stream; ++i) {
    const auto frames = stream->read(block);
    if (!frames || *frames == 0) break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Collection document;
  document.name = u"mine";
  if (!read(document, std::as_bytes(std::span(data, size)))) {
    if (document.name != u"mine") std::abort();
    return 0;
  }
  int64_t frames = 0;
  for (const auto& waveform : document.waveforms()) {
    if (!waveform->samples) continue;
    streamBeginning(*waveform->samples);
    frames += waveform->frames();
  }
  if (frames > 1 << 20) return 0;  // packed to the last bit: decoding it all is no work for here
  for (const auto& waveform : document.waveforms()) {
    Waveform plain;
    copySound(*waveform, plain);
    plain.foreignChunks.clear();  // whoever makes up chunks can make up ones that mean something
    if (plain.samples) fuzzSave(plain);
  }
  const auto once = written(document);
  if (!read(document, once) || written(document) != once) std::abort();
  return 0;
}
