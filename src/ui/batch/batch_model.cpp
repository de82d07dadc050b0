#include "ui/batch/batch_model.h"

#include <QApplication>
#include <QRegularExpression>
#include <QStringList>
#include <QStyle>
#include <algorithm>

#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

QString stateOf(const BatchEntry& entry) {
  const QString name = qt(nameOf(entry.state));
  if (entry.state != BatchState::running) return name;
  return QStringLiteral("%1 %2 %").arg(name).arg(static_cast<int>(100 * entry.progress));
}

QVariant iconOf(BatchState state) {
  const auto icon = [](QStyle::StandardPixmap name) { return QApplication::style()->standardIcon(name); };
  if (state == BatchState::done || state == BatchState::finishedBefore) return icon(QStyle::SP_DialogApplyButton);
  if (state == BatchState::failed) return icon(QStyle::SP_MessageBoxCritical);
  if (state == BatchState::unrecognised || state == BatchState::cancelled) return icon(QStyle::SP_MessageBoxWarning);
  return {};
}

/// Without what the worker advises people at a command line: "Not detected (--force-raw reads it as raw data)".
QString causeOf(const BatchEntry& entry) {
  static const QRegularExpression advice(QStringLiteral(R"( \(--[^()]*\)$)")),
      furtherAdvice(QStringLiteral(R"(; [^;()]* --[^;()]*\)$)"));
  return qt(entry.cause).remove(advice).replace(furtherAdvice, QStringLiteral(")"));
}

/// The cause alone fits a line; what the worker asked and answered besides is shown with it when pointed at.
QString everythingAbout(const BatchEntry& entry) {
  QStringList parts = {qt(entry.source)};
  if (!entry.target.empty()) parts << qt(entry.target);
  if (!entry.cause.empty()) parts << causeOf(entry);
  if (!entry.messages.empty()) parts << qt(entry.messages);
  return parts.join(u'\n');
}

}  // namespace

void BatchModel::setEntries(const std::vector<BatchEntry>* entries) {
  beginResetModel();
  entries_ = entries;
  endResetModel();
}

void BatchModel::changed(const std::vector<std::size_t>& rows) {
  if (rows.empty()) return;
  const auto [first, last] = std::minmax_element(rows.begin(), rows.end());
  Q_EMIT dataChanged(index(static_cast<int>(*first), 0), index(static_cast<int>(*last), columns - 1));
}

int BatchModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() || !entries_ ? 0 : static_cast<int>(entries_->size());
}

int BatchModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : columns;
}

QVariant BatchModel::data(const QModelIndex& index, int role) const {
  const BatchEntry& entry = (*entries_)[static_cast<std::size_t>(index.row())];
  if (role == Qt::ToolTipRole) return everythingAbout(entry);
  if (role == Qt::DecorationRole && index.column() == state) return iconOf(entry.state);
  if (role != Qt::DisplayRole) return {};
  switch (index.column()) {
    case source:
      return qt(entry.source);
    case target:
      return qt(entry.target);
    case format:
      return entry.row == noFormat ? QString() : qt(rowAt(entry.row)->extension);
    case state:
      return stateOf(entry);
    default:
      return causeOf(entry);
  }
}

QVariant BatchModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  const QString titles[columns] = {tr("Source"), tr("Target"), tr("Format"), tr("State"), tr("Why")};
  return titles[section];
}

QString summaryOf(const std::vector<BatchEntry>& entries) {
  const BatchCounts counts = countsOf(entries);
  QStringList parts;
  const auto add = [&](std::size_t count, const QString& what, bool always = false) {
    if (count > 0 || always) parts << QStringLiteral("%1 %2").arg(count).arg(what);
  };
  const bool isPlan = counts.waiting > 0 && counts.done == 0 && counts.running == 0;
  if (!isPlan) add(counts.done, BatchModel::tr("converted"), true);
  add(counts.waiting + counts.running, BatchModel::tr("to convert"));
  add(counts.finishedBefore, BatchModel::tr("finished before"));
  add(counts.unrecognised, BatchModel::tr("not recognised"));
  add(counts.failed, BatchModel::tr("failed"));
  add(counts.cancelled, BatchModel::tr("cancelled"));
  return parts.join(QStringLiteral(", "));
}

}  // namespace tervo::ui
