// Seed files for wav_fuzz: one of each kind of sample data, with all chunks that are understood.

#include <filesystem>
#include <fstream>

#include "tests/formats/wave/wav_builder.h"

using namespace tervo::test;

namespace {

void write(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Bytes withMetadata(const Fmt& format) {
  const Bytes label = chars("labl") + u32({10, 1}) + chars("Loop ") + u8({'E', 0});
  const Bytes length = chars("ltxt") + u32({20, 1, 30}) + chars("rgn ") + u32({0, 0});
  const Bytes id3 = chars("ID3") + u8({3, 0, 0, 0, 0, 0, 13}) + chars("TIT2") + u8({0, 0, 0, 3, 0, 0, 0, 'a', 0});
  return WavBuilder()
      .fmt(format)
      .chunk("fact", u32({100}))
      .chunk("PEAK", Bytes(16))
      .data(Bytes(200, std::byte{0x35}))
      .chunk("smpl", u32({0, 0, 22675, 60, 0x40000000, 0, 0, 1, 4, 2, 1, 10, 50, 7, 0}) + chars("CWDT"))
      .chunk("inst", u8({60, 3, 0xFA, 0, 127, 0, 127}))
      .chunk("wsmp", u32({20, 60, 655360, 0, 1, 16, 0, 5, 20}))
      .chunk("cue ", u32({1, 1, 5}) + chars("data") + u32({0, 0, 5}))
      .chunk("LIST", chars("adtl") + label + length)
      .chunk("LIST", chars("INFOINAM") + u32({2}) + u8({'x', 0}))
      .chunk("id3 ", id3)
      .bytes();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::filesystem::path folder = argv[1];
  for (const uint16_t tag : std::initializer_list<uint16_t>{1, 2, 3, 6, 17, 20, 23, 32, 49, 59, 64, 80, 85, 101, 771}) {
    const auto bits = static_cast<uint16_t>(tag == 1 ? 16 : tag == 3 ? 32 : tag == 20 ? 3 : 4);
    write(folder / ("tag-" + std::to_string(tag)),
          withMetadata({.tag = tag, .bits = bits, .blockAlign = 36, .extra = Bytes(4)}));
  }
  const Bytes extensible = words<uint16_t>({22, 20}) + u32({0x3F, 1, 0x00100000, 0xAA000080, 0x719B3800});
  write(folder / "extensible", withMetadata({.tag = 65534, .channels = 6, .bits = 24, .extra = extensible}));
  write(folder / "rf64", WavBuilder()
                             .form("RF64", "WAVE")
                             .riffSize(0xFFFFFFFF)
                             .chunk("ds64", u32({0, 0, 8, 0, 4, 0, 0}))
                             .fmt({})
                             .chunkSaying("data", 0xFFFFFFFF, Bytes(8))
                             .bytes());
  return 0;
}
