#pragma once
// Copy and paste: whole items, and the articulation, one LFO, one envelope, a loop, the EQ or the filter of one item
// for others. Every kind has its own clipboard format, in whose name the version keeps other versions' data apart.
// Waveforms go along as plain WAV for other programs. Document thread.

#include <QString>
#include <memory>
#include <span>
#include <vector>

#include "core/item.h"
#include "core/parameter_id.h"

class QMimeData;

namespace tervo::ui {

class DocumentSession;

/// What of an item is copied, by the numbers of the clipboard's formats.
enum class ClipKind : uint8_t { item, articulation, lfo, envelope, loop, eqs, filter };

/// The name under which the clipboard holds it: on Windows the registered format of that name.
QString clipboardType(ClipKind kind);

/// The items with what they play. Null with LastErrorText.
std::unique_ptr<QMimeData> copyItems(DocumentSession& session, std::span<const ItemId> items);
/// Adds what was copied to the document as one undo step: layers and regions to the instrument and layer of the
/// selected item, tracks to its song, where there is one; everything else as items of its own. Waveforms that come
/// along and are there already are used again. The identifiers of what was added; empty with LastErrorText.
std::vector<ItemId> pasteItems(DocumentSession& session, const QMimeData& data, ItemId selected = noItem);

/// The rows of a kind from the item, with the values that apply to it. `row` is one of those of the LFO or envelope
/// that is meant; other kinds do not look at it. Null when the item has none.
std::unique_ptr<QMimeData> copyRows(ClipKind kind, ItemId item, ParameterId row);
/// Gives the rows to all items, as one undo step: to the LFO or envelope that `row` is of. False with LastErrorText.
bool pasteRows(DocumentSession& session, const QMimeData& data, ClipKind kind, std::span<const ItemId> items,
               ParameterId row);

/// The loop, section or position of an index.
std::unique_ptr<QMimeData> copyMarker(ItemId waveform, std::size_t index);
/// Into each of the waveforms, as far as it is long enough. False with LastErrorText.
bool pasteMarker(DocumentSession& session, const QMimeData& data, std::span<const ItemId> waveforms);

/// The rows that a kind copies; of an LFO or an envelope those of the one that `row` is of. The rows of two LFOs or two
/// envelopes stand in the same order.
struct RowRange {
  ParameterId first, last;
};
RowRange rowsOfKind(ClipKind kind, ParameterId row);

}  // namespace tervo::ui
