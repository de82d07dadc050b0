#pragma once
// Load-time normalisation: what a codec read becomes a tidier document that sounds the same. Repairs are always made,
// everything else is a user option. Running the pass again over its own result changes nothing. Document thread.

#include <unordered_set>

#include "core/collection.h"
#include "core/host.h"
#include "core/report.h"
#include "core/settings.h"

namespace tervo {

/// "Fixing up items...": repairs the items of `loaded` and applies the options that are on. `mergedInto` is the
/// collection that they are about to join, if any; it stays as it is. Samples are not read except to tell duplicates;
/// changed ones are made while somebody reads them. False with LastErrorText when the user cancels, with a document
/// that is whole but only partly normalised.
bool FixUpItems(Collection& loaded, const Collection* mergedInto, const Settings& settings, Host& host,
                ConversionReport& report);

/// The repairs alone, for the regions that play waveforms whose sound has been replaced.
void RepairUsers(const Collection& collection, const std::unordered_set<ItemId>& replaced, ConversionReport& report);

/// The two sorting options alone, for a collection that others have been merged into.
void SortItems(Collection& collection, const Settings& settings);

}  // namespace tervo
