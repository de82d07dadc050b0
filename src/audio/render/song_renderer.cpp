#include "audio/render/song_renderer.h"

#include <algorithm>
#include <cmath>

#include "audio/render/rendered_samples.h"
#include "audio/render/song_events.h"
#include "audio/render/song_performance.h"
#include "base/last_error.h"
#include "base/memory_guard.h"

namespace tervo::audio {
namespace {

std::unique_ptr<Engine> makeEngine(const RenderJob& job) {
  Engine::Setup setup;
  setup.instrumentCapacity = std::max<std::size_t>(16 * job.document.instruments().size(), 256);
  setup.voices = std::max(job.options.voices, 1);
  setup.sampleRate = job.options.sampleRate;
  setup.masterGain = 1 / std::sqrt(static_cast<float>(setup.voices));
  setup.workers = job.options.workers;
  setup.hasEffects = job.options.hasEffects;
  setup.interpolation = job.options.interpolation;
  return Engine::create(setup);
}

/// Null with LastErrorText.
SampleRef renderEvents(Engine& engine, const SongEvents& events, const RenderJob& job) {
  SongPerformance performance(engine, events, job.options.tailSeconds);
  RenderSink sink;
  float stereo[2 * blockFrames];
  const double expected = std::max(events.seconds, 1.0 * blockFrames / job.options.sampleRate);
  for (int64_t block = 0; performance.renderBlock(stereo); ++block) {
    constexpr int64_t blocksPerProgress = 256;
    if (block % blocksPerProgress == 0 && !job.host.progress(std::min(performance.seconds() / expected, 1.0)))
      return fail(u"Done: Rendered aborted!");
    if (!sink.append(stereo)) return nullptr;
  }
  return sink.finish({job.options.normalised, job.options.cutsSilence});
}

Text quoted(TextView before, TextView name, TextView after) {
  return Text(before).append(name).append(after);
}

}  // namespace

RenderOptions renderOptionsOf(const Settings& settings) {
  RenderOptions options;
  options.sampleRate = std::max(settings.mid2wav.sampleRate, 1u);
  options.voices = std::clamp(settings.mid2wav.maxPolyphony, 1, 4096);
  options.hasEffects = settings.mid2wav.effects != 0;
  options.normalised = settings.mid2wav.normalizePeak != 0;
  options.cutsSilence = settings.mid2wav.deleteSilence != 0;
  return options;
}

std::unique_ptr<Waveform> renderSong(const Song& song, const RenderJob& job) {
  return guardMemory([&]() -> std::unique_ptr<Waveform> {
    const SongEvents events = flatten(song);
    if (events.notes == 0) return fail(u"Done: No notes to render!");
    const auto engine = makeEngine(job);
    if (!engine || !supplyInstruments(*engine, events.instruments, job.document, job.defaults, job.host))
      return nullptr;
    job.host.showStatus(quoted(u"Rendering ", song.name, u" to waveform..."));
    auto samples = renderEvents(*engine, events, job);
    if (!samples) return nullptr;
    auto waveform = std::make_unique<Waveform>();
    waveform->name = song.name;
    waveform->sampleRate = job.options.sampleRate;
    waveform->samples = std::move(samples);
    waveform->setStoredFormat(SampleFormat::pcm24, 0);
    return waveform;
  });
}

bool renderSongInDocument(Collection& document, const Song& song, const DefaultCollection& defaults, Host& host,
                          const Settings& settings) {
  const ItemId songId = song.id();
  auto rendered = renderSong(song, {document, defaults, host, renderOptionsOf(settings)});
  if (!rendered) return false;
  const Waveform& waveform = document.add(std::move(rendered));
  host.showStatus(quoted(u"Done: Rendered ", song.name, u" to waveform \"") + waveform.name + u"\".");
  if (!settings.mid2wav.deleteSrc) return true;
  constexpr TextView buttons[] = {u"Yes", u"No"};
  const Question question{u"Please confirm that you wish to delete the MIDI item that was converted?", buttons, 1};
  if (!settings.load.confirm || host.ask(question) == 0) document.remove(songId);
  return true;
}

}  // namespace tervo::audio
