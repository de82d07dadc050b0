// Seed files for midi_fuzz: the three formats, the kinds of events, and a RIFF form.

#include <filesystem>
#include <fstream>

#include "tests/formats/midi/midi_builder.h"

using namespace tervo;
using namespace tervo::test;

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const auto save = [&](const char* name, const TrackBytes& bytes) {
    std::ofstream(std::filesystem::path(argv[1]) / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  };
  const auto rich = trackBytes({0, 0xFF, 3,    1,    'n',  0,  0xF0, 2, 0x7E, 0xF7, 0x81, 0x00, 0xB1, 7,    100, 0,
                                7, 99,   0,    0xC1, 5,    0,  0xD1, 9, 0,    0xE1, 0,    64,   0,    0x91, 60,  9,
                                5, 62,   9,    3,    0x81, 60, 64,   0, 62,   64,   0,    0xFF, 0x59, 2,    1,   0,
                                0, 0xFF, 0x21, 1,    0,    0,  0xF7, 1, 0xF3, 0,    0xFF, 0x2F, 0});
  const auto song = MidiBuilder().header(1, 3).track(tempoTrack()).track(rich).track(notesTrack());
  save("format1", song.bytes());
  save("format0", MidiBuilder().header(0, 1, 0xE728).track(rich).bytes());
  save("format2", MidiBuilder().header(2, 2).track(notesTrack()).chunk("XFIH", TrackBytes(3)).track(rich).bytes());
  save("rmid", rmid(riffChunk("data", song.bytes())));
  return 0;
}
