#include "ui/sound/song_bank.h"

#include "audio/render/instrument_renderer.h"
#include "base/last_error.h"
#include "ui/document_session.h"

namespace tervo::ui {

const Collection* SongBank::open() {
  const Text& wanted = session_.settings().mid2wav.gmBank;
  if (bank_ && path_ == wanted) return &*bank_;
  bank_.emplace();
  path_ = wanted;
  ConversionReport report;
  if (OpenFile(*bank_, wanted, RawFallback::refused, {session_.host(), report, session_.settings()})) return &*bank_;
  bank_.reset();
  return nullptr;
}

std::unique_ptr<Waveform> SongBank::renderSong(const Song& song) {
  auto waveform = audio::renderSong(song, {session_.document(), [this] { return open(); }, session_.host(),
                                           audio::renderOptionsOf(session_.settings())});
  if (waveform) session_.host().showStatus(audio::renderedText(song, *waveform));
  return waveform;
}

std::vector<std::unique_ptr<Waveform>> SongBank::render(const Item& item) {
  if (item.kind() == ItemKind::instrument)
    return audio::renderInstrument(static_cast<const Instrument&>(item),
                                   audio::noteRenderOptionsOf(session_.settings()), session_.host());
  std::vector<std::unique_ptr<Waveform>> result;
  if (auto waveform = renderSong(static_cast<const Song&>(item))) result.push_back(std::move(waveform));
  return result;
}

bool SongBank::renderIntoDocument(const Song& song) {
  bool done = false;
  const auto defaults = [this] { return open(); };
  session_.host().renderStoppably([&] {
    session_.edit(std::vector{session_.document().id()}, QObject::tr("Render song"), [&] {
      done = audio::renderSongInDocument(session_.document(), song, defaults, session_.host(), session_.settings());
    });
  });
  const Text failure = LastErrorText();
  Q_EMIT session_.replaced();
  return done || fail(failure);
}

bool SongBank::supply(audio::Engine& engine, const audio::SongEvents& events) {
  audio::Supplied supplied;
  return audio::supplyInstruments(
      engine, events.instruments, session_.document(), [this] { return open(); }, session_.host(), supplied);
}

}  // namespace tervo::ui
