#pragma once
// Fields for the options of an operation.

#include <QWidget>
#include <vector>

#include "tools/operation.h"

namespace tervo::ui {

class OptionForm final : public QWidget {
  Q_OBJECT
 public:
  explicit OptionForm(const Operation& operation, QWidget* parent = nullptr);

  /// Nothing with LastErrorText when a field holds what its option does not take; that field gets the focus.
  std::optional<OptionValues> values() const;

 private:
  struct Field {
    const OptionInfo* option;
    QWidget* widget;
  };
  QWidget* makeField(const OptionInfo& option);
  static Text textOfField(const Field& field);

  const Operation& operation_;
  std::vector<Field> fields_;
};

}  // namespace tervo::ui
