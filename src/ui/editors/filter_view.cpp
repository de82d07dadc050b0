#include "ui/editors/filter_view.h"

#include <algorithm>
#include <cmath>

#include "audio/engine/filter.h"
#include "ui/property_rows.h"

namespace tervo::ui {
namespace {

using P = ParameterId;
using audio::FilterType;

FilterType typeOf(double number) {
  return static_cast<FilterType>(std::clamp(static_cast<int>(number), 0, static_cast<int>(FilterType::bandReject12)));
}

bool hasResonance(FilterType type) {
  return type != FilterType::passThrough && type != FilterType::lowPass6 && type != FilterType::highPass6;
}

}  // namespace

FilterView::FilterView(DocumentSession& session, PropertyModel& model, QWidget* parent)
    : ResponseView(session, model, parent) {
  setAccessibleName(tr("Filter"));
  refresh();
}

void FilterView::chooseScale() {
  const double top = std::ceil((valueOf(P::filterResonance) + 6) / 12) * 12;
  setRange(-60, std::max(top, 24.0));
}

std::vector<Handle> FilterView::handles() const {
  const FilterType type = typeOf(valueOf(P::filterType));
  if (type == FilterType::passThrough) return {};
  const double cutoff = valueOf(P::filterCutoff);
  Handle handle{QPointF(xOf(cutoff), yOf(-3)), tr("Cutoff"), P::filterCutoff};
  if (hasResonance(type)) {
    handle.name = tr("Cutoff, resonance");
    handle.place.setY(yOf(valueOf(P::filterResonance)));
    handle.upright = P::filterResonance;
  }
  return {handle};
}

std::vector<HandleView::RowValue> FilterView::valuesAt(int, const QPointF& place) const {
  std::vector<RowValue> values{{P::filterCutoff, hertzAt(place.x())}};
  if (hasResonance(typeOf(valueOf(P::filterType))))
    values.emplace_back(P::filterResonance, std::round(dBAt(place.y()) * 2) / 2);
  return values;
}

void FilterView::paintCurve(QPainter& painter, ItemId item, const QColor& colour) const {
  const FilterType type = typeOf(effectiveNumber(item, P::filterType));
  const auto cutoff = static_cast<float>(effectiveNumber(item, P::filterCutoff));
  const auto resonance = static_cast<float>(effectiveNumber(item, P::filterResonance));
  paintResponse(
      painter, [&](double hertz) { return audio::filterDb(type, cutoff, resonance, hertz, sampleRate); }, colour);
}

}  // namespace tervo::ui
