// Detection over small files in one process, in files a second, beside libmagic's over the same files.

#include <benchmark/benchmark.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#ifdef TERVO_PEER_MAGIC
#include <magic.h>
#endif

#include "formats/detection.h"
#include "platform/file.h"

namespace {

constexpr int fileCount = 2000;

/// A folder of small files, some with marks that detection knows, some without.
class Files {
 public:
  Files() : folder_(std::filesystem::temp_directory_path() / "tervo-detect-bench") {
    std::filesystem::create_directories(folder_);
    for (int i = 0; i < fileCount; ++i) add(i);
  }
  ~Files() { std::filesystem::remove_all(folder_); }

  std::vector<tervo::Text> texts;
  std::vector<std::string> paths;

 private:
  void add(int i) {
    static const std::string heads[] = {std::string("RIFF\x24\x08\x00\x00WAVEfmt \x10\x00\x00\x00\x01\x00\x01\x00", 24),
                                        "MThd", "FORM", ".snd", ""};
    static const char* extensions[] = {"wav", "mid", "aif", "xyz", "sw"};
    const auto kind = static_cast<std::size_t>(i) % std::size(heads);
    const auto path = folder_ / (std::to_string(i) + "." + extensions[kind]);
    std::string content = heads[kind];
    for (int k = 0; k < 500 + i; ++k) content += static_cast<char>(k * 7919 + i);
    std::ofstream(path, std::ios::binary) << content;
    texts.push_back(path.u16string());
    paths.push_back(path.string());
  }

  std::filesystem::path folder_;
};

Files& files() {
  static Files all;
  return all;
}

void detectAll() {
  for (const tervo::Text& path : files().texts) {
    const auto file = tervo::platform::InputFile::open(path);
    benchmark::DoNotOptimize(tervo::DetectFormat(path, *file));
  }
}

void detection(benchmark::State& state) {
  files();
  for (auto _ : state) detectAll();
  state.SetItemsProcessed(state.iterations() * fileCount);
}
BENCHMARK(detection)->Unit(benchmark::kMillisecond);

#ifdef TERVO_PEER_MAGIC
void magicAll(magic_t cookie) {
  for (const std::string& path : files().paths) benchmark::DoNotOptimize(magic_file(cookie, path.c_str()));
}

/// In processor seconds, so that what else runs on the machine does not count.
void againstLibmagic(benchmark::State& state) {
  const magic_t cookie = magic_open(MAGIC_NONE);
  if (!cookie || magic_load(cookie, nullptr) != 0) return state.SkipWithError("libmagic has no data");
  double ours = 0, theirs = 0;
  for (auto _ : state) {
    const std::clock_t start = std::clock();
    detectAll();
    const std::clock_t middle = std::clock();
    magicAll(cookie);
    ours += static_cast<double>(middle - start) / CLOCKS_PER_SEC;
    theirs += static_cast<double>(std::clock() - middle) / CLOCKS_PER_SEC;
  }
  magic_close(cookie);
  const double all = static_cast<double>(state.iterations()) * fileCount;
  state.counters["ours_per_second"] = all / ours;
  state.counters["libmagic_per_second"] = all / theirs;
  state.counters["ratio"] = theirs / ours;
}
BENCHMARK(againstLibmagic)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
