#include <QMimeData>
#include <algorithm>

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "core/history/collection_part.h"
#include "core/history/loaded_bytes.h"
#include "core/normalise/fix_up.h"
#include "formats/stored_samples.h"
#include "tools/song/song_tools.h"
#include "ui/clipboard.h"
#include "ui/document_session.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

QByteArray bytesOf(const MemorySink& sink) {
  const auto& bytes = sink.bytes();
  return {reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())};
}

/// What of the chosen items goes into what is selected where it is pasted. Instruments, waveforms and songs join the
/// document.
constexpr char layerParts[] = "layers", regionParts[] = "regions", trackParts[] = "tracks";

QString partsType() {
  return QStringLiteral("application/x-tervo-studio-parts");
}

QByteArray partsAmong(const std::vector<const Item*>& chosen) {
  const auto areAll = [&](std::initializer_list<ItemKind> kinds) {
    return std::all_of(chosen.begin(), chosen.end(), [&](const Item* item) {
      return std::find(kinds.begin(), kinds.end(), item->kind()) != kinds.end();
    });
  };
  if (areAll({ItemKind::region})) return regionParts;
  if (areAll({ItemKind::region, ItemKind::layer})) return layerParts;
  if (areAll({ItemKind::track})) return trackParts;
  return {};
}

/// The waveform as a file for other programs; empty when it cannot be written.
QByteArray wavOf(DocumentSession& session, const Waveform& waveform) {
  const FormatIndex index = writerForExtension(u"wav");
  const FormatDescriptor* row = rowAt(index);
  MemorySink sink;
  ConversionReport report;
  TargetFile target{sink, u"clipboard.wav", session.host(), report, session.settings(), *row, {}};
  return row->write(waveform, target, row->variant) ? bytesOf(sink) : QByteArray();
}

/// What pasting tidies up: nothing but names that are there already, and waveforms that only come along.
Settings pasteSettings(const Settings& settings, const Collection& pasted) {
  Settings own = settings;
  own.load = {};
  own.load.autoRemoveDupWaves = !pasted.instruments().empty();
  own.load.ensureUniqueNames = settings.load.ensureUniqueNames;
  return own;
}

template <typename Items>
void addIds(const Items& items, std::vector<ItemId>& ids) {
  for (const auto& item : items) ids.push_back(item->id());
}

std::vector<ItemId> itemsOf(const Collection& collection) {
  std::vector<ItemId> ids;
  addIds(collection.instruments(), ids);
  addIds(collection.songs(), ids);
  if (ids.empty()) addIds(collection.waveforms(), ids);
  return ids;
}

// What is pasted into something leaves nothing of the instrument or song that it came with.

std::vector<ItemId> takeLayers(Instrument& target, Collection& pasted) {
  std::vector<ItemId> taken;
  while (!pasted.instruments().empty()) {
    const Instrument& from = *pasted.instruments()[0];
    for (const auto& layer : from.layers()) {
      Layer& added = target.add(std::make_unique<Layer>());
      added.swapContent(*layer);
      taken.push_back(added.id());
    }
    pasted.remove(from.id());
  }
  return taken;
}

std::vector<ItemId> takeRegions(Layer& target, Collection& pasted) {
  std::vector<ItemId> taken;
  while (!pasted.instruments().empty()) {
    Instrument& from = *pasted.instruments()[0];
    for (const auto& layer : from.layers()) {
      addIds(layer->regions(), taken);
      target.absorb(*layer);
    }
    pasted.remove(from.id());
  }
  return taken;
}

std::vector<ItemId> takeTracks(Song& target, Collection& pasted) {
  std::vector<ItemId> taken;
  while (!pasted.songs().empty()) {
    const Song& from = *pasted.songs()[0];
    for (const auto& track : from.tracks()) {
      Track& added = target.add(std::make_unique<Track>());
      added.swapContent(*track);
      added.isControlTrack = false;
      added.sequenceNumber.reset();
      taken.push_back(added.id());
    }
    pasted.remove(from.id());
  }
  if (target.format == 0 && target.tracks().size() > 1) target.format = 1;
  return taken;
}

/// The selected layer, or the last one of the selected instrument.
Layer* layerFor(ItemId selected) {
  if (auto* layer = containing<Layer>(selected)) return layer;
  Instrument* instrument = containingInstrument(selected);
  if (!instrument) return nullptr;
  return instrument->layers().empty() ? &instrument->add(std::make_unique<Layer>()) : instrument->layers().back().get();
}

/// Nothing where the selected item cannot hold them.
std::vector<ItemId> takeParts(const QByteArray& parts, ItemId selected, Collection& pasted) {
  if (Instrument* instrument = containingInstrument(selected); instrument && parts == layerParts)
    return takeLayers(*instrument, pasted);
  if (parts == regionParts) {
    Layer* layer = layerFor(selected);
    return layer ? takeRegions(*layer, pasted) : std::vector<ItemId>();
  }
  if (Song* song = containingSong(selected); song && parts == trackParts) return takeTracks(*song, pasted);
  return {};
}

/// Tracks keep their times in a song that counts otherwise.
bool takeDivision(const Song& target, Collection& pasted, const OperationContext& context) {
  for (const auto& song : pasted.songs()) {
    if (song->division == target.division) continue;
    const auto changed = withDivision(*song, target.division, context);
    if (!changed) return false;
    song->takeContent(*changed);
  }
  return true;
}

}  // namespace

QString clipboardType(ClipKind kind) {
  const QString name = qt(clipboardFormatNames[static_cast<std::size_t>(kind)]);
  return QStringLiteral("application/x-qt-windows-mime;value=\"%1\"").arg(name);
}

std::unique_ptr<QMimeData> copyItems(DocumentSession& session, std::span<const ItemId> items) {
  std::vector<const Item*> chosen;
  for (const ItemId id : items) {
    const Item* item = findItem(id);
    if (item && item->kind() != ItemKind::collection) chosen.push_back(item);
  }
  if (chosen.empty()) return fail(u"No item selected");
  return guardMemory([&]() -> std::unique_ptr<QMimeData> {
    MemorySink sink;
    const auto part = partOf(session.document(), chosen);
    if (!writeState(sink, imageOf(*part), openStoredSamples)) return nullptr;
    auto data = std::make_unique<QMimeData>();
    data->setData(clipboardType(ClipKind::item), bytesOf(sink));
    if (const QByteArray parts = partsAmong(chosen); !parts.isEmpty()) data->setData(partsType(), parts);
    const auto* waveform = dynamic_cast<const Waveform*>(chosen[0]);
    if (const QByteArray wav = waveform ? wavOf(session, *waveform) : QByteArray(); !wav.isEmpty())
      data->setData(QStringLiteral("audio/wav"), wav);
    return data;
  });
}

std::vector<ItemId> pasteItems(DocumentSession& session, const QMimeData& data, ItemId selected) {
  const QByteArray bytes = data.data(clipboardType(ClipKind::item)), parts = data.data(partsType());
  if (bytes.isEmpty()) return setLastErrorText(u"The clipboard holds nothing that fits here"), std::vector<ItemId>();
  const auto view = std::as_bytes(std::span(bytes.constData(), static_cast<std::size_t>(bytes.size())));
  Collection pasted;
  ConversionReport report;
  const auto running = session.host().beginOperation();
  const bool read = guardMemory([&] {
    const auto loaded = LoadedBytes::load(MemorySource({view.begin(), view.end()}));
    if (!loaded || !readState(pasted, loaded, openStoredSamples)) return false;
    const Song* song = parts == trackParts ? containingSong(selected) : nullptr;
    if (song && !takeDivision(*song, pasted, {session.host(), report})) return false;
    return FixUpItems(pasted, &session.document(), pasteSettings(session.settings(), pasted), session.host(), report);
  });
  if (!read) return {};
  std::vector<ItemId> added;
  session.edit(std::vector{session.document().id()}, QObject::tr("Paste"), [&] {
    added = takeParts(parts, selected, pasted);
    if (added.empty()) added = itemsOf(pasted);
    session.document().absorb(pasted);
  });
  Q_EMIT session.replaced();
  return added;
}

}  // namespace tervo::ui
