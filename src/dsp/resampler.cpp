#include "dsp/resampler.h"

#include <soxr.h>

#include "base/last_error.h"

namespace tervo {
namespace {

struct SoxrDelete {
  void operator()(soxr_t handle) const { soxr_delete(handle); }
};
using SoxrHandle = std::unique_ptr<soxr, SoxrDelete>;

class SoxrResampler final : public Resampler {
 public:
  SoxrResampler(SoxrHandle handle, int channels)
      : handle_(std::move(handle)), channels_(static_cast<std::size_t>(channels)) {}

  Step process(std::span<const float> in, std::span<float> out) override {
    Step step;
    soxr_process(handle_.get(), in.empty() ? nullptr : in.data(), in.size() / channels_, &step.framesConsumed,
                 out.data(), out.size() / channels_, &step.framesProduced);
    return step;
  }

 private:
  SoxrHandle handle_;
  std::size_t channels_;
};

}  // namespace

std::unique_ptr<Resampler> Resampler::create(double fromHz, double toHz, int channels) {
  soxr_error_t error = nullptr;
  const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
  const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
  SoxrHandle handle(soxr_create(fromHz, toHz, static_cast<unsigned>(channels), &error, &io, &quality, &runtime));
  if (error || !handle) return fail(u"Can't convert the sample rate");
  return std::make_unique<SoxrResampler>(std::move(handle), channels);
}

}  // namespace tervo
