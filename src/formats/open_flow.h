#pragma once
// Reading files into the document: open, merge, and replacing waveforms by name. Document thread. The folder of the
// file becomes the process's current folder, so callers with several relative paths make them absolute first.

#include <optional>

#include "core/history/document_history.h"
#include "formats/detection.h"
#include "formats/format_table.h"

namespace tervo {

/// Whether a file that only row 0 takes is read as raw data; `forced`: so is every other file.
enum class RawFallback : uint8_t { refused, allowed, forced };

/// Whether what has been read is tidied up ("Fixing up items...") as the settings say, or stays as its codec made it.
enum class Normalisation : uint8_t { applied, skipped };

/// What opening may use and where it tells what happened.
struct OpenContext {
  Host& host;
  ConversionReport& report;
  const Settings& settings;
  RawRequest raw = {};
  Normalisation normalisation = Normalisation::applied;
  Detection* detected = nullptr;  ///< where to tell what the file was taken for, and how surely
  /// Of the collection. A merge and a replacement are one undo step; no step leads back across an open.
  DocumentHistory* history = nullptr;
};

/// Replaces the collection with the file's content. A file that is not there, is empty or is not detected leaves the
/// collection alone; one that turns out unreadable, or that the user breaks off, leaves it empty, under the name "Empty
/// collection", unless the history knows of unsaved changes: then it stays. False with LastErrorText, beside which the
/// caller names the path.
bool OpenFile(Collection& collection, TextView path, RawFallback fallback, const OpenContext& context);

/// Adds the file's items to the collection, whose own items stay as they are; its lists are sorted where the settings
/// say so. A failure leaves it as it was.
bool MergeFile(Collection& collection, TextView path, RawFallback fallback, const OpenContext& context);

/// Reads the file's waveforms and gives each to the collection's waveforms of the same name, which keep their
/// identifiers, so that regions go on playing them; selectors of markers that are gone are reset. How many were
/// replaced; nothing on failure, with the collection as it was. Waveforms without a namesake are reported.
std::optional<std::size_t> ReplaceSameName(Collection& collection, TextView path, RawFallback fallback,
                                           const OpenContext& context);

/// What the user answered for all files to come.
enum class RawChoice : uint8_t { askEachTime, always, never };

/// Whether to try again with the raw-data fallback after `LastErrorText` said "Not detected as any supported file
/// type": asks the host, and remembers an answer for all.
RawFallback askRawFallback(Host& host, RawChoice& remembered);

}  // namespace tervo
