#pragma once
// The body of the whole document: the number of records, a record for each waveform, instrument and song with its
// identifier, and the collection's own record with the lists in display order, the name and the tags.

#include "core/history/body_reader.h"
#include "core/history/body_writer.h"

namespace tervo::bodies {

void writeDocument(BodyWriter& writer, const Collection& collection);
/// Fills an empty collection; whether it is whole the reader says.
void readDocument(BodyReader& reader, Collection& collection);

}  // namespace tervo::bodies
