#pragma once
// Every editable number and text of the document, one static row each: how it is edited and shown, its default and
// range.

#include <array>
#include <cstdint>
#include <optional>

#include "base/text.h"
#include "core/parameter_id.h"

namespace tervo {

/// How a pane edits a row; the numbers are part of the table.
enum class EditorKind : uint8_t {
  none = 0,
  amount = 2,  ///< signed
  factor = 3,  ///< or a frequency on a logarithmic scale
  integer = 4,
  time = 5,
  bipolar = 6,    ///< fraction -1..1, shown in percent
  level = 8,      ///< 0..1
  group = 9,      ///< a number that ties items together, 0 for none
  position = 10,  ///< in sample frames
  onOff = 11,
  text = 12,
  picture = 13,
  key = 14,  ///< MIDI key number, shown as a note name
  triggerType = 15,
  marker = 16,  ///< which marker of the waveform
  sustainSwitch = 17,
  lfoShape = 18,
  releaseMode = 19,
  filterType = 20,
  eqMode = 21,
  markerType = 22,
  loopType = 23,
  loopCount = 24,
  noteExclusion = 26,
  fadeFormula = 27,
  dataFormat = 28
};

enum class ParameterUnit : uint8_t { none, dB, semitones, factor, percent, hertz, seconds, milliseconds };

/// "", "dB", "st", "x", "%", "Hz", "s", "ms".
TextView nameOf(ParameterUnit unit);

/// The flags byte: what an editor and the engine may do with a row without knowing which row it is.
namespace ParameterFlags {
inline constexpr uint8_t Signed = 2;      ///< may be negative: shown with its sign, 0 in the middle of a slider
inline constexpr uint8_t Modulation = 4;  ///< a depth: how far a source moves a destination ("... to ...")
inline constexpr uint8_t AtNoteOn = 8;    ///< read once when a note starts; a change leaves sounding notes as they are
inline constexpr uint8_t Choice = 16;     ///< one of a list, or the number of something: replaced, never added to
inline constexpr uint8_t Textual = 32;    ///< a text or a picture; the numbers of the row mean nothing
}  // namespace ParameterFlags

struct ParameterRow {
  uint16_t index;
  EditorKind editor;
  ParameterUnit unit;
  uint8_t flags;
  uint16_t control;  ///< the editor control in the property pane; the four envelopes share 4004..4032
  float defaultValue;
  float minimum;
  float maximum;
  TextView name;
  TextView hint = {};

  constexpr bool has(uint8_t flag) const { return (flags & flag) != 0; }
};

extern const std::array<ParameterRow, parameterCount> ParameterTable;

inline const ParameterRow& rowOf(ParameterId row) {
  return ParameterTable[static_cast<std::size_t>(row)];
}

/// The value brought into the row's range and, for choices and whole numbers, to the nearest whole number; nothing for
/// a value that is not a number and for rows that hold none.
std::optional<double> inRange(ParameterId row, double value);

/// The row's name; where several rows bear one name, the second and later ones are followed by " #2", " #3". Empty for
/// the separators.
Text uniqueNameOf(ParameterId row);
/// The row of a unique name; nothing when there is none.
std::optional<ParameterId> findParameter(TextView uniqueName);

}  // namespace tervo
