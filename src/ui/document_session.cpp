#include "ui/document_session.h"

#include <QGuiApplication>
#include <algorithm>

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "core/history/collection_part.h"
#include "formats/stored_samples.h"
#include "platform/file.h"
#include "platform/path.h"
#include "ui/qt_text.h"
#include "ui/wave/source_pane.h"

namespace tervo::ui {
namespace {

constexpr TextView undetected = u"Not detected as any supported file type";

/// The nearest item that owns all of them, or is the only one.
ItemId commonOwner(std::span<const ItemId> items, const Collection& document) {
  const Item* owner = items.empty() ? nullptr : findItem(items[0]);
  const auto holds = [&](const Item* above, ItemId id) {
    const Item* item = findItem(id);
    while (item && item != above) item = item->parent();
    return item != nullptr;
  };
  for (const ItemId id : items) {
    while (owner && !holds(owner, id)) owner = owner->parent();
  }
  return owner ? owner->id() : document.id();
}

struct WaitCursor {
  WaitCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
  ~WaitCursor() { QGuiApplication::restoreOverrideCursor(); }
  WaitCursor(const WaitCursor&) = delete;
};

}  // namespace

uint64_t newGesture() {
  static uint64_t last = 0;
  return ++last;
}

DocumentSession::DocumentSession(Settings& settings, WindowHost& host, Text folder)
    : settings_(settings),
      host_(host),
      history_(document_, host, folder, openStoredSamples),
      recovery_(folder, openStoredSamples) {
  history_.refreshViews = [this] { Q_EMIT replaced(); };
  connect(&recoveryTimer_, &QTimer::timeout, this, [this] {
    // In the middle of an operation the document may be half of something.
    if (!host_.isBusy()) recovery_.tend(history_, document_, std::chrono::steady_clock::now());
  });
  recoveryTimer_.start(std::chrono::seconds(5));
}

bool DocumentSession::openOnce(TextView path, OpenMode mode, RawFallback fallback) {
  OpenContext context{host_, report_, settings_};
  context.history = &history_;
  context.detected = &lastDetection_;
  if (fallback != RawFallback::refused) context.raw = rawLayoutIn(settings_.rawio.layout);
  if (mode == OpenMode::replace) return OpenFile(document_, path, fallback, context);
  if (mode == OpenMode::merge) return MergeFile(document_, path, fallback, context);
  return ReplaceSameName(document_, path, fallback, context).has_value();
}

bool DocumentSession::open(TextView path, OpenMode mode, RawFallback fallback) {
  report_ = {};
  const auto operation = host_.beginOperation();
  bool done = openOnce(path, mode, fallback);
  declinedRawData_ = false;
  if (!done && LastErrorText() == undetected && isRawDataOffered_ && !host_.isQuiet()) {
    declinedRawData_ = askRawFallback(host_, rawChoice_) == RawFallback::refused;
    if (!declinedRawData_) done = openOnce(path, mode, fallback = RawFallback::allowed);
  }
  const bool isUnfit = !done && fallback != RawFallback::refused && !settings_.rawio.layout.empty();
  if (isUnfit) {  // too short for one frame of what was read last
    settings_.rawio.layout.clear();
    done = openOnce(path, mode, fallback);
  }
  if (done) RememberFile(settings_, path);
  if (mode == OpenMode::replace && (done || !document_.holdsData())) isFromFile_ = done;
  const Text failure = LastErrorText();
  Q_EMIT replaced();
  setLastErrorText(failure);
  if (done) tellLosses(tr("Opening %1").arg(qt(path)));
  return done;
}

std::vector<ItemId> DocumentSession::itemsToWrite(std::span<const ItemId> items) const {
  std::vector<ItemId> whole;
  for (const ItemId id : items) {
    const Item* item = findItem(id);
    if (const Instrument* instrument = containingInstrument(id)) item = instrument;
    if (const Song* song = containingSong(id)) item = song;
    if (item == &document_) return {document_.id()};
    if (item && std::find(whole.begin(), whole.end(), item->id()) == whole.end()) whole.push_back(item->id());
  }
  return whole;
}

bool DocumentSession::save(std::span<const ItemId> items, FormatIndex row, TextView path, const SaveOptions& options) {
  report_ = {};
  const auto operation = host_.beginOperation();
  SaveContext context{host_, report_, settings_, options, Overwrite::ofNamed, &history_};
  std::vector<const Item*> chosen;
  for (const ItemId id : itemsToWrite(items)) chosen.push_back(findItem(id));
  const bool saved =
      chosen.size() <= 1 ? SaveItem(chosen.empty() ? nullptr : chosen[0], row, path, context) : guardMemory([&] {
        const auto part = partOf(document_, chosen);
        context.history = nullptr;  // what is not among them stays unsaved
        return SaveItem(part.get(), row, path, context);
      });
  if (!saved) return false;
  if (chosen.size() == 1 && chosen[0] == &document_) history_.markSaved();
  host_.showStatus(u"Done: Saved " + Text(path));
  SavedItems what{{}, Text(path)};
  for (const Item* item : chosen) what.items.push_back(item->id());
  tellLosses(tr("Saving %1").arg(qt(path)), what);
  Q_EMIT changed();
  return true;
}

bool DocumentSession::saveEach(std::vector<SavedItem>& items, FormatIndex row, const SaveOptions& options) {
  report_ = {};
  const auto operation = host_.beginOperation();
  const bool allSaved = SaveEach(items, row, {host_, report_, settings_, options, Overwrite::refused, &history_});
  tellLosses(tr("Saving %1 items").arg(items.size()));
  Q_EMIT replaced();
  return allSaved;
}

void DocumentSession::tellLosses(const QString& doing, const SavedItems& saved) {
  if (report_.lostSomething()) Q_EMIT lostSomething(doing, saved);
}

void DocumentSession::clear() {
  document_.clear();
  history_.startNewDocument();
  isFromFile_ = false;
  host_.showStatus(u"Done: Collection cleared.");
  Q_EMIT replaced();
}

void DocumentSession::edit(std::span<const ItemId> items, const QString& label, const std::function<void()>& change,
                           const Gesture& gesture) {
  history_.edit(commonOwner(items, document_), textOf(label), change, gesture);
  Q_EMIT changed();
}

bool DocumentSession::process(const Operation& operation, std::span<const ItemId> items, const OptionValues& values) {
  report_ = {};
  std::vector<Item*> chosen;
  for (const ItemId id : items) {
    Item* item = findItem(id);
    if (item && item->kind() == operation.kind) chosen.push_back(item);
  }
  if (chosen.empty()) return fail(u"There is no " + Text(nameOf(operation.kind)) + u" to process");
  const auto running = host_.beginOperation();
  {
    const WaitCursor waiting;
    if (RunOperation(operation, chosen, values, {host_, report_}, &history_) == Outcome::failed) return false;
  }
  Q_EMIT changed();
  tellLosses(qt(operation.title));
  return true;
}

OptionValues DocumentSession::optionsFor(const Operation& operation) const {
  const auto kept = options_.find(&operation);
  return kept == options_.end() ? OptionValues(operation.options) : kept->second;
}

void DocumentSession::keepOptions(const Operation& operation, const OptionValues& values) {
  options_.insert_or_assign(&operation, values);
}

void DocumentSession::tellReport(const Operation& operation) {
  Q_EMIT lostSomething(qt(operation.title), {});
}

void DocumentSession::announceChange() {
  Q_EMIT changed();
}

bool DocumentSession::undo() {
  return history_.Undo();
}

bool DocumentSession::redo() {
  return history_.Redo();
}

bool DocumentSession::saveState() {
  const auto operation = host_.beginOperation();
  return history_.SaveState();
}

bool DocumentSession::restoreState(int offset) {
  const auto operation = host_.beginOperation();
  const bool restored = history_.RestoreState(offset);
  if (restored) isFromFile_ = false;
  return restored;
}

bool DocumentSession::saveSession(TextView name) {
  const Text path = history_.states().pathOf(name);
  platform::createFolders(platform::folderOf(path));
  return guardMemory([&] { return writeStateFile(path, imageOf(document_), openStoredSamples); });
}

QString DocumentSession::title() const {
  const bool isNew = !document_.holdsData() && !isFromFile_;
  return (isNew ? QStringLiteral("Unnamed ") : qt(document_.name)) + QStringLiteral(" - Tervo Studio");
}

}  // namespace tervo::ui
