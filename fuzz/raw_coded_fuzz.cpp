// The readers of headerless coded files, with every format that the setting for .vox files may name, from any offset.

#include "base/byte_reader.h"
#include "core/collection.h"
#include "formats/wave/raw_adpcm.h"
#include "formats/wave/raw_dvd.h"
#include "formats/wave/raw_telephony.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  using namespace tervo;
  constexpr ReadFn operations[] = {readVox,     readRockwell, readYamahaAdpcm, readG726Raw,
                                   readG722Raw, readGsmRaw,   readDvdWords24};
  ByteReader reader(std::as_bytes(std::span(data, size)));
  const ReadFn read = operations[reader.u8() % std::size(operations)];
  const uint32_t variant = reader.u8() % 10;
  Settings settings;
  settings.fmt.vox.dataFormat = reader.little<uint32_t>();
  RawRequest raw;
  raw.offset = reader.u8();
  const auto rest = reader.take(reader.remaining());
  detectRockwell(rest, variant, rest.size());

  Host host;
  ConversionReport report;
  Collection collection;
  const auto bytes = std::make_shared<MemorySource>(std::vector(rest.begin(), rest.end()));
  if (!read(collection, {bytes, u"a.vox", host, report, settings, raw}, variant)) return 0;
  for (const auto& waveform : collection.waveforms()) makeResident(waveform->samples);
  return 0;
}
