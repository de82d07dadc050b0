#pragma once
// What the fuzz targets of the waveform readers do with a file.

#include <cstdlib>
#include <vector>

#include "core/collection.h"
#include "formats/format_table.h"
#include "formats/prepared_waveform.h"

namespace tervo {

/// What is saved as AIFF, Wave64 or WAV must be readable again.
inline void fuzzSave(const Waveform& wave) {
  Host host;
  ConversionReport report;
  const Settings settings;
  for (const FormatIndex row : {15, 490, 491}) {
    const FormatDescriptor& format = FormatTable()[static_cast<std::size_t>(row)];
    MemorySink sink;
    TargetFile target{sink, u"b.wav", host, report, settings, format, {}};
    const auto prepared = preparedFor(format, wave, {}, report);
    if (!prepared || !format.write(*prepared, target, 0)) continue;
    Collection again;
    const SourceFile saved{std::make_shared<MemorySource>(sink.take()), u"b.wav", host, report, settings};
    if (!format.read(again, saved, 0)) std::abort();
  }
}

/// Reads the file; what can be read must stream to its last frame and can be saved.
inline int fuzzRoundTrip(const uint8_t* data, size_t size, ReadFn read) {
  const auto bytes = std::as_bytes(std::span(data, size));
  Host host;
  ConversionReport report;
  const Settings settings;
  Collection collection;
  const SourceFile file{std::make_shared<MemorySource>(std::vector(bytes.begin(), bytes.end())), u"a.wav", host, report,
                        settings};
  if (!read(collection, file, 0)) return 0;
  const Waveform& wave = *collection.waveforms()[0];
  std::vector<float> frames(2048);
  int64_t count = 0;
  const auto stream = wave.samples->open();
  while (const auto part = stream ? stream->read(frames) : std::nullopt) {
    if (*part == 0) break;
    count += static_cast<int64_t>(*part);
  }
  if (count != wave.frames()) std::abort();
  fuzzSave(wave);
  return 0;
}

}  // namespace tervo
