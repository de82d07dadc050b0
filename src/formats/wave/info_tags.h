#pragma once
// Text in "LIST" "INFO": zero-terminated strings under four-character names (Microsoft "Multimedia Programming
// Interface and Data Specifications 1.0"). SoundFont, DLS and RMID files carry the same list.

#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "base/byte_writer.h"
#include "core/tags.h"
#include "formats/chunk_walker.h"

namespace tervo {

/// A string that no tag of the model stands for, kept to be written back.
struct KeptInfo {
  FourCC id;
  std::vector<std::byte> body;
};

/// The software that wrote a file, and what this program calls itself there.
inline constexpr FourCC infoSoftware = "ISFT";
inline constexpr std::string_view softwareName = "Tervo Studio 12.9";

/// The tag that a string of this name stands for.
std::optional<Tag> infoTagOf(FourCC id);
/// Every tag that is set and has a name in the list.
void forEachInfoTag(const Tags& tags, const std::function<void(FourCC, const Text&)>& visit);

/// Writes one string with the zero that ends it. `Size::even` is for files in which the size of every string must be
/// even: they have a second zero where it would be odd.
enum class InfoSize { any, even };
void writeInfoText(ByteWriter& writer, FourCC id, std::string_view text, InfoSize size = InfoSize::any);

/// Reads the strings of an "INFO" list into the tags; others are appended to `kept` where that is given.
void readInfoTags(const ByteSource& source, const Chunk& list, Tags& tags, std::vector<KeptInfo>* kept = nullptr);

/// Writes a "LIST" "INFO" with the tags that are set, `kept`, and the name of this program as the software.
void writeInfoTags(ByteWriter& writer, const Tags& tags, std::span<const KeptInfo> kept = {});

}  // namespace tervo
