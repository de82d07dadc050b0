#include "ui/dialogs/report_window.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSaveFile>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>

#include "base/last_error.h"
#include "ui/help_window.h"
#include "ui/qt_text.h"
#include "ui/sound/saved_sounds.h"

namespace tervo::ui {
namespace {

constexpr const char* keys[ReportModel::columns] = {"item", "what", "kind", "from", "to"};

/// RFC 4180: quoted where the field holds what separates fields.
QString csvField(QString field) {
  const auto separates = [](QChar c) { return c == u',' || c == u'"' || c == u'\n' || c == u'\r'; };
  if (std::none_of(field.begin(), field.end(), separates)) return field;
  return u'"' + field.replace(QStringLiteral("\""), QStringLiteral("\"\"")) + u'"';
}

}  // namespace

ReportModel::ReportModel(const ConversionReport& report, QObject* parent)
    : QAbstractTableModel(parent), entries_(report.entries()) {}

int ReportModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(entries_.size());
}

int ReportModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : columns;
}

QVariant ReportModel::data(const QModelIndex& index, int role) const {
  if (role != Qt::DisplayRole && role != Qt::ToolTipRole) return {};
  const ReportEntry& entry = entries_[static_cast<std::size_t>(index.row())];
  switch (index.column()) {
    case item:
      return qt(entry.item);
    case what:
      return qt(entry.what);
    case kind:
      return qt(nameOf(entry.kind));
    case from:
      return qt(entry.from);
    default:
      return qt(entry.to);
  }
}

QVariant ReportModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  const QString titles[columns] = {tr("Item"), tr("What"), tr("Kind"), tr("From"), tr("To, or why")};
  return titles[section];
}

ReportWindow::ReportWindow(const QString& doing, const ConversionReport& report, QWidget* parent) : QDialog(parent) {
  setWindowTitle(tr("Conversion report"));
  setHelpPage(*this, "report");
  setAttribute(Qt::WA_DeleteOnClose);
  auto* heading = new QLabel(tr("%1: not everything could be kept as it was.").arg(doing), this);
  heading->setTextFormat(Qt::PlainText);
  heading->setWordWrap(true);
  auto* filter = new QLineEdit(this);
  filter->setPlaceholderText(tr("Filter"));
  filter->setAccessibleName(filter->placeholderText());
  filter->setClearButtonEnabled(true);
  shown_ = new QSortFilterProxyModel(this);
  shown_->setSourceModel(new ReportModel(report, this));
  shown_->setFilterKeyColumn(-1);
  shown_->setFilterCaseSensitivity(Qt::CaseInsensitive);
  connect(filter, &QLineEdit::textChanged, this, &ReportWindow::setFilter);
  table_ = new QTableView(this);
  table_->setModel(shown_);
  // In the order of the report until a column is clicked.
  table_->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
  table_->setSortingEnabled(true);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->verticalHeader()->hide();
  table_->horizontalHeader()->setStretchLastSection(true);
  table_->setAccessibleName(windowTitle());
  const int widths[] = {150, 280, 110, 120};
  for (int column = 0; column < 4; ++column) table_->setColumnWidth(column, widths[column]);
  buttons_ = new QDialogButtonBox(QDialogButtonBox::Close, this);
  auto* copy = buttons_->addButton(tr("&Copy"), QDialogButtonBox::ActionRole);
  auto* save = buttons_->addButton(tr("&Save As..."), QDialogButtonBox::ActionRole);
  connect(copy, &QPushButton::clicked, this, [this] { QApplication::clipboard()->setText(asText()); });
  connect(save, &QPushButton::clicked, this, &ReportWindow::chooseFile);
  connect(buttons_, &QDialogButtonBox::rejected, this, &ReportWindow::close);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(heading);
  layout->addWidget(filter);
  layout->addWidget(table_, 1);
  layout->addWidget(buttons_);
  resize(860, 420);
}

ReportWindow::~ReportWindow() = default;

void ReportWindow::offerSounds(std::unique_ptr<SavedSounds> sounds) {
  sounds_ = std::move(sounds);
  const auto* source = buttons_->addButton(tr("Play Sou&rce"), QDialogButtonBox::ActionRole);
  const auto* result = buttons_->addButton(tr("Play Resul&t"), QDialogButtonBox::ActionRole);
  connect(source, &QPushButton::clicked, this, [this] { play(&SavedSounds::playSource); });
  connect(result, &QPushButton::clicked, this, [this] { play(&SavedSounds::playResult); });
}

void ReportWindow::play(bool (SavedSounds::*which)(TextView name)) {
  const QString name = table_->currentIndex().siblingAtColumn(ReportModel::item).data().toString();
  if (!(sounds_.get()->*which)(textOf(name))) QMessageBox::warning(this, QStringLiteral("Error!"), qt(LastErrorText()));
}

void ReportWindow::setFilter(const QString& text) {
  shown_->setFilterFixedString(text);
}

QString ReportWindow::asText() const {
  QString text;
  for (int row = 0; row < shown_->rowCount(); ++row) {
    QStringList fields;
    for (int column = 0; column < ReportModel::columns; ++column)
      fields << shown_->index(row, column).data().toString();
    text += fields.join(u'\t') + u'\n';
  }
  return text;
}

bool ReportWindow::saveAs(const QString& path) const {
  QByteArray bytes;
  QJsonArray entries;
  QString csv = QStringLiteral("item,what,kind,from,to\r\n");
  for (int row = 0; row < shown_->rowCount(); ++row) {
    QJsonObject entry;
    QStringList fields;
    for (int column = 0; column < ReportModel::columns; ++column) {
      const QString field = shown_->index(row, column).data().toString();
      entry.insert(QLatin1String(keys[column]), field);
      fields << csvField(field);
    }
    entries.append(entry);
    csv += fields.join(u',') + QStringLiteral("\r\n");
  }
  bytes = path.endsWith(QStringLiteral(".json"), Qt::CaseInsensitive) ? QJsonDocument(entries).toJson() : csv.toUtf8();
  QSaveFile file(path);
  const bool written = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
  return written || fail(u"Writing to file failed");
}

void ReportWindow::chooseFile() {
  const QString path = QFileDialog::getSaveFileName(this, tr("Save report"), QStringLiteral("report.csv"),
                                                    tr("Comma-separated values (*.csv);;JSON (*.json)"));
  if (!path.isEmpty() && !saveAs(path))
    QMessageBox::warning(this, QStringLiteral("Error!"), qt(LastErrorText()) + u'\n' + path);
}

}  // namespace tervo::ui
