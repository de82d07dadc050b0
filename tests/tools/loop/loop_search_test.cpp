#include "tools/loop/loop_search.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/dsp/tones.h"
#include "tools/loop/whole_scores.h"
#include "tools/loop/zero_crossings.h"

namespace tervo {
namespace {

using Sound = std::vector<float>;

/// The rule, word by word and slowly, with nothing shared with the search.
class Transcription {
 public:
  explicit Transcription(const Sound& x) : x_(x) {}

  std::optional<LoopPair> best(const LoopRange& range) const {
    std::optional<LoopPair> best;
    const auto first = static_cast<long long>(range.first), last = static_cast<long long>(range.last);
    const auto shortest = static_cast<long long>(range.shortest), longest = static_cast<long long>(range.longest);
    if (last <= first + shortest) return best;
    for (auto e = crossingFrom(last); e && e->at >= first + shortest; e = crossingFrom(e->at - 1)) {
      for (auto s = crossingFrom(e->at - shortest + 1); s; s = crossingFrom(s->at - 1)) {
        if (s->at < first || e->at - s->at > longest) break;
        if (s->rising != e->rising) continue;
        const long double score = scoreOf(s->at, e->at);
        if (score > (best ? best->score : 0))
          best = {static_cast<std::size_t>(s->at), static_cast<std::size_t>(e->at), score};
      }
    }
    return best;
  }

 private:
  struct Crossing {
    long long at;
    bool rising;
  };
  float at(long long i) const { return i < frames() ? x_[static_cast<std::size_t>(i)] : 0; }
  long long frames() const { return static_cast<long long>(x_.size()); }

  std::optional<Crossing> crossingFrom(long long position) const {
    for (long long lower = std::min(position, frames() - 2); lower >= 0; --lower) {
      if (at(lower) == 0) continue;
      long long upper = lower + 1;
      while (upper < frames() && at(upper) == 0) ++upper;
      if (upper == frames()) continue;
      if ((at(lower) < 0 && at(upper) > 0) || (at(lower) > 0 && at(upper) < 0))
        return Crossing{lower, at(upper) > at(lower)};
    }
    return std::nullopt;
  }

  long double scoreOf(long long s, long long e) const {
    long long back = 128;
    if (e + 256 > frames() + 128) back = e - (frames() - 256);
    if (s < back) back = s;
    long double ab = 0, aa = 0, bb = 0;
    for (long long i = 0; i < 256; ++i) {
      const long double a = at(s - back + i), b = at(e - back + i);
      ab += a * b;
      aa += a * a;
      bb += b * b;
    }
    return aa == 0 || bb == 0 ? 0 : ab / std::sqrt(aa * bb);
  }

  const Sound& x_;
};

Sound scaled(Sound x, double factor) {
  for (float& sample : x) sample = static_cast<float>(sample * factor);
  return x;
}
Sound joined(const Sound& a, const Sound& b) {
  Sound both = a;
  both.insert(both.end(), b.begin(), b.end());
  return both;
}
Sound square(std::size_t frames, std::size_t halfPeriod) {
  Sound x(frames);
  for (std::size_t i = 0; i < frames; ++i) x[i] = i / halfPeriod % 2 == 0 ? 1.0f : -1.0f;
  return x;
}
Sound noisy(Sound x, double decibels) {
  tones::addNoise(x, decibels);
  return x;
}
/// From full scale to what is too soft for single precision.
Sound fading(Sound x) {
  for (std::size_t i = 0; i < x.size(); ++i)
    x[i] = static_cast<float>(x[i] * std::pow(10.0, -45.0 * static_cast<double>(i) / static_cast<double>(x.size())));
  return x;
}
/// Noise with stretches of exact zeros, and a copy of one stretch further on.
Sound patchwork() {
  Sound x = tones::noise(900);
  for (std::size_t i = 0; i < x.size(); ++i)
    if (i % 7 < 2 || (i > 350 && i < 550)) x[i] = 0;
  std::copy_n(x.begin() + 20, 300, x.begin() + 580);
  return x;
}

/// Soft noise and what is nearly the same, behind loud noise each, and everything again.
Sound softBetweenLoud() {
  const Sound a = tones::noise(320, 1e-3), off = tones::noise(320, 3e-8, 2);
  Sound b = a;
  for (std::size_t i = 0; i < b.size(); ++i) b[i] += off[i];
  const Sound once = joined(joined(tones::noise(95, 1, 3), a), joined(tones::noise(95, 1, 4), b));
  return joined(once, joined(Sound(41, 0.0f), once));
}
/// Sounds, alike but for their loudness, near the largest number there is.
Sound hugeTwice() {
  return joined(joined(tones::noise(300, 3e38), Sound(120, 0.0f)), tones::noise(300, 1.6e38));
}

void expectWhatTheRuleSays(const std::string& name, const Sound& x) {
  const std::size_t n = x.size();
  for (const LoopRange range :
       {LoopRange{0, n, 32, n}, LoopRange{n / 4, n, 60, n / 2}, LoopRange{n / 3, n * 3 / 4, 32, 200},
        LoopRange{0, n, 130, 136}, LoopRange{0, n, 350, 500}, LoopRange{n / 2, n / 2 + 20, 32, 50}}) {
    const auto expected = Transcription(x).best(range);
    for (const auto method : {SearchMethod::automatic, SearchMethod::oneByOne, SearchMethod::probes,
                              SearchMethod::cells, SearchMethod::lags}) {
      SCOPED_TRACE(name + " from " + std::to_string(range.first) + ", method " +
                   std::to_string(static_cast<int>(method)));
      const auto found = findLoops(
          x, range, 1, [](double) { return true; }, method);
      ASSERT_EQ(!found.loops.empty(), expected.has_value());
      if (!expected) continue;
      EXPECT_EQ(found.loops[0].start, expected->start);
      EXPECT_EQ(found.loops[0].end, expected->end);
      EXPECT_EQ(found.loops[0].score, expected->score);
    }
  }
}

TEST(LoopSearch, findsWhatTheRuleSays) {
  const auto& string = tones::models[1];
  const struct {
    std::string name;
    Sound x;
  } sounds[] = {
      {"noise", tones::noise(600)},
      {"soft noise", scaled(tones::noise(450, 0.5, 7), 1e-20)},
      {"string", tones::tone(string, 331.7, 0.03)},
      {"low string", tones::tone(string, 60.3, 0.07)},
      {"exact periods", tones::tone(tones::models[0], 441, 0.03)},
      {"vibrato", tones::tone(tones::models[6], 220, 0.06)},
      {"patchwork", patchwork()},
      {"square", square(700, 25)},
      {"short square", square(1500, 3)},
      {"bright high tone", tones::tone(tones::models[4], 1046, 0.06)},
      {"bright high tone with noise", noisy(tones::tone(tones::models[4], 4186, 0.02), 50)},
      {"equal but for rounding", tones::tone(tones::models[4], 2100, 0.03)},
      {"high tone", tones::tone(tones::models[0], 4410, 0.06)},
      {"fading away", fading(tones::tone(string, 3000, 0.06))},
      {"bursts", joined(joined(tones::noise(200), Sound(500, 0.0f)), tones::noise(200))},
      {"loud after soft", joined(scaled(tones::tone(string, 500, 0.03), 1e-4), tones::tone(string, 503, 0.03))},
      {"soft between loud", softBetweenLoud()},
      {"huge, twice", hugeTwice()},
      {"constant", Sound(600, 0.5f)},
      {"silence", Sound(600, 0.0f)},
      {"257 frames", tones::noise(257)},
      {"255 frames", tones::noise(255)},
      {"33 frames", tones::noise(33)},
      {"32 frames", tones::noise(32)},
      {"31 frames", tones::noise(31)},
      {"1 frame", Sound(1, 0.5f)},
      {"nothing", {}},
  };
  for (const auto& [name, x] : sounds) expectWhatTheRuleSays(name, x);
}

// Stretches of recorded instruments, from all over a bank.
TEST(LoopSearch, findsWhatTheRuleSaysInRecordings) {
  std::ifstream file("/usr/share/sounds/sf2/TimGM6mb.sf2", std::ios::binary);
  const std::vector<char> bank(std::istreambuf_iterator<char>(file), {});
  if (bank.empty()) GTEST_SKIP() << "there is no bank with recordings";
  constexpr std::size_t stretches = 10, bytes = 2400;
  for (std::size_t i = 0; i < stretches; ++i) {
    const std::size_t at = bank.size() / 10 + i * bank.size() / 12;
    int16_t words[bytes / 2];
    std::memcpy(words, &bank[at / 2 * 2], bytes);
    expectWhatTheRuleSays("recording at " + std::to_string(at), Sound(std::begin(words), std::end(words)));
  }
}

// Frames that repeat themselves exactly, nearly and not at all, in whatever order they are asked for.
TEST(WholeScores, areThoseOfThePairsWhateverWasKept) {
  Sound x = tones::tone(tones::models[4], 2100, 0.1);
  std::copy_n(x.begin(), 2000, x.begin() + 2100);
  for (std::size_t i = 2100; i < 4100; i += 97) x[i] = std::nextafter(x[i], 1.0f);
  std::mt19937 random(1);
  WholeScores scores(x);
  for (int round = 0; round < 300; ++round) {
    std::vector<WholeScores::Pair> pairs(random() % 40);
    for (auto& [start, end, score] : pairs) {
      start = spanBefore + random() % 300 + 21 * (random() % 50);
      end = start + 21 * (random() % 60 + 50);
    }
    scores.make(pairs);
    for (const auto& [start, end, score] : pairs) ASSERT_EQ(score, spanScore(x, start, end)) << start << ' ' << end;
  }
}

TEST(LoopSearch, stopsWhenTold) {
  int asked = 0;
  const auto result = findLoops(tones::noise(1200), {0, 1200, 32, 1200}, 1, [&](double) { return ++asked < 2; });
  EXPECT_TRUE(result.stopped);
  EXPECT_TRUE(result.loops.empty());
}

TEST(LoopSearch, othersAreElsewhereAndNoBetter) {
  const auto sound = tones::tone(tones::models[6], 220, 0.2);
  const auto loops = findLoops(sound, {0, sound.size(), 400, sound.size()}, 4, [](double) { return true; }).loops;
  ASSERT_EQ(loops.size(), 4u);
  const auto apart = [](std::size_t a, std::size_t b) { return (a > b ? a - b : b - a) > 256; };
  for (std::size_t i = 0; i < loops.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      EXPECT_LE(loops[i].score, loops[j].score);
      EXPECT_TRUE(apart(loops[i].start, loops[j].start) || apart(loops[i].end, loops[j].end));
    }
  }
}

TEST(ZeroCrossings, leaveOutZerosAndNameTheEarlierSample) {
  const Sound x = {0, 0, 1, 0, 0, -1, 2, 2, 0, 3, -1, 0};
  const std::vector<ZeroCrossing> all = {{2, false}, {5, true}, {9, false}};
  EXPECT_EQ(zeroCrossings(x, 0, 12), all);
  EXPECT_EQ(zeroCrossings(x, 2, 9), all);
  EXPECT_EQ(zeroCrossings(x, 3, 8), std::vector<ZeroCrossing>({{5, true}}));
  EXPECT_EQ(nearestCrossing(zeroCrossings(x, 0, x.size()), 3.5)->position, 2u);
  EXPECT_EQ(nearestCrossing(zeroCrossings(x, 0, x.size()), 3.6)->position, 5u);
  EXPECT_EQ(nearestCrossing(zeroCrossings(x, 0, x.size()), 5, false)->position, 2u);
  EXPECT_FALSE(nearestCrossing({}, 5));
}

TEST(LoopRangeRule, followsPercentagesAndPeriods) {
  const Pitch hundred{100, 4};
  const struct {
    std::size_t frames;
    LoopPercentages asked;
    std::optional<Pitch> pitch;
    std::size_t first, last, shortest, longest;
  } cases[] = {
      {1000, {25, 75, 10}, {}, 250, 750, 100, 500},
      {1000, {0, 100, 90}, {}, 0, 1000, 500, 1000},  // the least length is at most half of the range
      {1000, {90, 10, 0}, {}, 68, 100, 32, 32},      // the start gives way
      {1000, {0, 0, 0}, {}, 0, 32, 32, 32},
      {20, {50, 50, 50}, {}, 0, 20, 32, 20},
      {0, {50, 50, 50}, {}, 0, 0, 32, 0},
      // 1000 / 102 = 9.8, 1000 / 98 = 10.2: 9..11, doubled to 144..176
      {1000, {25, 75, 10}, hundred, 250, 750, 144, 176},
      {1000, {25, 75, 0}, hundred, 250, 750, 32, 44},  // 11, doubled
      // 1000 / 2 = 500 and 1000 / 1.5, longer than the range: it moves to the end
      {1000, {40, 60, 0}, Pitch{1.75, 0.5}, 333, 1000, 500, 667},
      {600, {40, 60, 0}, Pitch{1.75, 0.5}, 0, 600, 500, 600},
  };
  for (const auto& each : cases) {
    const LoopRange range = loopRange(each.frames, each.asked, each.pitch, 1000);
    EXPECT_EQ(range.first, each.first) << each.frames << ' ' << each.asked.from;
    EXPECT_EQ(range.last, each.last) << each.frames << ' ' << each.asked.from;
    EXPECT_EQ(range.shortest, each.shortest) << each.frames << ' ' << each.asked.from;
    EXPECT_EQ(range.longest, each.longest) << each.frames << ' ' << each.asked.from;
  }
}

}  // namespace
}  // namespace tervo
