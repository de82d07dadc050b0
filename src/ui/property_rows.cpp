#include "ui/property_rows.h"

#include "core/parameter_access.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

using P = ParameterId;

// clang-format off
constexpr PropertyGroup groups[] = {
    {"Instrument",      P::drumKit,        P::program},
    {"Waveform",        P::sampleRate,     P::preferredFormat},
    {"Trigger",         P::triggerType,    P::noteExclusionMode},
    {"Region",          P::rootKeyOverride, P::phaseMaster},
    {"Pitch",           P::masterTuning,   P::randomToPitch},
    {"Volume",          P::masterVolume,   P::velocityToVLfoToVolume},
    {"Filter",          P::filterType,     P::aftertouchToResonance},
    {"EQ",              P::eq1Mode,        P::eq3Q},
    {"Pan",             P::panPosition,    P::randomToPan},
    {"Effect sends",    P::send1Level,     P::cc94ToSend4},
    {"P-LFO (pitch)",   ParameterId{65},   ParameterId{68}},
    {"V-LFO (volume)",  ParameterId{69},   ParameterId{72}},
    {"F-LFO (filter)",  ParameterId{73},   ParameterId{76}},
    {"X-LFO (pan, pitch)", ParameterId{77}, ParameterId{80}},
    {"V-ENV (volume)",  ParameterId{81},   ParameterId{107}},
    {"P-ENV (pitch)",   ParameterId{108},  ParameterId{133}},
    {"F-ENV (filter)",  ParameterId{135},  ParameterId{160}},
    {"X-ENV (pan)",     ParameterId{162},  ParameterId{187}},
    {"Info",            P::tagName,        P::tagImage},
};
// clang-format on

constexpr uint8_t instrumentLevels =
    kindBit(ItemKind::instrument) | kindBit(ItemKind::layer) | kindBit(ItemKind::region);

uint8_t kindsWith(P row) {
  const auto index = static_cast<int>(row);
  if (rowOf(row).name.empty()) return 0;
  if (index <= 188) return instrumentLevels;
  if (row <= P::noteExclusionMode) return kindBit(ItemKind::layer) | kindBit(ItemKind::region);
  if (row <= P::loopPitch) return 0;  // of single markers
  if (row <= P::tagImage) return kindBit(ItemKind::waveform) | kindBit(ItemKind::collection);
  if (row <= P::preferredFormat) return kindBit(ItemKind::waveform);
  if (row < P::rootKeyOverride) return 0;
  if (row <= P::phaseMaster) return kindBit(ItemKind::region);
  return kindBit(ItemKind::instrument);
}

}  // namespace

std::span<const PropertyGroup> propertyGroups() {
  return groups;
}

bool hasRow(ItemKind kind, P row) {
  return (kindsWith(row) & kindBit(kind)) != 0;
}

double effectiveNumber(ItemId id, P row) {
  for (const Item* item = findItem(id); item && hasRow(item->kind(), row); item = item->parent()) {
    if (const auto value = parameterValue(item->id(), row)) return *value;
  }
  return double{rowOf(row).defaultValue};
}

QString shownNumber(P row, double value, const Settings& settings) {
  if (rowOf(row).editor == EditorKind::key && !settings.app.showNoteNames) return QString::number(value);
  return qt(valueText(row, value, settings.app.midIsNamedC3 ? MiddleC::c3 : MiddleC::c4));
}

PropertyValue propertyValue(std::span<const ItemId> items, P row, const Settings& settings) {
  std::optional<PropertyValue> shared;
  bool anySets = false;
  const bool isText = rowOf(row).has(ParameterFlags::Textual);
  for (const ItemId id : items) {
    if (!hasRow(kindOf(id), row)) continue;
    PropertyValue own;
    if (isText) {
      own.text = qt(parameterText(id, row).value_or(Text()));
      anySets = true;
    } else {
      own.number = effectiveNumber(id, row);
      anySets = anySets || parameterValue(id, row).has_value();
      // Of thousands of items most are equal, and a text is dear.
      if (shared && shared->number == own.number) continue;
      own.text = shownNumber(row, *own.number, settings);
    }
    if (!shared)
      shared = std::move(own);
    else if (shared->text != own.text)
      return {QStringLiteral("<different>"), false, std::nullopt};
  }
  if (!shared) return {};
  shared->isInherited = !anySets;
  return *shared;
}

}  // namespace tervo::ui
