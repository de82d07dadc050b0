// Seed files for state_fuzz: every kind of item, and samples kept in their own codings.

#include <filesystem>
#include <fstream>

#include "core/history/state_file.h"
#include "formats/codec/oki_adpcm.h"
#include "formats/stored_samples.h"
#include "formats/wave/pcm_import.h"
#include "tests/core/history/sample_document.h"
#include "tests/formats/wave/wav_builder.h"

using namespace tervo;
using namespace tervo::test;

namespace {

StoredSamples stored(SampleFormatWord format) {
  StoredSamples samples;
  samples.source = std::make_shared<MemorySource>(someBytes(64, 1));
  samples.bytes = 64;
  samples.format = format;
  return samples;
}

bool put(const std::filesystem::path& path, const Collection& document) {
  MemorySink sink;
  if (!writeState(sink, imageOf(document), openStoredSamples)) return false;
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(sink.bytes().data()), static_cast<std::streamsize>(sink.bytes().size()));
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::filesystem::path folder = argv[1];
  Collection everything, codings, empty;
  fillEveryField(everything);
  const auto wav = open(WavBuilder()
                            .fmt({.tag = 17, .bits = 4, .blockAlign = 36, .extra = u8({2, 0, 65, 0})})
                            .data(Bytes(72, std::byte{0x35})));
  for (const SampleRef& samples :
       {importPcm(stored(formatWord(SampleFormat::pcm24, SplitChannels)), 2, 10),
        makeCodedSamples(stored(formatWord(SampleFormat::adpcm4)), 1, 128, okiAdpcmDecoder()), wav->wave()->samples})
    codings.add(std::make_unique<Waveform>()).samples = samples;
  return put(folder / "everything", everything) && put(folder / "codings", codings) && put(folder / "empty", empty) ? 0
                                                                                                                    : 1;
}
