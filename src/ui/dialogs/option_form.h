#pragma once
// Fields for the options of an operation.

#include <QWidget>
#include <vector>

#include "tools/operation.h"

class QLineEdit;

namespace tervo::ui {

class OptionForm final : public QWidget {
  Q_OBJECT
 public:
  OptionForm(const Operation& operation, const OptionValues& shown, QWidget* parent = nullptr);

  /// Nothing with LastErrorText when a field holds what its option does not take; that field gets the focus. A field
  /// that is disabled stands for the usual value.
  std::optional<OptionValues> values() const;
  /// The field of an option that is a number.
  QLineEdit& line(TextView name) const;

 private:
  struct Field {
    const OptionInfo* option;
    QWidget* widget;
  };
  QWidget* makeField(const OptionInfo& option, double value);
  static Text textOfField(const Field& field);

  const Operation& operation_;
  std::vector<Field> fields_;
};

}  // namespace tervo::ui
