#include <QMimeData>

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "core/history/collection_part.h"
#include "core/history/loaded_bytes.h"
#include "core/normalise/fix_up.h"
#include "formats/stored_samples.h"
#include "ui/clipboard.h"
#include "ui/document_session.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

QByteArray bytesOf(const MemorySink& sink) {
  const auto& bytes = sink.bytes();
  return {reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())};
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

/// What pasting tidies up: nothing but waveforms and names that are there already.
Settings pasteSettings(const Settings& settings) {
  Settings own = settings;
  own.load = {};
  own.load.autoRemoveDupWaves = 1;
  own.load.ensureUniqueNames = settings.load.ensureUniqueNames;
  return own;
}

std::vector<ItemId> itemsOf(const Collection& collection) {
  std::vector<ItemId> ids;
  for (const auto& item : collection.instruments()) ids.push_back(item->id());
  for (const auto& item : collection.songs()) ids.push_back(item->id());
  if (!ids.empty()) return ids;
  for (const auto& item : collection.waveforms()) ids.push_back(item->id());
  return ids;
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
    if (const Instrument* instrument = containingInstrument(id)) item = instrument;
    if (const Song* song = containingSong(id)) item = song;
    if (item && item->kind() != ItemKind::collection) chosen.push_back(item);
  }
  if (chosen.empty()) return fail(u"No item selected");
  MemorySink sink;
  const bool written = guardMemory([&] {
    const auto part = partOf(session.document(), chosen);
    return writeState(sink, imageOf(*part), openStoredSamples);
  });
  if (!written) return nullptr;
  auto data = std::make_unique<QMimeData>();
  data->setData(clipboardType(ClipKind::item), bytesOf(sink));
  if (const auto* waveform = dynamic_cast<const Waveform*>(chosen[0])) {
    if (const QByteArray wav = wavOf(session, *waveform); !wav.isEmpty())
      data->setData(QStringLiteral("audio/wav"), wav);
  }
  return data;
}

std::vector<ItemId> pasteItems(DocumentSession& session, const QMimeData& data) {
  const QByteArray bytes = data.data(clipboardType(ClipKind::item));
  if (bytes.isEmpty()) return setLastErrorText(u"The clipboard holds nothing that fits here"), std::vector<ItemId>();
  const auto view = std::as_bytes(std::span(bytes.constData(), static_cast<std::size_t>(bytes.size())));
  Collection pasted;
  ConversionReport report;
  const auto running = session.host().beginOperation();
  const bool read = guardMemory([&] {
    const auto loaded = LoadedBytes::load(MemorySource({view.begin(), view.end()}));
    return loaded && readState(pasted, loaded, openStoredSamples) &&
           FixUpItems(pasted, &session.document(), pasteSettings(session.settings()), session.host(), report);
  });
  if (!read) return {};
  const auto added = itemsOf(pasted);
  session.edit(std::vector{session.document().id()}, QObject::tr("Paste"), [&] { session.document().absorb(pasted); });
  Q_EMIT session.replaced();
  return added;
}

}  // namespace tervo::ui
