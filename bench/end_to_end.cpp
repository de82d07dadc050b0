// What whole commands cost, as ratios against the least that the work can cost, measured in one run:
//
//     end_to_end path/to/tervo [MiB] [folder [word]]
//
// Writes MIB (1024 by default) of 16-bit stereo into FOLDER (a memory-backed one, /dev/shm by default), converts it by
// bare loops in this process, by tervo, and by sox and libsndfile's converter where they are installed, and prints CPU
// seconds (user and system), the ratio to the bare loop, and the peak memory of the command.

#include <fcntl.h>
#include <soxr.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t blockBytes = 256 * 1024;
constexpr std::size_t headerBytes = 44, aiffHeaderBytes = 54;

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

struct Cost {
  double cpu = 0;
  double peakMiB = 0;
  bool ok = true;
};

double ownCpu() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

Cost costOf(const std::function<void()>& work) {
  const double before = ownCpu();
  work();
  return {ownCpu() - before, 0, true};
}

Cost costOf(std::vector<std::string> command) {
  std::vector<char*> arguments;
  for (std::string& part : command) arguments.push_back(part.data());
  arguments.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    dup2(null, 2);
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  return {seconds(usage.ru_utime) + seconds(usage.ru_stime), static_cast<double>(usage.ru_maxrss) / 1024,
          WIFEXITED(status) && WEXITSTATUS(status) == 0};
}

void put32(std::array<uint8_t, headerBytes>& header, std::size_t at, uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) header[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

void makeSource(const std::string& path, uint64_t bytes) {
  std::array<uint8_t, headerBytes> header{'R', 'I', 'F', 'F', 0,  0, 0, 0, 'W', 'A', 'V', 'E',
                                          'f', 'm', 't', ' ', 16, 0, 0, 0, 1,   0,   2,   0};
  put32(header, 4, static_cast<uint32_t>(bytes + headerBytes - 8));
  put32(header, 24, 44100);
  put32(header, 28, 44100 * 4);
  header[32] = 4, header[34] = 16;
  std::memcpy(header.data() + 36, "data", 4);
  put32(header, 40, static_cast<uint32_t>(bytes));
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) std::perror(path.c_str()), std::exit(1);
  std::fwrite(header.data(), 1, header.size(), file);
  std::vector<int16_t> block(blockBytes / 2);
  uint32_t noise = 1;
  for (uint64_t done = 0; done < bytes; done += blockBytes) {
    for (std::size_t i = 0; i < block.size(); ++i) {
      noise = noise * 1664525 + 1013904223;
      block[i] = static_cast<int16_t>(8000 * std::sin(static_cast<double>(i) * 0.01) +
                                      static_cast<int32_t>(noise) / 65536 / 16);
    }
    if (std::fwrite(block.data(), 1, blockBytes, file) != blockBytes) std::perror(path.c_str()), std::exit(1);
  }
  std::fclose(file);
}

/// Reads the samples block by block, lets `convert` make the output block, writes it.
void bareLoop(const std::string& from, const std::string& to,
              const std::function<std::size_t(const int16_t*, std::size_t, uint8_t*)>& convert,
              std::size_t skip = headerBytes) {
  const int in = open(from.c_str(), O_RDONLY);
  const int out = open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  std::vector<int16_t> input(blockBytes / 2);
  std::vector<uint8_t> output(blockBytes * 4);
  lseek(in, static_cast<off_t>(skip), SEEK_SET);
  for (;;) {
    const ssize_t count = read(in, input.data(), blockBytes);
    if (count <= 0) break;
    const std::size_t made = convert(input.data(), static_cast<std::size_t>(count) / 2, output.data());
    if (write(out, output.data(), made) != static_cast<ssize_t>(made)) std::perror(to.c_str());
  }
  close(in);
  close(out);
}

std::size_t to24(const int16_t* in, std::size_t count, uint8_t* out) {
  for (std::size_t i = 0; i < count; ++i) {
    out[3 * i] = 0;
    out[3 * i + 1] = static_cast<uint8_t>(in[i]);
    out[3 * i + 2] = static_cast<uint8_t>(in[i] >> 8);
  }
  return 3 * count;
}

std::size_t toFloat(const int16_t* in, std::size_t count, uint8_t* out) {
  auto* values = reinterpret_cast<float*>(out);
  for (std::size_t i = 0; i < count; ++i) values[i] = static_cast<float>(in[i]) * (1.0f / 32768);
  return 4 * count;
}

std::size_t toMono(const int16_t* in, std::size_t count, uint8_t* out) {
  auto* values = reinterpret_cast<int16_t*>(out);
  for (std::size_t i = 0; i < count / 2; ++i) values[i] = static_cast<int16_t>((in[2 * i] + in[2 * i + 1] + 1) >> 1);
  return count;
}

std::size_t swapBytes(const int16_t* in, std::size_t count, uint8_t* out) {
  auto* values = reinterpret_cast<uint16_t*>(out);
  for (std::size_t i = 0; i < count; ++i) {
    const auto word = static_cast<uint16_t>(in[i]);
    values[i] = static_cast<uint16_t>(word << 8 | word >> 8);
  }
  return 2 * count;
}

/// The samples of the WAV source as AIFF.
void makeAiff(const std::string& wav, const std::string& path, uint64_t bytes) {
  std::array<uint8_t, aiffHeaderBytes> header{'F', 'O', 'R', 'M', 0,   0,  0,    0,    'A',  'I', 'F',
                                              'F', 'C', 'O', 'M', 'M', 0,  0,    0,    18,   0,   2,
                                              0,   0,   0,   0,   0,   16, 0x40, 0x0E, 0xAC, 0x44};
  const auto put = [&](std::size_t at, uint64_t value) {
    for (std::size_t i = 0; i < 4; ++i) header[at + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
  };
  put(4, bytes + aiffHeaderBytes - 8);
  put(22, bytes / 4);
  std::memcpy(header.data() + 38, "SSND", 4);
  put(42, bytes + 8);
  bool isFirst = true;
  bareLoop(wav, path, [&](const int16_t* in, std::size_t count, uint8_t* out) {
    const std::size_t before = std::exchange(isFirst, false) ? header.size() : 0;
    std::memcpy(out, header.data(), before);
    std::vector<uint8_t> swapped(2 * count);
    swapBytes(in, count, swapped.data());
    std::memcpy(out + before, swapped.data(), swapped.size());
    return before + swapped.size();
  });
}

/// Read, the resampler's own conversion of 16-bit samples to 16-bit samples, write.
void resampleLoop(const std::string& from, const std::string& to) {
  const soxr_io_spec_t io = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
  const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
  soxr_t converter = soxr_create(44100, 48000, 2, nullptr, &io, &quality, &runtime);
  bareLoop(from, to, [&](const int16_t* in, std::size_t count, uint8_t* out) {
    std::size_t made = 0;
    soxr_process(converter, in, count / 2, nullptr, out, blockBytes, &made);
    return 4 * made;
  });
  soxr_delete(converter);
}

void row(const char* name, const Cost& cost, const Cost& bare) {
  if (!cost.ok) return void(std::printf("  %-28s failed\n", name));
  std::printf("  %-28s %7.2f s  %5.2f x", name, cost.cpu, cost.cpu / bare.cpu);
  if (cost.peakMiB > 0) std::printf("  %6.1f MiB", cost.peakMiB);
  std::printf("\n");
}

/// Lets the rivals take turns, removes what they wrote, and prints each one's best round against the first rival's.
void compare(const std::vector<std::pair<const char*, std::function<Cost()>>>& rivals, int rounds,
             const std::vector<std::string>& written) {
  std::vector<Cost> best(rivals.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < rivals.size(); ++i) {
      const Cost cost = rivals[i].second();
      if (round == 0 || cost.cpu < best[i].cpu) best[i] = cost;
      for (const std::string& path : written) unlink(path.c_str());
    }
  }
  for (std::size_t i = 0; i < rivals.size(); ++i) row(rivals[i].first, best[i], best[0]);
}

bool exists(const std::string& program) {
  return std::system(("command -v " + program + " > /dev/null").c_str()) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return std::fprintf(stderr, "usage: end_to_end TERVO [MiB] [FOLDER]\n"), 2;
  const std::string tervo = argv[1];
  const uint64_t mebibytes = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1024;
  const std::string folder = std::string(argc > 3 ? argv[3] : "/dev/shm") + "/tervo-bench-" + std::to_string(getpid());
  mkdir(folder.c_str(), 0700);
  const std::string source = folder + "/in.wav", bareOut = folder + "/bare.raw", out = folder + "/out.wav",
                    wide = folder + "/out.w64";
  makeSource(source, mebibytes << 20);

  struct Case {
    const char* title;
    std::function<void()> bare;
    std::vector<std::string> tervo, sox, sndfile;
  };
  const std::vector<std::string> convert = {tervo, "convert", source, "--overwrite", "--no-progress", "-o"};
  const auto with = [](std::vector<std::string> command, std::initializer_list<const char*> more) {
    command.insert(command.end(), more.begin(), more.end());
    return command;
  };
  const Case cases[] = {
      {"16-bit WAV to 24-bit WAV",
       [&] { bareLoop(source, bareOut, to24); },
       with(convert, {out.c_str(), "--coding", "PCM 24-bit"}),
       {"sox", source, "-b", "24", out},
       {"sndfile-convert", "-pcm24", source, out}},
      {"16-bit WAV to float WAV",
       [&] { bareLoop(source, bareOut, toFloat); },
       with(convert, {out.c_str(), "--coding", "Float 32-bit"}),
       {"sox", source, "-e", "floating-point", "-b", "32", out},
       {"sndfile-convert", "-float32", source, out}},
      {"stereo WAV to mono WAV",
       [&] { bareLoop(source, bareOut, toMono); },
       with(convert, {out.c_str(), "--channels", "1"}),
       {"sox", source, "-c", "1", out},
       {}},
      {"44.1 to 48 kHz",
       [&] { resampleLoop(source, bareOut); },
       with(convert, {out.c_str(), "--rate", "48000"}),
       {"sox", source, "-r", "48000", out},
       {}},
  };
  // The least of some rounds, in which all take turns: what else the machine does only ever adds.
  constexpr int rounds = 5;
  const std::string word = argc > 4 ? argv[4] : "";  // of the titles of the cases that are wanted
  const auto isWanted = [&](const std::string& title) { return title.find(word) != std::string::npos; };
  for (const Case& each : cases) {
    if (!isWanted(each.title)) continue;
    std::printf("%s\n", each.title);
    std::vector<std::pair<const char*, std::function<Cost()>>> rivals = {
        {"bare loop", [&] { return costOf(each.bare); }}};
    for (const auto& [name, command] : {std::pair("tervo convert", each.tervo), std::pair("sox", each.sox),
                                        std::pair("sndfile-convert", each.sndfile)}) {
      if (!command.empty() && exists(command[0])) rivals.emplace_back(name, [command] { return costOf(command); });
    }
    compare(rivals, rounds, {bareOut, out});
  }
  if (isWanted("WAV to W64")) {
    std::printf("WAV to W64 in the same coding\n");
    compare({{"cp",
              [&] {
                return costOf({"cp", source, bareOut});
              }},
             {"tervo convert", [&] { return costOf(with(convert, {wide.c_str()})); }}},
            rounds, {bareOut, wide});
  }
  if (isWanted("AIFF to WAV")) {
    const std::string aiff = folder + "/in.aiff";
    makeAiff(source, aiff, mebibytes << 20);
    std::printf("AIFF to WAV, bytes swapped\n");
    std::vector<std::pair<const char*, std::function<Cost()>>> rivals = {
        {"bare loop", [&] { return costOf([&] { bareLoop(aiff, bareOut, swapBytes, aiffHeaderBytes); }); }},
        {"tervo convert", [&] {
           return costOf({tervo, "convert", aiff, "--overwrite", "--no-progress", "-o", out});
         }}};
    if (exists("sox")) rivals.emplace_back("sox", [&] { return costOf({"sox", aiff, out}); });
    if (exists("sndfile-convert")) {
      rivals.emplace_back("sndfile-convert", [&] { return costOf({"sndfile-convert", aiff, out}); });
    }
    compare(rivals, rounds, {bareOut, out});
    unlink(aiff.c_str());
  }

  constexpr int starts = 50;
  double total = 0;
  for (int i = 0; i < starts; ++i) total += costOf({tervo, "--version"}).cpu;
  std::printf("tervo --version: %.2f ms of CPU (mean of %d)\n", 1000 * total / starts, starts);
  unlink(source.c_str());
  rmdir(folder.c_str());
  return 0;
}
