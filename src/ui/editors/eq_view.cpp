#include "ui/editors/eq_view.h"

#include <QPainter>
#include <cmath>

#include "audio/engine/filter.h"
#include "ui/editors/graph_paint.h"
#include "ui/property_rows.h"

namespace tervo::ui {
namespace {

using P = ParameterId;
using audio::FilterType;

struct BandRows {
  P mode, frequency, gain, q;
};
constexpr BandRows bands[] = {{P::eq1Mode, P::eq1Frequency, P::eq1Gain, P::eq1Q},
                              {P::eq2Mode, P::eq2Frequency, P::eq2Gain, P::eq2Q},
                              {P::eq3Mode, P::eq3Frequency, P::eq3Gain, P::eq3Q}};

/// A band of the item as the engine designs it.
audio::FilterStage stageOf(ItemId item, const BandRows& band, float sampleRate) {
  const auto value = [item](P row) { return static_cast<float>(effectiveNumber(item, row)); };
  if (value(band.gain) == 0) return audio::openStage;
  const int mode = static_cast<int>(std::clamp(value(band.mode), 0.0f, 2.0f));
  const auto type = static_cast<FilterType>(static_cast<int>(FilterType::peak) + mode);
  return audio::designBand(type, value(band.frequency), value(band.gain), value(band.q), sampleRate);
}

}  // namespace

EqView::EqView(DocumentSession& session, PropertyModel& model, QWidget* parent) : ResponseView(session, model, parent) {
  setAccessibleName(tr("Equalizer"));
  refresh();
}

std::vector<Handle> EqView::handles() const {
  std::vector<Handle> all;
  for (const BandRows& band : bands) {
    all.push_back({QPointF(xOf(valueOf(band.frequency)), yOf(valueOf(band.gain))), tr("EQ %1").arg(all.size() + 1),
                   band.frequency, band.gain, band.q});
  }
  return all;
}

std::vector<ParameterId> EqView::choiceRows() const {
  return {P::eq1Mode, P::eq2Mode, P::eq3Mode};
}

std::vector<HandleView::RowValue> EqView::valuesAt(int handle, const QPointF& place) const {
  const BandRows& band = bands[handle];
  return {{band.frequency, hertzAt(place.x())}, {band.gain, std::round(dBAt(place.y()) * 4) / 4}};
}

void EqView::paintCurve(QPainter& painter, ItemId item, const QColor& colour) const {
  std::array<audio::FilterStage, std::size(bands)> stages;
  for (std::size_t i = 0; i < stages.size(); ++i) stages[i] = stageOf(item, bands[i], sampleRate);
  const auto dB = [](const audio::FilterStage& stage, double hertz) {
    return 20 * std::log10(audio::magnitudeOf(stage, hertz / double{sampleRate}));
  };
  for (const audio::FilterStage& stage : stages)
    paintResponse(
        painter, [&](double hertz) { return dB(stage, hertz); }, withAlpha(colour, colour.alpha() / 3));
  const auto sum = [&](double hertz) {
    double all = 0;
    for (const audio::FilterStage& stage : stages) all += dB(stage, hertz);
    return all;
  };
  paintResponse(painter, sum, colour);
}

}  // namespace tervo::ui
