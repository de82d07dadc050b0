#pragma once
// Some items of a document as a document of their own, for saving several at once and for the clipboard.

#include <memory>
#include <vector>

#include "core/collection.h"

namespace tervo {

/// Copies of the chosen items, and of the waveforms that chosen regions play, in display order, under the name and with
/// the tags of the whole. Of an instrument or a song that is not chosen itself, a copy holds those parts that are.
/// Samples are shared. The copies have identifiers of their own.
/// Document thread; throws std::bad_alloc.
std::unique_ptr<Collection> partOf(const Collection& collection, const std::vector<const Item*>& chosen);

}  // namespace tervo
