#pragma once
// The graphic editors of what is selected, one at a time: keys, filter, equalizer, LFOs, envelopes, tags. It follows
// the row that has the focus in the property pane.

#include <QWidget>
#include <vector>

#include "core/item.h"
#include "core/parameter_id.h"

class QComboBox;
class QHBoxLayout;
class QStackedWidget;
class QTabBar;

namespace tervo::ui {

class DocumentSession;
class EnvelopeEditor;
class EqView;
class FilterView;
class HandleView;
class KeyMap;
class LfoView;
class PropertyModel;
class TagPane;

class GraphicPane final : public QWidget {
  Q_OBJECT
 public:
  /// Shows and edits the items of the model.
  GraphicPane(DocumentSession& session, PropertyModel& model, QWidget* parent = nullptr);

  void setItems(const std::vector<ItemId>& items);
  void refresh();
  /// Brings up the editor that shows the row, where there is one.
  void showRow(ParameterId row);
  /// "Keys", "Filter", "V-ENV" ... False where it does not apply to the items.
  bool showPage(const QString& title);

  KeyMap& keys() { return *keys_; }
  EnvelopeEditor& envelope() { return *envelope_; }
  LfoView& lfo() { return *lfo_; }
  FilterView& filter() { return *filter_; }
  EqView& eq() { return *eq_; }
  TagPane& tags() { return *tags_; }

 Q_SIGNALS:
  /// Other regions were chosen on the map.
  void itemsChosen(const std::vector<ItemId>& items);

 private:
  void setTabs(const std::vector<int>& wanted);
  int pageOf(int tab) const;
  /// Below 0 where the page has none.
  int tabOf(int page) const;
  void showPage(int index);
  void buildChoices();
  void refreshChoices();
  HandleView* handleView() const;

  DocumentSession& session_;
  PropertyModel& model_;
  QTabBar* bar_;
  int wanted_ = 0;  ///< the page that was chosen last: it comes back with items that have it
  QStackedWidget* stack_;
  QHBoxLayout* choiceRow_;
  std::vector<std::pair<ParameterId, QComboBox*>> choices_;
  KeyMap* keys_;
  FilterView* filter_;
  EqView* eq_;
  LfoView* lfo_;
  EnvelopeEditor* envelope_;
  TagPane* tags_;
};

}  // namespace tervo::ui
