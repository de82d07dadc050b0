#pragma once
// Program-state files (".tvs"): the whole document. Little-endian: "TvSt", the packed program version, the number of
// records, a record for each item, the collection's own record. Nothing that a file holds can change the document
// unless all of it is sound.

#include "core/history/attachment_file.h"
#include "platform/file.h"

namespace tervo {

/// A program version a.b.c.d in one number.
constexpr uint32_t packedVersion(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
  return ((a * 100 + b) * 100 + c) * 100 + d;
}
inline constexpr uint32_t stateVersion = packedVersion(12, 9, 0, 0);
inline constexpr TextView stateExtension = u".tvs";

/// Writes the image of a collection. Any thread.
bool writeState(ByteSink& sink, const ItemImage& document, OpenStored openStored);
/// Replaces the file in one step, and only by a complete one. Any thread.
bool writeStateFile(TextView path, const ItemImage& document, OpenStored openStored,
                    platform::Replace replace = platform::Replace::allowed);

/// Replaces the document by what the bytes hold; items get the identifiers that they were written with. False with
/// "Not a program state file", "Wrong state version" or "The program state file is damaged", and the document as it
/// was. Document thread.
bool readState(Collection& document, std::shared_ptr<const LoadedBytes> bytes, OpenStored openStored);
bool readStateFile(Collection& document, TextView path, OpenStored openStored);
/// The name of the document that a state file holds; nothing, with LastErrorText, unless all of it is sound.
std::optional<Text> documentNameIn(TextView path, OpenStored openStored);

/// What a state file holds without loading it into the document.
struct StateSummary {
  uint32_t version = 0;
  uint32_t records = 0;
};
std::optional<StateSummary> stateSummary(const ByteSource& file);

}  // namespace tervo
