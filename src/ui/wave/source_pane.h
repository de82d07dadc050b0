#pragma once
// How the bytes of a file that says nothing about itself are taken: sample format, channels, rate and the like, with
// the picture that they make. Every change is made at once, as an undo step.

#include <QWidget>
#include <optional>

#include "core/waveform.h"
#include "formats/format_table.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QLabel;
class QPushButton;

namespace tervo::ui {

class DocumentSession;
class WaveformView;

/// The layout without the place in the file, as the settings keep it: "PCM 16-bit;little;signed;interleaved;1;44100".
Text rawLayoutText(const RawRequest& layout);
/// What of it makes sense.
RawRequest rawLayoutIn(TextView text);

class SourcePane final : public QWidget {
  Q_OBJECT
 public:
  explicit SourcePane(DocumentSession& session, QWidget* parent = nullptr);

  void setWaveform(ItemId id);
  void refresh();
  ItemId waveform() const { return waveform_; }
  WaveformView& view() { return *view_; }

 Q_SIGNALS:
  void playWanted();
  /// The waveform has other frames now.
  void layoutChanged();

 private:
  void buildFields(QFormLayout& form);
  void showLayout(const RawRequest& layout);
  RawRequest layoutOfFields() const;
  void apply();

  DocumentSession& session_;
  ItemId waveform_ = noItem;
  uint64_t gesture_ = 0;
  const QObject* lastField_ = nullptr;  ///< several changes of one field are one step
  bool isShowing_ = false;              ///< fields change, and nobody has changed them
  QWidget* fields_;
  QComboBox* format_;
  QComboBox* order_;
  QCheckBox* unsigned_;
  QComboBox* channels_;
  QCheckBox* split_;
  QComboBox* rate_;
  QDoubleSpinBox* offset_;
  QDoubleSpinBox* length_;
  QPushButton* play_;
  QLabel* info_;
  WaveformView* view_;
};

}  // namespace tervo::ui
