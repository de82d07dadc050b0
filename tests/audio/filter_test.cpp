#include "audio/engine/filter.h"
#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

using audio::FilterType;

/// What an impulse becomes on its way through a region: the gain at any frequency can be asked.
class Response {
 public:
  explicit Response(const std::function<void(ArticulationSet&)>& set) {
    SoundLab lab;
    Frames impulse(9600);
    impulse[200] = 1;
    ArticulationSet& rows = lab.add(std::move(impulse)).articulation;
    rows.set(P::panPosition, -1);
    rows.set(P::vEnvInitialLevel, 1), rows.set(P::vEnvAttack1Level, 1);
    set(rows);
    lab.start();
    lab.press();
    sound_ = lab.left(0.2);
  }
  double at(double hertz) const {
    double real = 0, imaginary = 0;
    for (std::size_t i = 0; i < sound_.size(); ++i) {
      const double angle = 2 * std::numbers::pi * hertz * static_cast<double>(i) / rate;
      real += static_cast<double>(sound_[i]) * std::cos(angle);
      imaginary += static_cast<double>(sound_[i]) * std::sin(angle);
    }
    return dB(std::max(std::hypot(real, imaginary), 1e-9));
  }
  double highest() const {
    double best = -200;
    for (double hertz = 250; hertz < 4000; hertz *= 1.02) best = std::max(best, at(hertz));
    return best;
  }

 private:
  Frames sound_;
};

Response filtered(FilterType type, float hertz, float resonance) {
  return Response([=](ArticulationSet& rows) {
    rows.set(P::filterType, static_cast<float>(type));
    rows.set(P::filterCutoff, hertz);
    rows.set(P::filterResonance, resonance);
  });
}

TEST(Filter, PicturesShowWhatIsHeard) {
  for (int type = 1; type <= 12; ++type) {
    const Response heard = filtered(static_cast<FilterType>(type), 1000, 9);
    for (const double hertz : {125.0, 700.0, 1010.0, 3000.0}) {
      const double shown = audio::filterDb(static_cast<FilterType>(type), 1000, 9, hertz, float{rate});
      EXPECT_NEAR(shown, heard.at(hertz), 0.1) << type << " at " << hertz;
    }
  }
}

TEST(Filter, SlopesAndCutoffsAreTheirNames) {
  struct Case {
    FilterType type;
    double passes;        ///< Hz in the pass band
    double slope, stops;  ///< dB an octave at this frequency and half or double of it, whichever is farther from 1 kHz
    double atCutoff;
  };
  const Case cases[] = {
      {FilterType::passThrough, 1000, 0, 100, 0},    {FilterType::lowPass6, 20, -6, 4000, -3},
      {FilterType::lowPass12, 20, -12, 4000, -3},    {FilterType::lowPass18, 20, -18, 4000, -3},
      {FilterType::lowPass24, 20, -24, 4000, -3},    {FilterType::highPass6, 20000, -6, 100, -3},
      {FilterType::highPass12, 20000, -12, 100, -3}, {FilterType::highPass18, 20000, -18, 100, -3},
      {FilterType::highPass24, 20000, -24, 200, -3}, {FilterType::bandPass6, 1000, -6, 62, 0},
      {FilterType::bandPass12, 1000, -12, 62, 0},    {FilterType::bandReject6, 20, 0, 62, -60},
      {FilterType::bandReject12, 20, 0, 62, -60},
  };
  for (const Case& each : cases) {
    const Response response = filtered(each.type, 1000, 0);
    const auto number = static_cast<int>(each.type);
    EXPECT_NEAR(response.at(each.passes), 0, 0.1) << number;
    const double farther = each.stops > 1000 ? 2 * each.stops : each.stops / 2;
    EXPECT_NEAR(response.at(farther) - response.at(each.stops), each.slope, std::max(1.6, 0.12 * std::fabs(each.slope)))
        << number;  // the bilinear transform warps upper octaves
    if (each.atCutoff < -50)
      EXPECT_LT(response.at(1000), each.atCutoff) << number;
    else
      EXPECT_NEAR(response.at(1000), each.atCutoff, 0.15) << number;
  }
}

TEST(Filter, ResonanceIsTheHeightOfThePeak) {
  for (const FilterType type :
       {FilterType::lowPass12, FilterType::lowPass18, FilterType::lowPass24, FilterType::highPass12,
        FilterType::highPass18, FilterType::highPass24, FilterType::bandPass6, FilterType::bandPass12}) {
    for (const float resonance : {0.0f, 3.0f, 12.0f, 24.0f}) {
      const double highest = filtered(type, 1000, resonance).highest();
      EXPECT_NEAR(highest, static_cast<double>(resonance), 0.25) << static_cast<int>(type);
    }
  }
}

TEST(Filter, TheEqualizerHasThreeBands) {
  const Response response([](ArticulationSet& rows) {
    rows.set(P::eq1Mode, 1), rows.set(P::eq1Frequency, 100), rows.set(P::eq1Gain, -9);
    rows.set(P::eq2Frequency, 1000), rows.set(P::eq2Gain, 12), rows.set(P::eq2Q, 2);
    rows.set(P::eq3Mode, 2), rows.set(P::eq3Frequency, 8000), rows.set(P::eq3Gain, 6);
  });
  EXPECT_NEAR(response.at(8), -9, 0.3);
  EXPECT_NEAR(response.at(1000), 12, 0.3);
  EXPECT_NEAR(response.at(22000), 6, 0.3);
  EXPECT_NEAR(response.at(300), 0, 2);
}

TEST(Filter, KeyVelocityAndControllersMoveTheCutoff) {
  struct Case {
    const char* name;
    P row;
    float value;
    int key, velocity, wheel, pressure;
    double cutoff;
  };
  const Case cases[] = {{"key", P::keyToCutoff, 12, 72, 127, 0, 0, 2000},
                        {"velocity", P::velocityToCutoff, 12, 60, 127, 0, 0, 2000},
                        {"soft", P::velocityToCutoff, 12, 60, 1, 0, 0, 508},
                        {"wheel", P::modWheelToCutoff, -12, 60, 127, 127, 0, 500},
                        {"pressure", P::aftertouchToCutoff, 24, 60, 127, 0, 127, 4000}};
  for (const Case& each : cases) {
    SoundLab lab;
    ArticulationSet& rows = lab.addSine(each.cutoff * std::exp2((60 - each.key) / 12.0)).articulation;
    rows.set(P::filterType, static_cast<float>(FilterType::lowPass12));
    rows.set(P::filterCutoff, 1000);
    rows.set(each.row, each.value);
    rows.set(P::velocityToVolume, 0);
    lab.start();
    lab.control(1, each.wheel), lab.send(0xD0, each.pressure);
    lab.press(each.key, each.velocity);
    lab.left(0.1);
    EXPECT_NEAR(dB(rms(lab.left(0.2)) * 2), -3.01, 0.1) << each.name;
  }
}

TEST(Filter, FastSweepsStayStableAndSlowOnesAreSmooth) {
  SoundLab lab;
  ArticulationSet& rows = lab.addSine(100).articulation;
  rows.set(P::filterType, static_cast<float>(FilterType::lowPass24));
  rows.set(P::filterCutoff, 1000), rows.set(P::filterResonance, 40);
  rows.set(P::fLfoToCutoff, 96), rows.set(P::fLfoFrequency, 20), rows.set(P::fLfoShape, 10);
  lab.start();
  lab.press();
  EXPECT_LT(peak(lab.left(3)), 200);

  SoundLab smooth;
  ArticulationSet& slow = smooth.addSine(150).articulation;
  slow.set(P::filterType, static_cast<float>(FilterType::lowPass12));
  slow.set(P::filterCutoff, 400), slow.set(P::fLfoToCutoff, 12), slow.set(P::fLfoFrequency, 1);
  smooth.start();
  smooth.press();
  smooth.left(0.3);
  const Frames sound = smooth.left(1);
  // Steps from block to block would be heard as sidebands of the block rate, 750 Hz.
  for (const double side : {600.0, 900.0, 1350.0, 1650.0})
    EXPECT_LT(dB(levelAt(sound, side) / levelAt(sound, 150)), -85) << side;
}

}  // namespace
}  // namespace tervo::test
