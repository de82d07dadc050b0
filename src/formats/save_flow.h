#pragma once
// Writing items to files. Document thread.

#include "core/history/document_history.h"
#include "core/item.h"
#include "formats/format_table.h"

namespace tervo {

enum class Overwrite : uint8_t {
  refused,
  ofNamed,  ///< of the file that is named; of several files that become of it, none replaces another
  allowed
};

/// What saving may use and where it tells what happened.
struct SaveContext {
  Host& host;
  ConversionReport& report;
  const Settings& settings;
  SaveOptions options = {};
  Overwrite overwrite = Overwrite::refused;
  /// Of the document that is being saved from. Without one there are no saved states and no undo steps to cut off.
  DocumentHistory* history = nullptr;
};

/// Writes one item by a row of the table: a synth, region or layer as its instrument, a track as its song; a song is
/// rendered first for a row that does not write songs, an instrument for one that holds waveforms and no instruments
/// (several waveforms become files with their root keys behind the name), behind a saved state that is restored when
/// rendering fails: the items of the document may then be other objects with the same identifiers. The document is not
/// changed, and the file that was there is replaced only by a complete one. False with LastErrorText; a null item is
/// "No item selected".
bool SaveItem(const Item* item, FormatIndex index, TextView path, const SaveContext& context);

}  // namespace tervo
