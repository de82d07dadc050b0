#pragma once
// The regions of the chosen instrument over keys and velocities. Regions are chosen with the mouse (Ctrl adds, a frame
// takes several) or with Page Up and Page Down, and moved by their edges or as a whole, with the mouse or with arrows:
// alone the whole region, with Shift its upper ends, with Ctrl its lower ends. All chosen regions move together.

#include <QWidget>
#include <array>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "ui/editors/key_map_layout.h"

namespace tervo::ui {

class DocumentSession;

class KeyMap final : public QWidget {
  Q_OBJECT
 public:
  explicit KeyMap(DocumentSession& session, QWidget* parent = nullptr);

  /// An instrument, or layers or regions of one, which are chosen then.
  void setItems(const std::vector<ItemId>& items);
  void refresh();
  /// A key sounds, or no longer.
  void showKey(int key, bool isDown);

  const std::vector<ItemId>& chosenRegions() const { return chosen_; }
  const std::vector<MapRegion>& regions() const { return regions_; }
  MapScale scale() const;

  QSize sizeHint() const override { return {480, 240}; }

 Q_SIGNALS:
  /// The user chose other regions; the tree ought to follow.
  void regionsChosen(const std::vector<ItemId>& regions);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  enum class Drag : uint8_t { none, regions, frame };
  bool isChosen(ItemId id) const { return isChosen_.contains(id); }
  const MapRegion* find(ItemId id) const;
  std::vector<MapRegion> chosenOnMap() const;
  void choose(std::vector<ItemId> regions);
  void press(std::size_t region, const QPointF& point, bool adds);
  void chooseFrame();
  void chooseNext(int step);
  void move(const MapGrip& grip, int keys, int velocities);
  void showCursor(const QPointF& point);
  QString describe(const MapRegion& region) const;
  void paintGrid(QPainter& painter, const MapScale& scale) const;
  void paintRegion(QPainter& painter, const MapScale& scale, const MapRegion& region) const;
  void paintKeys(QPainter& painter, const MapScale& scale) const;

  DocumentSession& session_;
  std::vector<ItemId> items_;
  std::vector<MapRegion> regions_;
  std::unordered_map<ItemId, std::size_t> places_;  ///< in regions_
  std::vector<ItemId> chosen_;
  std::unordered_set<ItemId> isChosen_;
  std::array<bool, 128> down_{};
  Drag drag_ = Drag::none;
  MapGrip grip_;
  std::vector<MapRegion> before_;  ///< the chosen regions when the drag began
  QPointF pressed_, now_;
  ItemId told_ = noItem;  ///< whose ranges are written beside the mouse
  ItemId lastPressed_ = noItem;
  uint64_t gesture_ = 0;
};

}  // namespace tervo::ui
