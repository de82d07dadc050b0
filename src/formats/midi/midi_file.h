#pragma once
// Standard MIDI Files (MIDI Manufacturers Association, RP-001), and the same inside a RIFF form of type "RMID"
// (Microsoft "Multimedia Programming Interface and Data Specifications 1.0").

#include <cstddef>
#include <cstdint>
#include <span>

#include "core/song.h"
#include "formats/format_table.h"

namespace tervo {

/// 6 for bytes that begin with "MThd", else 0.
int detectMidiSong(std::span<const std::byte> head);
/// The same; 2 where a header stands behind other bytes, so that only the extension can tell.
int detectMidiFile(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);
/// Reads the song with its tracks. What it passes over is reported. False when there is no header.
bool readMidiSong(Collection& collection, const SourceFile& file, uint32_t variant);
/// Writes a song: header and tracks, their bytes as they are. False with LastErrorText.
bool writeMidiSong(const Item& item, TargetFile& file, uint32_t variant);

/// 6 for a RIFF form of type "RMID", else 0.
int detectRmid(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);
/// Reads the song and the text tags. Instruments in the form are reported, not read. False with LastErrorText: "Not a
/// RIFF-RMID file" for another form.
bool readRmid(Collection& collection, const SourceFile& file, uint32_t variant);
/// Writes a song without instruments, and the text tags of its collection.
bool writeRmid(const Item& item, TargetFile& file, uint32_t variant);

/// The bytes that a song takes as a Standard MIDI File.
uint64_t midiFileBytes(const Song& song);
/// Writes them. False with LastErrorText.
bool writeMidiBytes(const Song& song, TargetFile& file);

}  // namespace tervo
