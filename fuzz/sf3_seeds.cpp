// Seed files for sf3_fuzz: banks with streams of both codecs, where their libraries are there, sound and damaged; a
// SoundFont 1 bank that says all there is; an sfArk archive as each method.

#include <filesystem>
#include <fstream>

#include "formats/codec/flac.h"
#include "formats/codec/ogg_vorbis.h"
#include "tests/formats/instrument/sf2_builder.h"
#include "tests/formats/instrument/sfark_archive.h"

using namespace tervo;
using namespace tervo::test;

namespace {

using Bytes = std::vector<std::byte>;

SampleRef sound(std::size_t frames, int channels = 1) {
  std::vector<float> samples(frames * static_cast<std::size_t>(channels));
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<float>(i % 37) / 64;
  return makeResident(std::move(samples), channels);
}

Bytes cut(const Bytes& stream) {
  return {stream.begin(), stream.end() - static_cast<std::ptrdiff_t>(stream.size() / 8)};
}
Bytes damaged(Bytes stream) {
  for (std::size_t i = 0; i < 20; ++i) stream[stream.size() * 7 / 8 + i] ^= std::byte{0x55};
  return stream;
}

/// All samples as one stream.
BankBuilder packedBank(const Bytes& stream) {
  BankBuilder bank = bankOf({stream}, 1);
  bank.form = "sfpk";
  bank.shdr = {};
  return bank.sample({}).sample({.start = 100, .end = 600}).sample({.start = 500, .end = 9000});
}

BankBuilder firstVersion() {
  std::vector<Amount> all;
  for (int i = 5; i < 57; ++i)
    if (i != 41 && i != 43 && i != 44 && i != 53) all.push_back({i, 3 * i - 40});
  all.push_back({53, 1});
  const std::vector<Zone> zones = {{{{48, 100}, {8, 127}}},
                                   {{{48, 100}, {8, 90}, {55, 6020}, {53, 0}}},
                                   {{{17, 0}, {34, 20}, {55, 12799}, {53, 1}}},
                                   {all}};
  BankBuilder bank;
  bank.version = 1;
  bank.preset("P", 5, 3, {{{{48, 60}}}, {{{17, 100}, {56, 1}, {41, 0}}}})
      .instrument("I", zones)
      .sample({.start = 900, .end = 990})
      .sample({})
      .sample({.start = 20, .end = 150, .loopStart = 140, .loopEnd = 20});
  return bank;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::filesystem::path folder = argv[1];
  const auto write = [&](const std::string& name, char kind, const Bytes& bytes) {
    std::ofstream file(folder / name, std::ios::binary);
    file.put(kind).write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  };
  const auto flac = encodeFlac(*sound(600), 22050, 16), wide = encodeFlac(*sound(600, 2), 22050, 24),
             longFlac = encodeFlac(*sound(9500), 22050, 16);
  const auto vorbis = encodeVorbis(*sound(600), 22050, {}, 1), longVorbis = encodeVorbis(*sound(9500), 22050, {}, 1),
             stereo = encodeVorbis(*sound(600, 2), 22050, {}, 1);
  if (flac && wide && longFlac && vorbis && longVorbis && stereo) {
    write("streams", 0, bankOf({*flac, *vorbis, *wide}, 17).build());
    write("flac", 0, bankOf({*flac, *longFlac}).build());
    write("damaged-flac", 0, bankOf({damaged(*longFlac), cut(*longFlac)}).build());
    write("damaged-vorbis", 0, bankOf({damaged(*longVorbis), *flac}).build());
    write("cut-vorbis", 0, bankOf({cut(*longVorbis), *flac}).build());
    write("stereo", 0, bankOf({*stereo, *wide}).build());
    write("unmarked", 0, bankOf({*flac, *flac}, 1).build());
    write("packed", 0, packedBank(*flac).build());
    write("packed-vorbis", 0, packedBank(*vorbis).build());
  }
  write("version-1", 1, firstVersion().build());
  constexpr std::size_t methodAt = 31;
  for (const int method : {3, 4, 5, 6, 7}) {
    Bytes archive = sfArkArchive();
    archive[methodAt] = static_cast<std::byte>(method);
    write("archive-" + std::to_string(method), 2, archive);
  }
  return 0;
}
