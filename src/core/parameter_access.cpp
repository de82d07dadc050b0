#include "core/parameter_access.h"

#include <algorithm>

#include "core/collection.h"
#include "core/levels.h"

namespace tervo {
namespace {

using P = ParameterId;

/// The sparse set of the item that may hold the row; null when the item has no such row.
ParameterSet* sparseSet(Item& item, P row) {
  if (isArticulation(row)) return articulationOf(item);
  if (isTrigger(row)) return triggerOf(item);
  if (isWaveformOverride(row) && item.kind() == ItemKind::region) return triggerOf(item);
  return nullptr;
}

std::optional<double> waveformValue(const Waveform& waveform, P row) {
  switch (row) {
    case P::sampleRate:
      return waveform.sampleRate;
    case P::rootKey:
      return waveform.rootKey;
    case P::fineTune:
      return waveform.fineTune;
    case P::gain:
      return waveform.gain;
    case P::preferredFormat:
      return waveform.preferredFormat;
    default:
      return std::nullopt;
  }
}

bool setWaveformValue(Waveform& waveform, P row, double value) {
  switch (row) {
    case P::sampleRate:
      waveform.sampleRate = value;
      return true;
    case P::rootKey:
      waveform.rootKey = static_cast<uint8_t>(value);
      return true;
    case P::fineTune:
      waveform.fineTune = static_cast<float>(value);
      return true;
    case P::gain:
      waveform.gain = static_cast<float>(value);
      return true;
    case P::preferredFormat:
      waveform.preferredFormat = static_cast<uint8_t>(value);
      return true;
    default:
      return false;
  }
}

std::optional<double> instrumentValue(const Instrument& instrument, P row) {
  switch (row) {
    case P::drumKit:
      return instrument.drum ? 1 : 0;
    case P::bankMsb:
      return instrument.bankMsb;
    case P::bankLsb:
      return instrument.bankLsb;
    case P::program:
      return instrument.program;
    default:
      return std::nullopt;
  }
}

bool setInstrumentValue(Instrument& instrument, P row, double value) {
  switch (row) {
    case P::drumKit:
      instrument.drum = value != 0;
      return true;
    case P::bankMsb:
      instrument.bankMsb = static_cast<uint8_t>(value);
      return true;
    case P::bankLsb:
      instrument.bankLsb = static_cast<uint8_t>(value);
      return true;
    case P::program:
      instrument.program = static_cast<uint8_t>(value);
      return true;
    default:
      return false;
  }
}

Tags* tagsOf(Item& item) {
  if (item.kind() == ItemKind::collection) return &static_cast<Collection&>(item).tags;
  if (item.kind() == ItemKind::waveform) return &static_cast<Waveform&>(item).tags;
  return nullptr;
}

Text* textOf(ItemId id, P row) {
  Item* item = findItem(id);
  if (!item || !isTag(row) || row == P::tagImage) return nullptr;
  Tags* tags = tagsOf(*item);
  return tags ? &(*tags)[static_cast<Tag>(indexOf(row) - indexOf(P::tagName))] : nullptr;
}

}  // namespace

std::optional<double> parameterValue(ItemId id, P row) {
  Item* item = findItem(id);
  if (!item) return std::nullopt;
  if (const ParameterSet* set = sparseSet(*item, row)) return set->get(row);
  if (item->kind() == ItemKind::waveform) return waveformValue(static_cast<Waveform&>(*item), row);
  if (item->kind() == ItemKind::instrument) return instrumentValue(static_cast<Instrument&>(*item), row);
  return std::nullopt;
}

bool setParameterValue(ItemId id, P row, double value, Propagation propagation) {
  constexpr double noRootKeyOverride = 255;
  if (row == P::rootKeyOverride && value == noRootKeyOverride) return clearParameterValue(id, row, propagation);
  Item* item = findItem(id);
  const auto number = inRange(row, value);
  if (!item || !number) return false;
  if (ParameterSet* set = sparseSet(*item, row)) {
    editLevel(*item, *set, row, *number, propagation);
    return true;
  }
  if (item->kind() == ItemKind::waveform) return setWaveformValue(static_cast<Waveform&>(*item), row, *number);
  if (item->kind() == ItemKind::instrument) return setInstrumentValue(static_cast<Instrument&>(*item), row, *number);
  return false;
}

bool clearParameterValue(ItemId id, P row, Propagation propagation) {
  Item* item = findItem(id);
  ParameterSet* set = item ? sparseSet(*item, row) : nullptr;
  if (!set) return false;
  editLevel(*item, *set, row, std::nullopt, propagation);
  return true;
}

std::optional<Text> parameterText(ItemId id, P row) {
  const Text* text = textOf(id, row);
  return text ? std::optional(*text) : std::nullopt;
}

bool setParameterText(ItemId id, P row, TextView text) {
  Text* place = textOf(id, row);
  if (place) *place = text;
  return place != nullptr;
}

std::optional<double> markerValue(const Marker& marker, P row) {
  switch (row) {
    case P::markerType:
      return static_cast<double>(marker.type);
    case P::markerStart:
      return marker.start;
    case P::markerEnd:
      return marker.end;
    case P::loopType:
      return static_cast<double>(marker.loopType);
    case P::loopCount:
      return marker.loopCount;
    case P::loopPitch:
      return marker.loopPitch;
    default:
      return std::nullopt;
  }
}

bool setMarkerValue(Marker& marker, P row, double value) {
  const auto number = inRange(row, value);
  if (!number) return false;
  switch (row) {
    case P::markerType:
      marker.type = static_cast<MarkerType>(*number);
      return true;
    case P::markerStart:
      marker.start = *number;
      marker.end = std::max(marker.end, marker.start + 1);
      return true;
    case P::markerEnd:
      marker.end = *number;
      marker.start = std::min(marker.start, marker.end - 1);
      return true;
    case P::loopType:
      marker.loopType = static_cast<LoopType>(*number);
      return true;
    case P::loopCount:
      marker.loopCount = static_cast<uint8_t>(*number);
      return true;
    case P::loopPitch:
      marker.loopPitch = static_cast<float>(*number);
      return true;
    default:
      return false;
  }
}

Text sharedValueText(std::span<const ItemId> items, P row, MiddleC middleC) {
  if (items.empty()) return {};
  const auto value = parameterValue(items.front(), row);
  const auto text = parameterText(items.front(), row);
  const bool same = std::all_of(items.begin(), items.end(), [&](ItemId id) {
    return parameterValue(id, row) == value && parameterText(id, row) == text;
  });
  if (!same) return u"<different>";
  return value ? valueText(row, *value, middleC) : text.value_or(Text());
}

}  // namespace tervo
