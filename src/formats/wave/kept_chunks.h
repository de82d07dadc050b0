#pragma once
// Chunks of a WAV or AIFF file that a waveform carries along, so that saving it in the same kind of file gives them
// back: those that the program does not understand, and those whose meaning is in the model but which hold more than
// the model does.

#include <vector>

#include "core/report.h"
#include "core/waveform.h"
#include "formats/chunk_walker.h"

namespace tervo {

/// The containers under which chunks of one kind of file are kept.
struct ChunkContainers {
  FourCC foreign;  ///< of chunks that are kept as they are
  /// Of chunks whose meaning the model has: never a loss when they are left out, but where the model still says the
  /// same as they do, they are written back byte by byte.
  FourCC known;
};
inline constexpr ChunkContainers riffChunks{"RIFF", "WAVE"};
inline constexpr ChunkContainers aiffChunks{"FORM", "AIFF"};
inline constexpr ChunkContainers maudChunks{"MAUD", "maud"};

// Bounds the memory that a file of nothing but empty chunks can take.
inline constexpr std::size_t maxKeptChunks = 4096;

/// Notes a chunk. False when the waveform has too many already.
bool keepChunk(Waveform& waveform, FourCC container, const Chunk& chunk, std::shared_ptr<const ByteSource> source,
               bool beforeSamples);

/// The kept chunks of a kind in file order. `list` is the type of a "LIST".
std::vector<const ForeignChunk*> knownChunks(const Waveform& waveform, const ChunkContainers& containers, FourCC id,
                                             FourCC list = {});
/// The first of them; null when there is none.
const ForeignChunk* knownChunk(const Waveform& waveform, const ChunkContainers& containers, FourCC id);

/// The chunks that the program does not understand and that fit into this kind of file, those before or behind the
/// samples. Those that describe the sample values are left out, and reported, unless `samplesAreSame`.
std::vector<const ForeignChunk*> foreignChunks(const Waveform& waveform, const ChunkContainers& containers,
                                               bool beforeSamples, bool samplesAreSame, ConversionReport& report);

/// A kept chunk as the walker gives it, and its body.
Chunk asChunk(const ForeignChunk& kept);
std::vector<std::byte> bodyOf(const ForeignChunk& kept);

/// A chunk's name as the report shows it.
Text textOf(FourCC id);

/// The type of a "LIST" chunk; zeros when the chunk is too short.
FourCC listType(const ByteSource& source, const Chunk& chunk);

/// Fillers, which say nothing.
bool isFiller(FourCC id);
/// Chunks that describe the sample values: wrong as soon as one of them changes.
bool describesSamples(FourCC id);

}  // namespace tervo
