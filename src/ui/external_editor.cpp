#include "ui/external_editor.h"

#include <QFileInfo>
#include <QProcess>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/raw_source.h"
#include "formats/save_flow.h"
#include "ui/document_session.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

// Programs write in pieces, or write another file and rename it.
constexpr int calmMs = 400;

/// What another program may edit of the item.
const Item* editable(ItemId id) {
  if (const auto* region = findItem<Region>(id)) return findItem<Waveform>(region->waveform);
  if (const Song* song = containingSong(id)) return song;
  return findItem<Waveform>(id);
}

QString safeName(const Item& item) {
  QString name =
      qt(item.kind() == ItemKind::song ? static_cast<const Song&>(item).name : static_cast<const Waveform&>(item).name);
  for (const QChar bad : QStringLiteral("/\\:*?\"<>|")) name.replace(bad, u'_');
  return name.isEmpty() ? QStringLiteral("Unnamed") : name.left(100);
}

/// The frames, and the markers where the program has written any.
bool takeWaveform(Collection& read, Waveform& to) {
  if (read.waveforms().empty()) return fail(u"Empty collection");
  Waveform& from = *read.waveforms()[0];
  // The program may write the file again at any time.
  if (SampleRef frames = makeResident(from.samples)) from.samples = std::move(frames);
  if (from.samples->resident().empty() && from.frames() > 0) return false;
  takeSamples(from, to);
  if (!from.markers.empty()) to.markers = from.markers;
  return true;
}

bool takeSong(Collection& read, Song& to) {
  if (read.songs().empty()) return fail(u"Empty collection");
  to.takeContent(*read.songs()[0]);
  return true;
}

}  // namespace

ExternalEditor::ExternalEditor(DocumentSession& session, QObject* parent) : QObject(parent), session_(session) {
  calm_.setSingleShot(true);
  calm_.setInterval(calmMs);
  connect(&calm_, &QTimer::timeout, this, &ExternalEditor::takeChanged);
  connect(&watcher_, &QFileSystemWatcher::fileChanged, &calm_, qOverload<>(&QTimer::start));
  connect(&watcher_, &QFileSystemWatcher::directoryChanged, &calm_, qOverload<>(&QTimer::start));
}

bool ExternalEditor::write(ItemId id, const QString& path) {
  const Item* item = findItem(id);
  ConversionReport report;
  const FormatIndex row = writerForExtension(item->kind() == ItemKind::song ? u"mid" : u"wav");
  return SaveItem(item, row, textOf(path), {session_.host(), report, session_.settings(), {}, Overwrite::allowed});
}

bool ExternalEditor::open(ItemId id) {
  const Item* item = editable(id);
  if (!item) return fail(u"No item selected");
  const bool isSong = item->kind() == ItemKind::song;
  const Settings::App& app = session_.settings().app;
  const Text& program = isSong ? app.midi : app.wave;
  if (program.empty()) return fail(u"The preferences name no program for this");
  if (!folder_.isValid()) return fail(u"Could not open file");
  // A folder each: programs show the name, and two items may share one.
  const QString folder = folder_.filePath(QString::number(static_cast<uint32_t>(item->id())));
  QDir().mkpath(folder);
  const QString path = folder + u'/' + safeName(*item) + (isSong ? ".mid" : ".wav");
  if (!write(item->id(), path)) return false;
  const QFileInfo file(path);
  files_[path] = {item->id(), file.lastModified(), file.size()};
  watcher_.addPaths({path, folder});
  if (!QProcess::startDetached(qt(program), {path}, folder)) return fail(u"Could not start program: " + program);
  session_.host().showStatus(u"Opened in " + textOf(QFileInfo(qt(program)).fileName()));
  return true;
}

void ExternalEditor::takeChanged() {
  // Not in the middle of something, nor of the program's writing.
  if (session_.host().isBusy()) return calm_.start();
  for (auto& [path, stand] : files_) {
    const QFileInfo file(path);
    const bool isOther = file.exists() && (file.lastModified() != stand.changed || file.size() != stand.size);
    if (!isOther) continue;
    const bool isBeingWritten = file.size() == 0 || file.lastModified().msecsTo(QDateTime::currentDateTime()) < calmMs;
    if (isBeingWritten) return calm_.start();
    stand.changed = file.lastModified();
    stand.size = file.size();
    // A file that was replaced is watched no longer.
    watcher_.addPath(path);
    takeBack(path, stand.item);
  }
}

void ExternalEditor::takeBack(const QString& path, ItemId id) {
  Item* item = findItem(id);
  if (!item) return;
  const auto operation = session_.host().beginOperation();
  ConversionReport report;
  OpenContext context{session_.host(), report, session_.settings()};
  context.normalisation = Normalisation::skipped;
  Collection read;
  bool done = OpenFile(read, textOf(path), RawFallback::refused, context);
  const auto take = [&] {
    done = item->kind() == ItemKind::song ? takeSong(read, static_cast<Song&>(*item))
                                          : takeWaveform(read, static_cast<Waveform&>(*item));
  };
  if (done) session_.edit(std::vector{id}, tr("Edit in another program"), take);
  session_.host().showStatus(done ? u"Taken over: " + textOf(QFileInfo(path).fileName()) : Text(LastErrorText()));
}

}  // namespace tervo::ui
