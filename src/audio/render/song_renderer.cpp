#include "audio/render/song_renderer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "audio/render/rendered_samples.h"
#include "audio/render/song_events.h"
#include "audio/render/song_performance.h"
#include "base/last_error.h"
#include "base/memory_guard.h"

namespace tervo::audio {
namespace {

std::unique_ptr<Engine> makeEngine(const SongEvents& events, const RenderJob& job) {
  constexpr std::size_t usual = 256;
  Engine::Setup setup;
  setup.instrumentCapacity = std::max({16 * job.document.instruments().size(), events.instruments.size(), usual});
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
  float room[2 * blockFrames * mostTogether];
  const double expected = std::max(events.seconds, 1.0 * blockFrames / job.options.sampleRate);
  bool goesOn = true;
  const auto mayGoOn = [&] {
    return goesOn = goesOn && job.host.progress(std::min(performance.seconds() / expected, 1.0));
  };
  performance.askWhileItTakesLong(mayGoOn);
  for (std::size_t frames; (frames = performance.renderBlocks(room)) > 0 && mayGoOn();) {
    if (!sink.append(std::span(room).first(2 * frames))) return nullptr;
    const int64_t skipped = performance.skipSilence();
    if (skipped > 0 && !sink.appendSilence(skipped * blockFrames)) return nullptr;
  }
  if (!goesOn) {
    job.host.showStatus(u"Aborting, please wait...");
    return fail(u"Done: Rendered aborted!");
  }
  if (job.options.normalised) job.host.showStatus(u"Normalizing Peak-value...");
  return sink.finish({job.options.normalised, job.options.cutsSilence});
}

/// Damage to a time can make a song of days; nobody means to fill a disk with that.
bool wantsItAll(const SongEvents& events, Host& host) {
  constexpr double longest = 12;  // hours
  const double hours = events.seconds / 3600;
  if (hours <= longest) return true;
  constexpr TextView buttons[] = {u"Yes", u"No"};
  const Text text = fromUtf8(fmt::format("The song lasts {:.0f} hours. Do you wish to render all of it?", hours));
  return host.ask({text, buttons, 1}) == 0;
}

Text quoted(TextView before, TextView name, TextView after) {
  return Text(before).append(name).append(after);
}

}  // namespace

Text renderedText(const Song& song, const Waveform& waveform) {
  return quoted(u"Done: Rendered ", song.name, u" to waveform \"") + waveform.name + u"\".";
}

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
    const auto flat = guardMemory([&] { return std::make_unique<SongEvents>(flatten(song)); });
    if (!flat) return fail(u"Failed processing MIDI");
    const SongEvents& events = *flat;
    if (events.notes == 0) return fail(u"Done: No notes to render!");
    if (!wantsItAll(events, job.host)) return fail(u"Done: Rendered aborted!");
    const auto engine = makeEngine(events, job);
    Supplied supplied;
    if (!engine || !supplyInstruments(*engine, events.instruments, job.document, job.defaults, job.host, supplied))
      return nullptr;
    if (job.supplied) *job.supplied = std::move(supplied);
    job.host.showStatus(u"Rendering song to waveform...");
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
  host.showStatus(renderedText(song, waveform));
  if (!settings.mid2wav.deleteSrc) return true;
  constexpr TextView buttons[] = {u"Yes", u"No"};
  const Question question{u"Please confirm that you wish to delete the MIDI item that was converted?", buttons, 1};
  if (!settings.load.confirm || host.ask(question) == 0) document.remove(songId);
  return true;
}

}  // namespace tervo::audio
