#include "ui/edit_commands.h"

#include <QApplication>
#include <QClipboard>
#include <QInputDialog>
#include <QMenu>
#include <QMimeData>
#include <algorithm>

#include "base/last_error.h"
#include "ui/document_session.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

struct Part {
  ClipKind kind;
  const char* title;
};
constexpr Part parts[] = {{ClipKind::articulation, "&Articulation"},
                          {ClipKind::lfo, "&LFO"},
                          {ClipKind::envelope, "&Envelope"},
                          {ClipKind::filter, "&Filter"},
                          {ClipKind::eqs, "E&Qs"},
                          {ClipKind::loop, "L&oop or marker"}};

/// Null for items that have no name of their own.
Text* nameOfItem(Item& item) {
  switch (item.kind()) {
    case ItemKind::waveform:
      return &static_cast<Waveform&>(item).name;
    case ItemKind::instrument:
      return &static_cast<Instrument&>(item).name;
    case ItemKind::song:
      return &static_cast<Song&>(item).name;
    case ItemKind::collection:
      return &static_cast<Collection&>(item).name;
    default:
      return nullptr;
  }
}

/// Markers of a region are those of its waveform.
std::vector<ItemId> waveformsOf(std::vector<ItemId> items) {
  for (ItemId& id : items) {
    if (const auto* region = findItem<Region>(id)) id = region->waveform;
  }
  return items;
}

}  // namespace

EditCommands::EditCommands(DocumentSession& session, QWidget* window, std::function<Target()> target)
    : QObject(window), session_(session), window_(window), target_(std::move(target)) {}

void EditCommands::addTo(QMenu& menu) {
  needItems_ << menu.addAction(tr("Cu&t"), QKeySequence::Cut, this, &EditCommands::cut);
  needItems_ << menu.addAction(tr("&Copy"), QKeySequence::Copy, this, &EditCommands::copy);
  menu.addAction(tr("&Paste"), QKeySequence::Paste, this, &EditCommands::paste);
  itemActions_ << menu.addAction(tr("&Delete"), QKeySequence::Delete, this, &EditCommands::remove);
  QMenu* copyMenu = menu.addMenu(tr("Copy P&art"));
  QMenu* pasteMenu = menu.addMenu(tr("Past&e Part"));
  for (const Part& part : parts) {
    copyMenu->addAction(tr(part.title), this, [this, kind = part.kind] { copyPart(kind); });
    pasteMenu->addAction(tr(part.title), this, [this, kind = part.kind] { pastePart(kind); });
  }
  menu.addSeparator();
  itemActions_ << menu.addAction(tr("Re&name..."), QKeySequence(Qt::Key_F2), this, &EditCommands::rename);
  menu.addAction(tr("New &Instrument"), this, &EditCommands::newInstrument);
  menu.addAction(tr("New La&yer"), this, &EditCommands::newLayer);
  menu.addAction(tr("Instrument of &Waveforms"), this, &EditCommands::newRegions);
  needItems_ << itemActions_[0];
}

void EditCommands::enableFor(const std::vector<ItemId>& items) {
  const bool any =
      std::any_of(items.begin(), items.end(), [](ItemId id) { return kindOf(id) != ItemKind::collection; });
  for (QAction* action : needItems_) action->setEnabled(any);
  itemActions_[1]->setEnabled(items.size() == 1);
}

void EditCommands::show(const QString& failure) {
  session_.host().showStatus(textOf(failure));
}

void EditCommands::copy() {
  if (auto data = copyItems(session_, target_().items))
    QApplication::clipboard()->setMimeData(data.release());
  else
    show(qt(LastErrorText()));
}

void EditCommands::cut() {
  auto data = copyItems(session_, target_().items);
  if (!data) return show(qt(LastErrorText()));
  QApplication::clipboard()->setMimeData(data.release());
  remove();
}

void EditCommands::remove() {
  const auto items = target_().items;
  const bool anyStays =
      std::all_of(items.begin(), items.end(), [&](ItemId id) { return id == session_.document().id(); });
  if (anyStays) return;
  const QString what = items.size() == 1 ? qt(nameOf(kindOf(items[0]))) : tr("%1 items").arg(items.size());
  session_.edit(std::vector{session_.document().id()}, tr("Delete %1").arg(what), [&] {
    for (const ItemId id : items) {
      if (id != session_.document().id()) session_.document().remove(id);
    }
  });
  Q_EMIT session_.replaced();
}

void EditCommands::paste() {
  const QMimeData* data = QApplication::clipboard()->mimeData();
  if (!data) return show(tr("The clipboard is empty"));
  const auto items = target_().items;
  const auto added = pasteItems(session_, *data, items.empty() ? noItem : items[0]);
  if (added.empty()) return show(qt(LastErrorText()));
  show(tr("Done: Pasted %1 items").arg(added.size()));
  Q_EMIT made(added);
}

void EditCommands::copyPart(ClipKind kind) {
  const Target target = target_();
  if (target.items.empty()) return;
  const auto marker = static_cast<std::size_t>(std::max(target.marker, 0));
  auto data = kind == ClipKind::loop ? copyMarker(waveformsOf(target.items)[0], marker)
                                     : copyRows(kind, target.items[0], target.row);
  if (data)
    QApplication::clipboard()->setMimeData(data.release());
  else
    show(qt(LastErrorText()));
}

void EditCommands::pastePart(ClipKind kind) {
  const Target target = target_();
  const QMimeData* data = QApplication::clipboard()->mimeData();
  if (!data) return show(tr("The clipboard is empty"));
  const bool pasted = kind == ClipKind::loop ? pasteMarker(session_, *data, waveformsOf(target.items))
                                             : pasteRows(session_, *data, kind, target.items, target.row);
  if (!pasted) show(qt(LastErrorText()));
}

bool EditCommands::renameTo(ItemId id, const QString& name) {
  Item* item = findItem(id);
  Text* text = item ? nameOfItem(*item) : nullptr;
  if (!text || name.isNull() || *text == textOf(name)) return false;
  session_.edit(std::vector{id}, tr("Rename %1").arg(qt(nameOf(kindOf(id)))), [&] { *text = textOf(name); });
  return true;
}

void EditCommands::rename() {
  const auto items = target_().items;
  Item* item = items.empty() ? nullptr : findItem(items[0]);
  Text* text = item ? nameOfItem(*item) : nullptr;
  if (!text) return show(tr("This item has no name of its own"));
  renameTo(items[0], QInputDialog::getText(window_, tr("Rename"), tr("Name:"), QLineEdit::Normal, qt(*text)));
}

Instrument& EditCommands::addInstrument(TextView name) {
  auto instrument = std::make_unique<Instrument>();
  instrument->name = name;
  instrument->add(std::make_unique<Layer>());
  return session_.document().add(std::move(instrument));
}

void EditCommands::newInstrument() {
  ItemId added = noItem;
  session_.edit(std::vector{session_.document().id()}, tr("New instrument"),
                [&] { added = addInstrument(u"New instrument").id(); });
  Q_EMIT session_.replaced();
  Q_EMIT made({added});
}

void EditCommands::newLayer() {
  const auto items = target_().items;
  Instrument* instrument = items.empty() ? nullptr : containingInstrument(items[0]);
  if (!instrument) return show(tr("Select an instrument first"));
  ItemId added = noItem;
  session_.edit(std::vector{instrument->id()}, tr("New layer"),
                [&] { added = instrument->add(std::make_unique<Layer>()).id(); });
  Q_EMIT session_.replaced();
  Q_EMIT made({added});
}

void EditCommands::newRegions() {
  std::vector<ItemId> waveforms = target_().items;
  std::erase_if(waveforms, [](ItemId id) { return !findItem<Waveform>(id); });
  if (waveforms.empty()) return show(tr("Select waveforms first"));
  ItemId added = noItem;
  session_.edit(std::vector{session_.document().id()}, tr("New instrument"), [&] {
    Instrument& instrument = addInstrument(findItem<Waveform>(waveforms[0])->name);
    for (const ItemId id : waveforms) instrument.layers()[0]->add(std::make_unique<Region>()).waveform = id;
    added = instrument.id();
  });
  Q_EMIT session_.replaced();
  Q_EMIT made({added});
}

}  // namespace tervo::ui
