// Seed files for aiff_fuzz: one of each compression type, with all chunks that are understood.

#include <filesystem>
#include <fstream>

#include "tests/formats/wave/aiff_builder.h"

using namespace tervo::test;

namespace {

void write(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Bytes withMetadata(const Comm& header) {
  const Bytes id3 = chars("ID3") + u8({3, 0, 0, 0, 0, 0, 13}) + chars("TIT2") + u8({0, 0, 0, 3, 0, 0, 0, 'a', 0});
  const Bytes comment = big16({1}) + big32({5}) + big16({2, 3}) + chars("abc") + Bytes(1);
  const Bytes more = mark({{1, 3, "beg loop"}, {2, 30, "end"}, {3, 40, "x"}}) + inst({1, 1, 2, 2, 3, 2}, 61, 0xF0, 7) +
                     aiffChunk("COMT", comment) + aiffChunk("NAME", chars("x")) + aiffChunk("ANNO", chars("yz")) +
                     aiffChunk("APPL", chars("odd")) + aiffChunk("ID3 ", id3);
  return aiffOf(header, Bytes(272, std::byte{0x35}), more);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::filesystem::path folder = argv[1];
  for (const char* type : {"", "NONE", "sowt", "in24", "in32", "fl32", "fl64", "alaw", "ulaw", "ima4", "MAC3", "MAC6",
                           "G721", "G722", "G723", "G726", "GSM ", "DWVW", "QDMC"}) {
    const uint16_t bits = std::string_view(type) == "sowt" ? 12 : 16;
    write(folder / (std::string("type-") + type), withMetadata({.frames = 8, .bits = bits, .type = type, .name = "a"}));
  }
  write(folder / "stereo", withMetadata({.channels = 2, .frames = 9, .bits = 40}));
  const Bytes header = big32({8}) + big16({8, 16}) + big32({8000}) + big16({1, 1, 2, 2}) + Bytes(12);
  write(folder / "maud", aiffForm("MAUD", aiffChunk("MHDR", header) + aiffChunk("MDAT", Bytes(16))));
  return 0;
}
