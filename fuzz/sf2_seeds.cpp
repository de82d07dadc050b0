// Seed files for sf2_fuzz: banks that use what there is, and one lie each.

#include <filesystem>
#include <fstream>

#include "tests/formats/instrument/sf2_builder.h"

using namespace tervo::test;

namespace {

BankBuilder richBank() {
  const Zone global{{{48, 100}, {8, 9000}, {9, 40}}, {{0x502, 48, 480}, {0x203, 33, 200}, {3, 48, 100}}};
  std::vector<Amount> all;
  for (int i = 5; i < 41; ++i) all.push_back({i, 17 * i - 300});
  const std::vector<Zone> zones = {global, playing(0, {{43, 0x3C00}, {54, 1}, {2, 4}, {57, 3}}),
                                   playing(1, {{43, 0x7F3D}, {44, 0x6000}, {17, -500}, {58, 72}, {54, 3}}),
                                   playing(2, {{43, 0x7F3D}, {17, 500}, {0, 5}, {1, -5}, {51, 2}, {52, -30}}),
                                   playing(0, all)};
  BankBuilder bank;
  bank.preset("Rich", 5, 3, {Zone{{{48, 20}}, {{0x81, 5, 30}}}, {{{41, 0}, {44, 0x7F10}}}, {{{41, 1}, {52, 5}}}});
  bank.preset("Drums", 0, 128, {{{{41, 1}}}});
  bank.instrument("Zones", zones).instrument("Other", {playing(0, {}), playing(3, {{46, 60}})});
  bank.sample({}).sample({.name = "S -L", .link = 2, .type = 4}).sample({.name = "S -R", .link = 1, .type = 2});
  return bank.sample({.name = "ROM", .type = 0x8001});
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::filesystem::path folder = argv[1];
  const auto write = [&](const char* name, const std::vector<std::byte>& bytes) {
    std::ofstream(folder / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  };
  BankBuilder bank = richBank();
  write("rich", bank.build());
  bank.form = "sfpk";
  bank.version = 3;
  write("packed", bank.build());
  bank = richBank();
  for (int i = 0; i < 500; ++i) bank.sm24.add(static_cast<uint8_t>(i));
  write("24-bit", bank.build());
  bank.padded = false;
  bank.info.text("odd", 3);
  write("odd-list", bank.build());
  bank = richBank();
  bank.ends = false;
  write("no-ends", bank.build());
  bank = richBank();
  bank.ibag.add(uint16_t{9}, uint16_t{1});
  bank.phdr.text("Back").add(uint32_t{0}, uint16_t{0}).text("", 12);
  write("backwards", bank.build());
  write("small", smallBank({{{54, 1}}}).build());
  write("empty", BankBuilder().build());
  return 0;
}
