#pragma once
// Chunks of a WAV file that a waveform carries along, so that saving it as WAV gives them back: those that the program
// does not understand, and those whose meaning is in the model but which hold more than the model does.

#include <vector>

#include "core/waveform.h"
#include "formats/chunk_walker.h"

namespace tervo {

/// Container of chunks that are kept as they are.
inline constexpr FourCC foreignContainer = "RIFF";
/// Container of chunks whose meaning the model has: never a loss when they are left out, but where the model still says
/// the same as they do, they are written back byte by byte.
inline constexpr FourCC knownContainer = "WAVE";

// Bounds the memory that a file of nothing but empty chunks can take.
inline constexpr std::size_t maxKeptChunks = 4096;

/// Notes a chunk. False when the waveform has too many already.
bool keepChunk(Waveform& waveform, FourCC container, const Chunk& chunk, std::shared_ptr<const ByteSource> source,
               bool beforeSamples);

/// The kept chunks of a kind in file order. `list` is the type of a "LIST".
std::vector<const ForeignChunk*> knownChunks(const Waveform& waveform, FourCC id, FourCC list = {});

/// A kept chunk as the walker gives it, and its body.
Chunk asChunk(const ForeignChunk& kept);
std::vector<std::byte> bodyOf(const ForeignChunk& kept);

/// The type of a "LIST" chunk; zeros when the chunk is too short.
FourCC listType(const ByteSource& source, const Chunk& chunk);

/// Fillers, which say nothing.
bool isFiller(FourCC id);
/// Chunks that describe the sample values: wrong as soon as one of them changes.
bool describesSamples(FourCC id);

}  // namespace tervo
