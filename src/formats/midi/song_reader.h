#pragma once
// The content of a Standard MIDI File, wherever it stands: a whole ".mid" file, or the "data" chunk of a RIFF form.

#include "core/collection.h"
#include "formats/format_table.h"
#include "formats/midi/midi_chunks.h"

namespace tervo {

/// Adds the songs that stand in [begin, end) of the file to the collection, one for each header; most files have one.
/// What is passed over is reported. False, with nothing said, when there is no header.
bool readSongs(Collection& collection, const SourceFile& file, uint64_t begin, uint64_t end);

}  // namespace tervo
