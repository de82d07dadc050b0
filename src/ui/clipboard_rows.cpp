#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <algorithm>

#include "base/last_error.h"
#include "core/parameter_access.h"
#include "ui/clipboard.h"
#include "ui/document_session.h"
#include "ui/property_rows.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

using P = ParameterId;

constexpr TextView notThere = u"The clipboard holds nothing that fits here";
constexpr int lfoCount = 4, rowsOfLfo = 4, firstLfo = 65;
constexpr int firstEnvelope = 81, envelopeStride = 27, rowsOfEnvelope = 26, envelopeCount = 4;

P rowAt(int index) {
  return static_cast<P>(index);
}

RowRange groupOf(P row, int first, int stride, int length, int count) {
  const int group = std::clamp((static_cast<int>(row) - first) / stride, 0, count - 1);
  return {rowAt(first + group * stride), rowAt(first + group * stride + length - 1)};
}

/// Where the copied rows came from does not matter to an LFO or an envelope: they are numbered from their first one.
bool isNumberedFromFirst(ClipKind kind) {
  return kind == ClipKind::lfo || kind == ClipKind::envelope;
}

QJsonArray arrayIn(const QMimeData& data, ClipKind kind) {
  return QJsonDocument::fromJson(data.data(clipboardType(kind))).array();
}

QByteArray bytesOf(const QJsonArray& array) {
  return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

/// The row in the document that a copied number stands for; nothing for what is no row of the kind.
std::optional<P> targetOf(const QJsonArray& entry, RowRange range, bool fromFirst) {
  const int number = entry.at(0).toInt(-1) + (fromFirst ? static_cast<int>(range.first) : 0);
  const bool isInside = number >= static_cast<int>(range.first) && number <= static_cast<int>(range.last);
  return isInside && entry.at(1).isDouble() ? std::optional(rowAt(number)) : std::nullopt;
}

}  // namespace

RowRange rowsOfKind(ClipKind kind, P row) {
  switch (kind) {
    case ClipKind::lfo:
      return groupOf(row, firstLfo, rowsOfLfo, rowsOfLfo, lfoCount);
    case ClipKind::envelope:
      return groupOf(row, firstEnvelope, envelopeStride, rowsOfEnvelope, envelopeCount);
    case ClipKind::eqs:
      return {P::eq1Mode, P::eq3Q};
    case ClipKind::filter:
      return {P::filterType, P::aftertouchToResonance};
    default:
      return {rowAt(0), rowAt(188)};
  }
}

std::unique_ptr<QMimeData> copyRows(ClipKind kind, ItemId item, P row) {
  const RowRange range = rowsOfKind(kind, row);
  const int from = isNumberedFromFirst(kind) ? static_cast<int>(range.first) : 0;
  QJsonArray rows;
  for (int index = static_cast<int>(range.first); index <= static_cast<int>(range.last); ++index) {
    if (hasRow(kindOf(item), rowAt(index)) && findItem(item))
      rows.append(QJsonArray{index - from, effectiveNumber(item, rowAt(index))});
  }
  if (rows.isEmpty()) return fail(u"No item selected");
  auto data = std::make_unique<QMimeData>();
  data->setData(clipboardType(kind), bytesOf(rows));
  return data;
}

bool pasteRows(DocumentSession& session, const QMimeData& data, ClipKind kind, std::span<const ItemId> items, P row) {
  const QJsonArray rows = arrayIn(data, kind);
  const RowRange range = rowsOfKind(kind, row);
  std::vector<std::pair<P, double>> values;
  for (const auto& entry : rows) {
    const auto target = targetOf(entry.toArray(), range, isNumberedFromFirst(kind));
    if (target) values.emplace_back(*target, entry.toArray().at(1).toDouble());
  }
  const bool fits = std::any_of(items.begin(), items.end(), [&](ItemId id) { return hasRow(kindOf(id), range.first); });
  if (values.empty() || !fits) return fail(notThere);
  session.edit(items, QObject::tr("Paste"), [&] {
    for (const ItemId id : items) {
      for (const auto& [target, value] : values) setParameterValue(id, target, value);
    }
  });
  return true;
}

std::unique_ptr<QMimeData> copyMarker(ItemId id, std::size_t index) {
  const auto* waveform = findItem<Waveform>(id);
  if (!waveform || index >= waveform->markers.size()) return fail(u"No item selected");
  const Marker& marker = waveform->markers[index];
  const QJsonArray fields{
      qt(marker.name),  static_cast<int>(marker.type), marker.start, marker.end, static_cast<int>(marker.loopType),
      marker.loopCount, double{marker.loopPitch}};
  auto data = std::make_unique<QMimeData>();
  data->setData(clipboardType(ClipKind::loop), bytesOf(fields));
  return data;
}

bool pasteMarker(DocumentSession& session, const QMimeData& data, std::span<const ItemId> waveforms) {
  const QJsonArray fields = arrayIn(data, ClipKind::loop);
  std::vector<Waveform*> targets;
  Marker marker;
  for (const P row : {P::markerType, P::markerStart, P::markerEnd, P::loopType, P::loopCount, P::loopPitch}) {
    const int place = static_cast<int>(row) - static_cast<int>(P::markerType);
    // The name stands first on the clipboard and second in the table.
    setMarkerValue(marker, row, fields.at(place < 2 ? 1 : place).toDouble());
  }
  marker.name = textOf(fields.at(0).toString());
  for (const ItemId id : waveforms) {
    auto* waveform = findItem<Waveform>(id);
    if (waveform && marker.start < static_cast<double>(waveform->frames())) targets.push_back(waveform);
  }
  if (fields.size() < 7 || targets.empty()) return fail(notThere);
  session.edit(waveforms, QObject::tr("Paste"), [&] {
    for (Waveform* waveform : targets) {
      Marker own = marker;
      own.end = std::min(own.end, static_cast<double>(waveform->frames()));
      waveform->markers.push_back(std::move(own));
    }
  });
  return true;
}

}  // namespace tervo::ui
