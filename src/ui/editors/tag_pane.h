#pragma once
// The info tags of a collection or of waveforms: the texts, and the picture with what can be done with it. Several
// items are changed together.

#include <QWidget>
#include <array>
#include <memory>
#include <vector>

#include "core/item.h"
#include "core/tags.h"

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

namespace tervo::ui {

class DocumentSession;

class TagPane final : public QWidget {
  Q_OBJECT
 public:
  explicit TagPane(DocumentSession& session, QWidget* parent = nullptr);

  /// Collections and waveforms; others are passed over.
  void setItems(const std::vector<ItemId>& items);
  void refresh();

  /// Reads a JPEG, PNG or GIF file. False with LastErrorText.
  bool loadPicture(const QString& path);
  bool savePicture(const QString& path);
  void removePicture();
  /// The picture that all items have; null where they have none or different ones.
  std::shared_ptr<const Picture> picture() const;
  /// Not of the comments.
  QLineEdit& field(Tag tag) { return *fields_[static_cast<std::size_t>(tag)]; }

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  QWidget* makeField(Tag tag);
  QWidget* makeComments();
  void buildPicture(QWidget* parent);
  void chooseAndLoad();
  void chooseAndSave();
  void setPicture(std::shared_ptr<const Picture> picture);
  void setText(Tag tag, const QString& text);
  void showTexts();
  void showPicture();

  DocumentSession& session_;
  std::vector<ItemId> items_;
  std::array<QLineEdit*, tagCount> fields_{};  ///< none for the comments, which may have lines
  QPlainTextEdit* comments_;
  QWidget* pictureSide_;
  QLabel* image_;
  QLabel* facts_;
  QPushButton* load_;
  QPushButton* save_;
  QPushButton* remove_;
};

}  // namespace tervo::ui
