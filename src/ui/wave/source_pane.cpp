#include "ui/wave/source_pane.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include "base/last_error.h"
#include "formats/raw_source.h"
#include "ui/document_session.h"
#include "ui/qt_text.h"
#include "ui/wave/waveform_view.h"
#include "ui/waveform_list_model.h"

namespace tervo::ui {
namespace {

constexpr double lowestRate = 1, highestRate = 768000;  // Hz, what a waveform may have
constexpr int toTheEnd = -1;

std::optional<SampleFormat> formatNamed(const QString& name) {
  for (int i = 0; i < static_cast<int>(SampleFormat::none); ++i) {
    const auto format = static_cast<SampleFormat>(i);
    if (suitsRawData(format) && qt(nameOf(format)) == name) return format;
  }
  return std::nullopt;
}

QComboBox* choices(const QStringList& texts) {
  auto* box = new QComboBox;
  box->addItems(texts);
  return box;
}

/// Whole bytes, beyond what an int counts.
QDoubleSpinBox* byteField(double lowest) {
  constexpr double exactlyCounted = 1ull << 53;
  auto* box = new QDoubleSpinBox;
  box->setDecimals(0);
  box->setRange(lowest, exactlyCounted);
  box->setGroupSeparatorShown(true);
  return box;
}

}  // namespace

Text rawLayoutText(const RawRequest& layout) {
  return textOf(QStringList{
      qt(nameOf(layout.format.value_or(SampleFormat::pcm16))), layout.byteOrder == ByteOrder::big ? "big" : "little",
      layout.isUnsigned ? "unsigned" : "signed", layout.splitChannels ? "split" : "interleaved",
      QString::number(layout.channels.value_or(1)), QString::number(layout.sampleRate.value_or(44100), 'g', 12)}
                    .join(u';'));
}

RawRequest rawLayoutIn(TextView text) {
  const QStringList parts = qt(text).split(u';');
  RawRequest layout;
  layout.format = formatNamed(parts.value(0));
  if (parts.value(1) == "big") layout.byteOrder = ByteOrder::big;
  layout.isUnsigned = parts.value(2) == "unsigned";
  layout.splitChannels = parts.value(3) == "split";
  if (parts.value(4) == "2") layout.channels = 2;
  const double rate = parts.value(5).toDouble();
  if (rate >= lowestRate && rate <= highestRate) layout.sampleRate = rate;
  return layout;
}

SourcePane::SourcePane(DocumentSession& session, QWidget* parent) : QWidget(parent), session_(session) {
  auto* across = new QSplitter(Qt::Horizontal, this);
  fields_ = new QWidget(across);
  buildFields(*new QFormLayout(fields_));
  auto* side = new QWidget(across);
  view_ = new WaveformView(session, side);
  info_ = new QLabel(side);
  info_->setTextFormat(Qt::PlainText);
  info_->setWordWrap(true);
  auto* down = new QVBoxLayout(side);
  down->setContentsMargins(0, 0, 0, 0);
  down->addWidget(view_, 1);
  down->addWidget(info_);
  across->setStretchFactor(1, 1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(across);
  refresh();
}

void SourcePane::buildFields(QFormLayout& form) {
  QStringList formats;
  for (int i = 0; i < static_cast<int>(SampleFormat::none); ++i) {
    if (suitsRawData(static_cast<SampleFormat>(i))) formats << qt(nameOf(static_cast<SampleFormat>(i)));
  }
  form.addRow(tr("&Data format"), format_ = choices(formats));
  form.addRow(tr("&Byte order"), order_ = choices({tr("Little endian"), tr("Big endian")}));
  form.addRow(QString(), unsigned_ = new QCheckBox(tr("U&nsigned")));
  form.addRow(tr("&Channels"), channels_ = choices({tr("1 (mono)"), tr("2 (stereo)")}));
  form.addRow(QString(), split_ = new QCheckBox(tr("&One channel behind the other")));
  form.addRow(tr("Sample &rate in Hz"), rate_ = choices({"8000", "11025", "16000", "22050", "24000", "32000", "44100",
                                                         "48000", "88200", "96000", "176400", "192000"}));
  rate_->setEditable(true);
  rate_->setInsertPolicy(QComboBox::NoInsert);
  form.addRow(tr("Bytes to s&kip"), offset_ = byteField(0));
  form.addRow(tr("&Length in bytes"), length_ = byteField(toTheEnd));
  length_->setSpecialValueText(tr("to the end"));
  form.addRow(QString(), play_ = new QPushButton(tr("Pla&y")));
  connect(play_, &QPushButton::clicked, this, &SourcePane::playWanted);
  for (QComboBox* box : {format_, order_, channels_, rate_})
    connect(box, &QComboBox::currentTextChanged, this, &SourcePane::apply);
  for (QCheckBox* box : {unsigned_, split_}) connect(box, &QCheckBox::toggled, this, &SourcePane::apply);
  for (QDoubleSpinBox* box : {offset_, length_}) connect(box, &QDoubleSpinBox::valueChanged, this, &SourcePane::apply);
}

void SourcePane::setWaveform(ItemId id) {
  if (id != waveform_) lastField_ = nullptr;
  waveform_ = id;
  refresh();
}

void SourcePane::refresh() {
  const Waveform* waveform = findItem<Waveform>(waveform_);
  view_->setWaveform(waveform ? waveform_ : noItem);
  const auto layout = waveform ? rawLayoutOf(*waveform) : std::nullopt;
  fields_->setEnabled(layout.has_value());
  if (!waveform) return info_->clear();
  if (!layout) return info_->setText(tr("These samples are no data without a header, or were edited since."));
  showLayout(*layout);
  const StoredSamples& stored = *waveform->samples->stored();
  format_->setPlaceholderText(qt(stored.coding));
  const auto size = stored.source->size();
  const double seconds = static_cast<double>(waveform->frames()) / waveform->sampleRate;
  info_->setText(
      tr("%1 bytes in the file, %2 frames, %3").arg(size).arg(waveform->frames()).arg(durationText(seconds)));
}

void SourcePane::showLayout(const RawRequest& layout) {
  format_->setEnabled(layout.format.has_value());
  unsigned_->setEnabled(layout.format.has_value());
  split_->setEnabled(layout.format.has_value());
  order_->setEnabled(layout.byteOrder.has_value());
  channels_->setEnabled(layout.channels.has_value());
  // What is being typed stays as it is.
  if (layout == layoutOfFields()) return;
  isShowing_ = true;
  format_->setCurrentIndex(layout.format ? format_->findText(qt(nameOf(*layout.format))) : -1);
  order_->setCurrentIndex(layout.byteOrder == ByteOrder::big);
  unsigned_->setChecked(layout.isUnsigned);
  channels_->setCurrentIndex(layout.channels.value_or(1) - 1);
  split_->setChecked(layout.splitChannels);
  rate_->setCurrentText(QString::number(*layout.sampleRate, 'g', 12));
  offset_->setValue(static_cast<double>(layout.offset));
  length_->setValue(layout.bytes ? static_cast<double>(*layout.bytes) : toTheEnd);
  isShowing_ = false;
}

RawRequest SourcePane::layoutOfFields() const {
  RawRequest layout;
  // A coding settles most of it.
  const auto isOpen = [this](const QWidget* field) { return field->isEnabledTo(fields_); };
  if (isOpen(format_)) layout.format = formatNamed(format_->currentText());
  if (isOpen(order_)) layout.byteOrder = order_->currentIndex() == 1 ? ByteOrder::big : ByteOrder::little;
  layout.isUnsigned = isOpen(unsigned_) && unsigned_->isChecked();
  layout.splitChannels = isOpen(split_) && split_->isChecked();
  if (isOpen(channels_)) layout.channels = channels_->currentIndex() + 1;
  layout.sampleRate = rate_->currentText().toDouble();
  layout.offset = static_cast<uint64_t>(offset_->value());
  if (length_->value() > toTheEnd) layout.bytes = static_cast<uint64_t>(length_->value());
  return layout;
}

void SourcePane::apply() {
  auto* waveform = findItem<Waveform>(waveform_);
  const auto before = waveform ? rawLayoutOf(*waveform) : std::nullopt;
  const RawRequest layout = layoutOfFields();
  if (isShowing_ || !before || layout == *before) return;
  ConversionReport report;
  const auto read = readAgain(*waveform, layout, session_.host(), report, session_.settings());
  if (!read) return info_->setText(qt(LastErrorText()));
  if (lastField_ != sender()) gesture_ = newGesture();
  lastField_ = sender();
  if (layout.format) session_.settings().rawio.layout = rawLayoutText(layout);
  const auto change = [&] { takeSamples(*read, *waveform); };
  session_.edit(std::vector{waveform_}, tr("Change data format"), change, {gesture_, {}});
  Q_EMIT layoutChanged();
}

}  // namespace tervo::ui
