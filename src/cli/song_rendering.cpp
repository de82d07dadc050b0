#include "cli/song_rendering.h"

#include <algorithm>
#include <cmath>

#include "audio/render/instrument_renderer.h"
#include "audio/render/instrument_supply.h"
#include "base/last_error.h"
#include "formats/damage_report.h"
#include "formats/open_flow.h"
#include "platform/path.h"

namespace tervo::cli {
namespace {

/// Rendered at the rate of the target, nothing has to be resampled.
std::optional<uint32_t> askedRate(const Run& run) {
  const auto rate = run.line.save.sampleRate;
  return rate ? std::optional(static_cast<uint32_t>(std::max(std::llround(*rate), 1ll))) : std::nullopt;
}

}  // namespace

audio::RenderOptions renderOptions(const Run& run) {
  const CommandLine& line = run.line;
  audio::RenderOptions options = audio::renderOptionsOf(run.settings);
  const RenderRequest& request = line.rendering;
  options.sampleRate = askedRate(run).value_or(options.sampleRate);
  if (request.voices) options.voices = *request.voices;
  if (request.normalise) options.normalised = *request.normalise;
  if (request.noEffects) options.hasEffects = false;
  if (request.usesSinc) options.interpolation = audio::Interpolation::sinc;
  options.tailSeconds = request.tailSeconds;
  options.workers = request.threads;
  return options;
}

bool SongRendering::openBanks() {
  bank_.emplace();
  const OpenContext context{run_.host, run_.report, run_.settings};
  if (run_.line.rendering.banks.empty())
    return OpenFile(*bank_, platform::absolute(run_.settings.mid2wav.gmBank), RawFallback::refused, context);
  bool first = true;
  for (const NamedFile& file : run_.line.rendering.banks) {
    const auto open = first ? OpenFile : MergeFile;
    if (!open(*bank_, file.path, RawFallback::refused, context)) return false;
    first = false;
  }
  return !bank_->instruments().empty() || fail(u"The bank holds no instruments");
}

const Collection* SongRendering::bank() {
  if (!bank_ && !openBanks()) {
    run_.host.endProgress();
    const bool isDefault = run_.line.rendering.banks.empty();
    run_.console.failure(isDefault ? run_.settings.mid2wav.gmBank : run_.line.rendering.banks.front().shown);
    if (isDefault)
      run_.console.err("Could not open the default GM/GS collection!\nInstruments will be missing from the song.\n");
    bank_.reset();
    return nullptr;
  }
  return &*bank_;
}

/// A bank that the user names has to be there; the default one may be missing.
bool SongRendering::hasNamedBanks() {
  return run_.line.rendering.banks.empty() || bank() || fail(u"Failed to render synth to wave");
}

std::vector<std::unique_ptr<Waveform>> SongRendering::render(const Item& item) {
  std::vector<std::unique_ptr<Waveform>> result;
  if (item.kind() == ItemKind::instrument) {
    result = renderNotes(static_cast<const Instrument&>(item));
  } else {
    if (!hasNamedBanks()) return result;
    auto sound = audio::renderSong(static_cast<const Song&>(item),
                                   {document_, [this] { return bank(); }, run_.host, renderOptions(run_)});
    if (sound) result.push_back(std::move(sound));
  }
  reportDamage(document_, run_.report);
  if (bank_) reportDamage(*bank_, run_.report);
  if (result.empty()) explainFailure();
  return result;
}

std::vector<std::unique_ptr<Waveform>> SongRendering::renderNotes(const Instrument& instrument) {
  audio::NoteRenderOptions options = audio::noteRenderOptionsOf(run_.settings);
  options.sampleRate = askedRate(run_).value_or(options.sampleRate);
  if (run_.line.rendering.usesSinc) options.interpolation = audio::Interpolation::sinc;
  return audio::renderInstrument(instrument, options, run_.host);
}

// The engine only says that there is no instrument.
void SongRendering::explainFailure() {
  const Text failure = LastErrorText();
  if (failure != u"Couldn't create instrument") return;
  const auto sayIfUnreadable = [this](const Collection& collection) {
    for (const auto& waveform : collection.waveforms())
      if (waveform->samples && !waveform->samples->open()) return run_.console.failure(waveform->name), true;
    return false;
  };
  if (!sayIfUnreadable(document_) && bank_) sayIfUnreadable(*bank_);
  setLastErrorText(failure);
}

bool SongRendering::supply(audio::Engine& engine, const audio::SongEvents& events) {
  if (!hasNamedBanks()) return false;
  const bool done = audio::supplyInstruments(
      engine, events.instruments, document_, [this] { return bank(); }, run_.host);
  if (!done) explainFailure();
  return done;
}

}  // namespace tervo::cli
