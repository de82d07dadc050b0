#pragma once
// Every setting, grouped, to look through and change.

#include <QDialog>
#include <vector>

#include "core/settings_table.h"

class QListWidget;
class QStackedWidget;
class QLabel;

namespace tervo::ui {

class PreferencesDialog final : public QDialog {
  Q_OBJECT
 public:
  /// `formatInUse`: what the output device takes now; empty while it is closed.
  PreferencesDialog(Settings& settings, QWidget* parent, TextView formatInUse = {});

  /// Takes over all fields, or none when one does not take its text: that one is shown with the reason.
  void accept() override;
  /// The field of a key, for tests and for links from elsewhere; null when there is none.
  QWidget* field(TextView key) const;

 private:
  struct Field {
    const SettingRow* row;
    QWidget* widget;
    int page;
  };
  void addPage(const QString& title, std::span<const TextView> prefixes);
  QWidget* makeField(const SettingRow& row);
  QWidget* makePathField(const QString& text, const QString& title);
  static Text textOfField(const Field& field);
  void restoreDefaults();

  Settings& settings_;
  QListWidget* list_;
  QStackedWidget* pages_;
  QLabel* failure_;
  Text formatInUse_;
  std::vector<Field> fields_;
};

}  // namespace tervo::ui
