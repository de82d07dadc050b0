// A seed file for w64_fuzz: all chunks that are understood, saved by the writer from a WAV file that has them.

#include <filesystem>
#include <fstream>

#include "formats/wave/w64_writer.h"
#include "tests/formats/wave/wav_builder.h"

using namespace tervo;
using namespace tervo::test;

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const auto wav = open(WavBuilder()
                            .fmt({.tag = 17, .bits = 4, .blockAlign = 36, .extra = u8({2, 0, 65, 0})})
                            .data(Bytes(72, std::byte{0x35}))
                            .chunk("smpl", u32({0, 0, 22675, 60, 0x40000000, 0, 0, 1, 0, 2, 1, 10, 50, 7, 0}))
                            .chunk("inst", u8({60, 3, 0xFA, 0, 127, 0, 127}))
                            .chunk("cue ", u32({1, 1, 5}) + chars("data") + u32({0, 0, 5}))
                            .chunk("LIST", chars("adtllabl") + u32({6, 1}) + chars("a") + u8({0}))
                            .chunk("LIST", chars("INFOINAM") + u32({2}) + u8({'x', 0})));
  if (!wav->wave()) return 1;
  const auto saved = save(*wav->wave(), {}, writeW64, 490);
  std::ofstream(std::filesystem::path(argv[1]) / "w64", std::ios::binary)
      .write(reinterpret_cast<const char*>(saved.bytes.data()), static_cast<std::streamsize>(saved.bytes.size()));
  return saved.ok ? 0 : 1;
}
