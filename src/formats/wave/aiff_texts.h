#pragma once
// Texts of AIFF and MAUD files: "NAME", "AUTH", "ANNO" and "(c) ".

#include <functional>
#include <optional>

#include "base/endian.h"
#include "core/tags.h"

namespace tervo {

/// The tag that a text chunk stands for.
std::optional<Tag> aiffTagOf(FourCC id);

/// Takes in the text of a chunk. A file may have several annotations, which become lines; of the others the first
/// counts. False for a text that was left out.
bool addAiffText(Tags& tags, Tag tag, const Text& text);

/// Every tag that is set and has a chunk.
void forEachAiffText(const Tags& tags, const std::function<void(FourCC, const Text&)>& visit);

}  // namespace tervo
