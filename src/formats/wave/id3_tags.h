#pragma once
// ID3v2 tags (id3.org, "ID3 tag version 2.2.0", "2.3.0" and "2.4.0") as they stand in a chunk: text frames and the
// picture become tags.

#include <span>
#include <vector>

#include "core/tags.h"

namespace tervo {

/// How much of an ID3 chunk is read at most: pictures are large.
inline constexpr std::size_t id3Limit = 64u << 20;

/// Sets the tags that the ID3 tag has. False, with the tags unchanged, when the bytes are no ID3 tag of a known
/// version.
bool readId3(std::span<const std::byte> bytes, Tags& tags);

/// An ID3v2.3 tag with the texts and the picture that ID3 knows; empty when there are none of them.
std::vector<std::byte> makeId3(const Tags& tags);

}  // namespace tervo
