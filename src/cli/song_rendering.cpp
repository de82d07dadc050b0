#include "cli/song_rendering.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "audio/render/instrument_renderer.h"
#include "audio/render/instrument_supply.h"
#include "base/last_error.h"
#include "formats/damage_report.h"
#include "formats/open_flow.h"
#include "platform/path.h"

namespace tervo::cli {
namespace {

/// The rate of the target, so that nothing has to be resampled; not below the usual one, because the engine's
/// interpolation would fold into a lower band what does not fit there.
uint32_t renderingRate(const Run& run, uint32_t usual) {
  const auto rate = run.line.save.sampleRate;
  return rate ? std::max(usual, static_cast<uint32_t>(std::llround(*rate))) : usual;
}

/// Instruments and the waveforms that they play, as a report names them.
std::set<Text> namesOf(const std::vector<const Instrument*>& instruments) {
  std::set<Text> names;
  for (const Instrument* instrument : instruments) {
    names.insert(instrument->name);
    for (const auto& layer : instrument->layers())
      for (const auto& region : layer->regions())
        if (const auto* waveform = findItem<Waveform>(region->waveform)) names.insert(waveform->name);
  }
  return names;
}

Text notesText(std::size_t notes) {
  return fromUtf8(fmt::format("{} note{}", notes, notes == 1 ? "" : "s"));
}

}  // namespace

std::vector<NamedFile> banksFor(const CommandLine& line, const Settings& settings) {
  if (!line.rendering.banks.empty()) return line.rendering.banks;
  const Text& usual = settings.mid2wav.gmBank;
  return {{usual, platform::absolute(usual)}};
}

audio::RenderOptions renderOptions(const Run& run) {
  const CommandLine& line = run.line;
  audio::RenderOptions options = audio::renderOptionsOf(run.settings);
  const RenderRequest& request = line.rendering;
  options.sampleRate = renderingRate(run, options.sampleRate);
  if (request.voices) options.voices = *request.voices;
  if (request.normalise) options.normalised = *request.normalise;
  if (request.noEffects) options.hasEffects = false;
  if (request.usesSinc) options.interpolation = audio::Interpolation::sinc;
  options.tailSeconds = request.tailSeconds;
  options.workers = request.threads;
  return options;
}

/// False after printing why.
bool SongRendering::openBank(const NamedFile& file) {
  const OpenContext context{run_.host, bankReport_, run_.settings};
  const std::size_t before = bank_->instruments().size();
  const auto open = bank_->instruments().empty() ? OpenFile : MergeFile;
  bool opened = open(*bank_, file.path, RawFallback::refused, context);
  if (opened && bank_->instruments().size() == before) opened = fail(u"There are no instruments in it");
  run_.host.endProgress();
  if (!opened && !run_.host.cancelled()) run_.console.failure(file.shown);
  return opened;
}

bool SongRendering::openBanks() {
  bank_.emplace();
  const auto banks = banksFor(run_.line, run_.settings);
  return std::all_of(banks.begin(), banks.end(), [&](const NamedFile& file) { return openBank(file); });
}

const Collection* SongRendering::bank() {
  if (!bank_ && !openBanks()) {
    bank_.reset();
    // On a terminal the status line says so.
    if (run_.line.rendering.banks.empty() && !run_.host.showsStatus())
      run_.console.err("Could not open the default GM/GS collection!\nInstruments will be missing from the song.\n");
    return nullptr;
  }
  return &*bank_;
}

bool SongRendering::hasNamedBanks() {
  return run_.line.rendering.banks.empty() || bank();
}

/// What is lost of what the song plays: in the report, and in a line where notes stay silent.
void SongRendering::tell(const audio::Supplied& supplied, const Song& song) {
  const auto names = namesOf(supplied.instruments);
  for (const ReportEntry& entry : bankReport_.entries())
    if (names.contains(entry.item)) run_.report.add(entry);
  Text list;
  for (const auto& [number, notes] : supplied.missing) {
    const Text instrument = audio::instrumentText(number);
    run_.report.dropped(song.name, instrument, u"no bank has it, silent: " + notesText(notes));
    list += (list.empty() ? u"" : u"; ") + instrument + u" (" + notesText(notes) + u")";
  }
  if (list.empty()) return;
  run_.host.endProgress();
  run_.console.err(fmt::format("tervo: {}: Instruments are missing and their notes stay silent: {}\n",
                               printable(song.name), printable(list)));
}

std::vector<std::unique_ptr<Waveform>> SongRendering::render(const Item& item) {
  std::vector<std::unique_ptr<Waveform>> result;
  if (item.kind() == ItemKind::instrument)
    result = renderNotes(static_cast<const Instrument&>(item));
  else if (auto sound = renderSong(static_cast<const Song&>(item)))
    result.push_back(std::move(sound));
  noteDamage();
  if (run_.host.cancelled()) {
    setLastErrorText(u"Done: Rendered aborted!");
    result.clear();
  } else if (result.empty()) {
    explainFailure();
  }
  return result;
}

void SongRendering::noteDamage() {
  reportDamage(document_, run_.report);
  if (bank_) reportDamage(*bank_, run_.report);
}

std::unique_ptr<Waveform> SongRendering::renderSong(const Song& song) {
  if (!hasNamedBanks()) return fail(u"Failed to render synth to wave");
  audio::Supplied supplied;
  auto waveform =
      audio::renderSong(song, {document_, [this] { return bank(); }, run_.host, renderOptions(run_), &supplied});
  if (!waveform || run_.host.cancelled()) return waveform;
  tell(supplied, song);
  run_.host.showStatus(audio::renderedText(song, *waveform));
  return waveform;
}

std::vector<std::unique_ptr<Waveform>> SongRendering::renderNotes(const Instrument& instrument) {
  audio::NoteRenderOptions options = audio::noteRenderOptionsOf(run_.settings);
  options.sampleRate = renderingRate(run_, options.sampleRate);
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

bool SongRendering::supply(audio::Engine& engine, const audio::SongEvents& events, const Song& song) {
  audio::Supplied supplied;
  const bool done = audio::supplyInstruments(
      engine, events.instruments, document_, [this] { return bank(); }, run_.host, supplied);
  if (done)
    tell(supplied, song);
  else
    explainFailure();
  return done;
}

}  // namespace tervo::cli
