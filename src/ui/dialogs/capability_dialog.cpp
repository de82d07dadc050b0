#include "ui/dialogs/capability_dialog.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QListWidget>
#include <QVBoxLayout>

#include "ui/qt_text.h"

namespace tervo::ui {

bool editCapabilities(CapabilitySet& set, QWidget* parent) {
  QDialog dialog(parent);
  dialog.setWindowTitle(qt(customProfileName));
  auto* list = new QListWidget(&dialog);
  list->setAccessibleName(dialog.windowTitle());
  for (int i = 0; i < capabilityCount; ++i) {
    const auto capability = static_cast<Capability>(i);
    auto* item = new QListWidgetItem(qt(nameOf(capability)), list);
    item->setCheckState(set.has(capability) ? Qt::Checked : Qt::Unchecked);
  }
  list->setCurrentRow(0);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
  QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  auto* layout = new QVBoxLayout(&dialog);
  layout->addWidget(list);
  layout->addWidget(buttons);
  dialog.resize(440, 560);
  if (dialog.exec() != QDialog::Accepted) return false;
  for (int i = 0; i < capabilityCount; ++i)
    set.set(static_cast<Capability>(i), list->item(i)->checkState() == Qt::Checked);
  return true;
}

}  // namespace tervo::ui
