// Seed files for sf3_fuzz: banks with streams of both codecs, where their libraries are there, and a SoundFont 1 bank.

#include <filesystem>
#include <fstream>

#include "formats/codec/flac.h"
#include "formats/codec/ogg_vorbis.h"
#include "tests/formats/instrument/sf2_builder.h"

using namespace tervo;
using namespace tervo::test;

namespace {

using Bytes = std::vector<std::byte>;

SampleRef sound() {
  std::vector<float> samples(600);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<float>(i % 37) / 64;
  return makeResident(std::move(samples), 1);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::filesystem::path folder = argv[1];
  const auto write = [&](const char* name, char kind, const Bytes& bytes) {
    std::ofstream file(folder / name, std::ios::binary);
    file.put(kind).write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  };
  const auto flac = encodeFlac(*sound(), 22050, 16), wide = encodeFlac(*sound(), 22050, 24);
  const auto vorbis = encodeVorbis(*sound(), 22050, {}, 1);
  if (flac && wide && vorbis) {
    write("streams", 0, bankOf({*flac, *vorbis, *wide}, 17).build());
    BankBuilder packed = bankOf({*flac}, 1);
    packed.form = "sfpk";
    packed.shdr = {};
    write("packed", 0, packed.sample({}).sample({.start = 100, .end = 600}).build());
  }
  BankBuilder first;
  first.version = 1;
  const std::vector<Zone> zones = {{{{48, 100}, {8, 90}, {55, 6020}, {53, 0}}}, {{{17, 0}, {34, 20}, {53, 1}}}};
  first.preset("P", 5, 3, {{{{17, 100}, {41, 0}}}})
      .instrument("I", zones)
      .sample({.start = 900, .end = 990})
      .sample({});
  write("version-1", 1, first.build());
  return 0;
}
