#include "dsp/loudness.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/last_error.h"

namespace tervo::dsp {
namespace {

struct StateDelete {
  void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
};
using State = std::unique_ptr<ebur128_state, StateDelete>;

class Ebur128Meter final : public LoudnessMeter {
 public:
  explicit Ebur128Meter(State state) : state_(std::move(state)) {}

  bool add(std::span<const float> frames) override {
    finite_.assign(frames.begin(), frames.end());
    std::replace_if(
        finite_.begin(), finite_.end(), [](float sample) { return !std::isfinite(sample); }, 0.0f);
    const int added = ebur128_add_frames_float(state_.get(), finite_.data(), finite_.size() / state_->channels);
    return added == EBUR128_SUCCESS || fail(u"Out of memory");
  }

  std::optional<double> loudness() const override {
    double loudness = 0;
    if (ebur128_loudness_global(state_.get(), &loudness) != EBUR128_SUCCESS || !std::isfinite(loudness))
      return std::nullopt;
    return loudness;
  }

  double truePeak() const override {
    double highest = 0;
    for (unsigned channel = 0; channel < state_->channels; ++channel) {
      double peak = 0;
      if (ebur128_true_peak(state_.get(), channel, &peak) == EBUR128_SUCCESS) highest = std::max(highest, peak);
    }
    return highest;
  }

 private:
  State state_;
  std::vector<float> finite_;
};

}  // namespace

std::unique_ptr<LoudnessMeter> LoudnessMeter::create(int channels, double sampleRate) {
  const auto rate = static_cast<unsigned long>(std::llround(std::clamp(sampleRate, 0.0, 1e9)));
  State state(ebur128_init(static_cast<unsigned>(channels), rate, EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK));
  if (!state) return fail(u"The loudness of this sample rate cannot be measured");
  return std::make_unique<Ebur128Meter>(std::move(state));
}

}  // namespace tervo::dsp
