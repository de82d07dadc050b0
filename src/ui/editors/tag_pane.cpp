#include "ui/editors/tag_pane.h"

#include <QEvent>
#include <QFileDialog>
#include <QFormLayout>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QVBoxLayout>
#include <functional>

#include "base/last_error.h"
#include "core/parameter_access.h"
#include "ui/document_session.h"
#include "ui/property_rows.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

// An album cover, not an archive: every copy of the tags on disk carries it.
constexpr qint64 largestPicture = 64 << 20;

ParameterId rowOfTag(Tag tag) {
  return offsetBy(ParameterId::tagName, static_cast<int>(tag));
}

Tags* tagsOf(ItemId id) {
  if (auto* waveform = findItem<Waveform>(id)) return &waveform->tags;
  auto* collection = findItem<Collection>(id);
  return collection ? &collection->tags : nullptr;
}

QImage imageOf(const Picture& picture) {
  return QImage::fromData(reinterpret_cast<const uchar*>(picture.bytes.data()), static_cast<int>(picture.bytes.size()));
}

bool samePicture(const std::shared_ptr<const Picture>& a, const std::shared_ptr<const Picture>& b) {
  return a == b || (a && b && a->bytes == b->bytes);
}

/// A field of several lines that tells when the user leaves it.
class CommentField final : public QPlainTextEdit {
 public:
  using QPlainTextEdit::QPlainTextEdit;
  std::function<void()> left;

 protected:
  void focusOutEvent(QFocusEvent* event) override {
    QPlainTextEdit::focusOutEvent(event);
    left();
  }
};

}  // namespace

TagPane::TagPane(DocumentSession& session, QWidget* parent) : QWidget(parent), session_(session) {
  auto* across = new QHBoxLayout(this);
  auto* texts = new QFormLayout;
  texts->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
  for (std::size_t i = 0; i < tagCount; ++i) {
    const Tag tag = static_cast<Tag>(i);
    const ParameterRow& row = rowOf(rowOfTag(tag));
    QWidget* field = tag == Tag::comments ? makeComments() : makeField(tag);
    field->setAccessibleName(qt(row.name));
    field->setToolTip(qt(row.hint));
    texts->addRow(qt(row.name), field);
  }
  across->addLayout(texts, 3);
  pictureSide_ = new QWidget(this);
  buildPicture(pictureSide_);
  across->addWidget(pictureSide_, 2);
}

QWidget* TagPane::makeField(Tag tag) {
  auto* field = fields_[static_cast<std::size_t>(tag)] = new QLineEdit(this);
  connect(field, &QLineEdit::editingFinished, this, [this, tag, field] {
    if (field->isModified()) setText(tag, field->text());
  });
  return field;
}

QWidget* TagPane::makeComments() {
  auto* comments = new CommentField(this);
  comments->setTabChangesFocus(true);
  comments->setMaximumHeight(fontMetrics().lineSpacing() * 4);
  comments->left = [this] {
    if (comments_->document()->isModified()) setText(Tag::comments, comments_->toPlainText());
  };
  comments_ = comments;
  return comments;
}

void TagPane::buildPicture(QWidget* parent) {
  image_ = new QLabel(parent);
  image_->setFrameShape(QFrame::StyledPanel);
  image_->setTextFormat(Qt::PlainText);
  image_->setAlignment(Qt::AlignCenter);
  image_->setMinimumSize(120, 80);
  image_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
  image_->setWordWrap(true);
  facts_ = new QLabel(parent);
  facts_->setAlignment(Qt::AlignCenter);
  auto* layout = new QVBoxLayout(parent);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(image_, 1);
  layout->addWidget(facts_);
  auto* buttons = new QVBoxLayout;  // side by side they would leave the texts no room
  const auto add = [&](const QString& text, auto run) {
    auto* button = new QPushButton(text, parent);
    connect(button, &QPushButton::clicked, this, run);
    buttons->addWidget(button);
    return button;
  };
  load_ = add(tr("&Load..."), &TagPane::chooseAndLoad);
  save_ = add(tr("Sa&ve As..."), &TagPane::chooseAndSave);
  remove_ = add(tr("Re&move"), &TagPane::removePicture);
  layout->addLayout(buttons);
}

void TagPane::setItems(const std::vector<ItemId>& items) {
  items_.clear();
  for (const ItemId id : items) {
    if (tagsOf(id)) items_.push_back(id);
  }
  for (QLineEdit* field : fields_)
    if (field) field->setModified(false);
  comments_->document()->setModified(false);
  refresh();
}

void TagPane::refresh() {
  std::erase_if(items_, [](ItemId id) { return !tagsOf(id); });
  setEnabled(!items_.empty());
  showTexts();
  showPicture();
}

void TagPane::showTexts() {
  for (std::size_t i = 0; i < tagCount; ++i) {
    const PropertyValue value = propertyValue(items_, rowOfTag(static_cast<Tag>(i)), session_.settings());
    const bool differs = value.text == u"<different>";
    const QString text = differs ? QString() : value.text, hint = differs ? value.text : QString();
    // What is being typed stays.
    if (QLineEdit* field = fields_[i]) {
      if (!field->isModified() && field->text() != text) field->setText(text);
      field->setPlaceholderText(hint);
      continue;
    }
    if (!comments_->document()->isModified() && comments_->toPlainText() != text) comments_->setPlainText(text);
    comments_->setPlaceholderText(hint);
  }
}

std::shared_ptr<const Picture> TagPane::picture() const {
  std::shared_ptr<const Picture> shared;
  for (std::size_t i = 0; i < items_.size(); ++i) {
    const Tags* tags = tagsOf(items_[i]);
    if (!tags || (i > 0 && !samePicture(shared, tags->image))) return nullptr;
    shared = tags->image;
  }
  return shared;
}

void TagPane::showPicture() {
  const auto shown = picture();
  const auto hasOne = [](ItemId id) { return tagsOf(id) && tagsOf(id)->image; };
  const bool any = std::any_of(items_.begin(), items_.end(), hasOne);
  save_->setEnabled(shown != nullptr);
  remove_->setEnabled(any);
  facts_->clear();
  image_->setPixmap({});
  if (!shown) return image_->setText(any ? QStringLiteral("<different>") : tr("No picture"));
  const QImage image = imageOf(*shown);
  const QString size = locale().formattedDataSize(static_cast<qint64>(shown->bytes.size()));
  facts_->setText(tr("%1, %2").arg(QString::fromStdString(shown->mimeType), size));
  // The bytes are kept whether this system can draw them or not.
  if (image.isNull()) return image_->setText(tr("This picture cannot be shown here"));
  facts_->setText(tr("%1 x %2, %3").arg(image.width()).arg(image.height()).arg(facts_->text()));
  const QSize room = image_->contentsRect().size() * devicePixelRatioF();
  QPixmap pixmap = QPixmap::fromImage(image);
  if (image.width() > room.width() || image.height() > room.height())
    pixmap = pixmap.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation);
  pixmap.setDevicePixelRatio(devicePixelRatioF());
  image_->setPixmap(pixmap);
}

void TagPane::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  showPicture();
}

void TagPane::setText(Tag tag, const QString& text) {
  if (tag == Tag::comments)
    comments_->document()->setModified(false);
  else
    field(tag).setModified(false);
  const ParameterId row = rowOfTag(tag);
  session_.edit(items_, tr("Edit %1").arg(qt(rowOf(row).name)), [&] {
    for (const ItemId id : items_) setParameterText(id, row, textOf(text));
  });
}

void TagPane::setPicture(std::shared_ptr<const Picture> picture) {
  session_.edit(items_, picture ? tr("Set picture") : tr("Remove picture"), [&] {
    for (const ItemId id : items_) {
      if (Tags* tags = tagsOf(id)) tags->image = picture;
    }
  });
}

bool TagPane::loadPicture(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return fail(textOf(file.errorString()));
  if (file.size() > largestPicture) return fail(textOf(tr("The picture is larger than 64 MiB")));
  const QByteArray bytes = file.readAll();
  const auto all = std::as_bytes(std::span(bytes.data(), static_cast<std::size_t>(bytes.size())));
  auto picture = std::make_shared<Picture>();
  picture->bytes.assign(all.begin(), all.end());
  picture->mimeType = mimeTypeOf(picture->bytes);
  if (picture->mimeType.empty()) return fail(textOf(tr("The file is not a JPEG, PNG or GIF picture")));
  setPicture(std::move(picture));
  return true;
}

bool TagPane::savePicture(const QString& path) {
  const auto shown = picture();
  QSaveFile file(path);
  if (!shown || !file.open(QIODevice::WriteOnly)) return fail(textOf(file.errorString()));
  const auto size = static_cast<qint64>(shown->bytes.size());
  const bool written = file.write(reinterpret_cast<const char*>(shown->bytes.data()), size) == size && file.commit();
  return written || fail(textOf(file.errorString()));
}

void TagPane::removePicture() {
  setPicture(nullptr);
}

void TagPane::chooseAndLoad() {
  const QString path =
      QFileDialog::getOpenFileName(this, tr("Load Picture"), {}, tr("Pictures (*.jpg *.jpeg *.png *.gif)"));
  if (!path.isEmpty() && !loadPicture(path)) session_.host().showStatus(LastErrorText());
}

void TagPane::chooseAndSave() {
  const auto shown = picture();
  if (!shown) return;
  const QString ending = QString::fromStdString(shown->mimeType).section(u'/', 1);
  const QString name = tr("picture") + u'.' + (ending == u"jpeg" ? QStringLiteral("jpg") : ending);
  const QString path = QFileDialog::getSaveFileName(this, tr("Save Picture"), name);
  if (!path.isEmpty() && !savePicture(path)) session_.host().showStatus(LastErrorText());
}

}  // namespace tervo::ui
