// The readers of headerless ADPCM files, with every format that the setting for .vox files may name.

#include "base/byte_reader.h"
#include "core/collection.h"
#include "formats/wave/raw_adpcm.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using namespace tervo;
  constexpr ReadFn operations[] = {readVox, readRockwell, readYamahaAdpcm};
  ByteReader reader(std::as_bytes(std::span(data, size)));
  const ReadFn read = operations[reader.u8() % std::size(operations)];
  const uint32_t variant = reader.u8() % 5;
  Settings settings;
  settings.fmt.vox.dataFormat = reader.little<uint32_t>();
  const auto rest = reader.take(reader.remaining());
  detectRockwell(rest, variant, rest.size());

  Host host;
  ConversionReport report;
  Collection collection;
  const auto bytes = std::make_shared<MemorySource>(std::vector(rest.begin(), rest.end()));
  if (!read(collection, {bytes, u"a.vox", host, report, settings}, variant)) return 0;
  for (const auto& waveform : collection.waveforms()) makeResident(waveform->samples);
  return 0;
}
