// Reading a large song and building its tempo map: 10 MiB with three million events.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "base/byte_writer.h"
#include "core/collection.h"
#include "core/tempo_map.h"
#include "formats/midi/midi_file.h"

namespace {

using namespace tervo;

constexpr uint16_t trackCount = 16;
constexpr int eventsPerTrack = 192000;

/// Chords in running status, with a tempo change, a long delta time or a new status now and then.
std::vector<std::byte> trackBody(int track) {
  MemorySink sink;
  ByteWriter writer(sink);
  uint32_t random = static_cast<uint32_t>(track) + 1;
  for (int i = 0; i < eventsPerTrack; ++i) {
    random = random * 1664525 + 1013904223;
    if (i % 500 == 0) {
      writer.chars(std::string_view("\0\xFF\x51\x03", 4));
      writer.u8(5);
      writer.big(static_cast<uint16_t>(random >> 16));
      continue;
    }
    if (i % 4 == 0) writer.u8(0x81);
    writer.u8((random >> 24) & 0x7F);
    if (i % 6 == 1 || i % 500 == 1) writer.u8(static_cast<uint8_t>((i % 12 == 1 ? 0x90 : 0x80) | track));
    writer.u8((random >> 16) & 0x7F);
    writer.u8((random >> 9) & 0x7F);
  }
  writer.chars(std::string_view("\0\xFF\x2F\0", 4));
  return sink.take();
}

std::shared_ptr<const ByteSource> largeSong() {
  MemorySink sink;
  ByteWriter writer(sink);
  writer.chars("MThd");
  writer.big<uint32_t>(6);
  for (const uint16_t word : {uint16_t{1}, trackCount, uint16_t{480}}) writer.big(word);
  for (int track = 0; track < trackCount; ++track) {
    const auto body = trackBody(track);
    writer.chars("MTrk");
    writer.big(static_cast<uint32_t>(body.size()));
    writer.bytes(body);
  }
  return std::make_shared<MemorySource>(sink.take());
}

void readAndMapTempo(benchmark::State& state) {
  const auto bytes = largeSong();
  Host host;
  ConversionReport report;
  const Settings settings;
  double seconds = 0;
  std::size_t events = 0;
  for (auto _ : state) {
    Collection collection;
    readMidiSong(collection, {bytes, u"a.mid", host, report, settings}, 0);
    const Song& song = *collection.songs().front();
    benchmark::DoNotOptimize(seconds = TempoMap(song).secondsAt(1000000));
    state.PauseTiming();
    events = 0;
    for (const auto& track : song.tracks()) events += summaryOf(*track).events;
    state.ResumeTiming();
  }
  state.counters["MiB"] = static_cast<double>(bytes->size()) / (1 << 20);
  state.counters["events"] = static_cast<double>(events);
}
BENCHMARK(readAndMapTempo)->Unit(benchmark::kMillisecond);

}  // namespace
