#include "core/parameter_lists.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

#include "core/sample_format.h"
#include "core/waveform.h"

namespace tervo {
namespace {

constexpr TextView triggerTypes[] = {
    u"Key Press",
    u"Key Release",
    u"Key Press, no other key held",
    u"Key Press, other key held (legato)",
    u"Key Release, last key held",
    u"Key Release, pedals ignored",
    u"Sustain Pedal Press",
    u"Sustain Pedal Release",
    u"Sostenuto Pedal Press",
    u"Sostenuto Pedal Release",
    u"Soft Pedal Press",
    u"Soft Pedal Release",
    u"Key Press, taking turns (round robin)",
    u"Key Press, chosen at random",
    u"Key Press, same key again",
    u"Key Press, legato upwards",
    u"Key Press, legato downwards",
    u"Never",
};
constexpr TextView filterTypes[] = {
    u"Pass-thru",
    u"Low-Pass 6 dB/oct",
    u"Low-Pass 12 dB/oct",
    u"Low-Pass 18 dB/oct",
    u"Low-Pass 24 dB/oct",
    u"High-Pass 6 dB/oct",
    u"High-Pass 12 dB/oct",
    u"High-Pass 18 dB/oct",
    u"High-Pass 24 dB/oct",
    u"Band-Pass 6 dB/oct",
    u"Band-Pass 12 dB/oct",
    u"Band-Reject 6 dB/oct",
    u"Band-Reject 12 dB/oct",
};
constexpr TextView eqModes[] = {u"Peak", u"Lo-shelf", u"Hi-shelf"};
constexpr TextView lfoShapes[] = {u"Sine",   u"Sine+",   u"Square",   u"Square+",   u"Triangle", u"Triangle+",
                                  u"Saw-Up", u"Saw-Up+", u"Saw-Down", u"Saw-Down+", u"Noise",    u"Noise+"};
constexpr TextView sustainSwitches[] = {u"Pedal ignored", u"Pedal up only", u"Pedal down only"};
constexpr TextView releaseModes[] = {u"Release at note-off", u"Ignore note-off (one-shot mode)"};
constexpr TextView noteExclusions[] = {u"Self exclusive", u"Self non-exclusive"};
constexpr TextView fadeFormulas[] = {u"Equal power", u"Linear gain"};
constexpr TextView markerTypes[] = {u"Position", u"Section", u"Loop"};
constexpr TextView loopTypes[] = {u"Off/One-shot", u"Forward/Normal", u"Reverse/Backwards",
                                  u"Alternating/Ping-Pong/Bi-directional"};
constexpr TextView switches[] = {u"Off", u"On"};

// The rows' largest values.
static_assert(std::size(triggerTypes) == 17 + 1 && std::size(filterTypes) == 12 + 1 && std::size(eqModes) == 2 + 1);

/// The codings of a saved waveform by SampleCoding, then "Default".
std::span<const TextView> dataFormats() {
  static const auto texts = [] {
    std::array<TextView, 22> names;
    for (std::size_t i = 0; i + 1 < names.size(); ++i) names[i] = nameOf(static_cast<SampleCoding>(i));
    names.back() = u"Default";
    return names;
  }();
  return texts;
}

Text numberText(const ParameterRow& row, double value) {
  const double shown = row.unit == ParameterUnit::percent ? value * 100 : value;
  const bool sign = row.has(ParameterFlags::Signed) && shown > 0;
  // Six digits are what a float holds for certain; positions and rates are doubles and may need more.
  const int digits = row.maximum > 1e5f ? 12 : 6;
  Text text = fromUtf8(fmt::format("{}{:.{}g}", sign ? "+" : "", shown, digits));
  if (row.unit != ParameterUnit::none) text.append(u" ").append(nameOf(row.unit));
  return text;
}

}  // namespace

std::span<const TextView> choicesOf(EditorKind editor) {
  switch (editor) {
    case EditorKind::onOff:
      return switches;
    case EditorKind::triggerType:
      return triggerTypes;
    case EditorKind::sustainSwitch:
      return sustainSwitches;
    case EditorKind::lfoShape:
      return lfoShapes;
    case EditorKind::releaseMode:
      return releaseModes;
    case EditorKind::filterType:
      return filterTypes;
    case EditorKind::eqMode:
      return eqModes;
    case EditorKind::markerType:
      return markerTypes;
    case EditorKind::loopType:
      return loopTypes;
    case EditorKind::noteExclusion:
      return noteExclusions;
    case EditorKind::fadeFormula:
      return fadeFormulas;
    case EditorKind::dataFormat:
      return dataFormats();
    default:
      return {};
  }
}

std::span<const TextView> sampleFormatChoices() {
  static const auto texts = [] {
    std::array<TextView, static_cast<std::size_t>(SampleFormat::none) + 1> names;
    names[0] = u"Auto";
    for (std::size_t i = 1; i < names.size(); ++i) names[i] = nameOf(static_cast<SampleFormat>(i - 1));
    return names;
  }();
  return texts;
}

Text keyName(int key, MiddleC middleC) {
  static constexpr const char* names[] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
  const int octave = key / 12 - (middleC == MiddleC::c4 ? 1 : 2);
  return fromUtf8(fmt::format("{}{}", names[key % 12], octave));
}

Text exclusionText(int group, int noteExclusionMode) {
  if (group != 0) return fromUtf8(fmt::format("Alternate Gr.{}", group));
  return noteExclusionMode == 0 ? u"Self exclusive" : u"Non-exclusive";
}

Text valueText(ParameterId id, double value, MiddleC middleC) {
  const ParameterRow& row = rowOf(id);
  const auto number = inRange(id, value);
  if (!number) return {};
  const auto choices = choicesOf(row.editor);
  if (!choices.empty() && *number < static_cast<double>(choices.size()))
    return Text(choices[static_cast<std::size_t>(std::max(*number, 0.0))]);
  if (row.editor == EditorKind::key) return keyName(static_cast<int>(*number), middleC);
  if (id == ParameterId::loopCount && *number == loopForever) return u"Infinite";
  if (id == ParameterId::loopCount && *number == loopUntilRelease) return u"Until Release";
  return numberText(row, *number);
}

}  // namespace tervo
