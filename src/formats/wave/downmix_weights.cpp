#include <algorithm>
#include <array>
#include <bit>
#include <numeric>

#include "formats/wave/pcm_import.h"

namespace tervo {
namespace {

struct Weights {
  float left;
  float right;
};

constexpr float minus3dB = 0.70710678f;
constexpr Weights centre{minus3dB, minus3dB};

// By bit of the speaker mask (ksmedia.h). BS.775 gives front, centre and surrounds. The others follow from it: front
// left of centre is panned with constant power between left and centre, a back centre is a surround shared by both
// sides, and height is treated as surround.
// clang-format off
constexpr std::array<Weights, 18> weightsOfSpeaker{{
  {1,        0       },  // front left
  {0,        1       },  // front right
  centre,                // front centre
  {0,        0       },  // low frequency
  {minus3dB, 0       },  // back left
  {0,        minus3dB},  // back right
  {0.92388f, 0.38268f},  // front left of centre
  {0.38268f, 0.92388f},  // front right of centre
  {0.5f,     0.5f    },  // back centre
  {minus3dB, 0       },  // side left
  {0,        minus3dB},  // side right
  {0.5f,     0.5f    },  // top centre
  {minus3dB, 0       },  // top front left
  {0.5f,     0.5f    },  // top front centre
  {0,        minus3dB},  // top front right
  {minus3dB, 0       },  // top back left
  {0.5f,     0.5f    },  // top back centre
  {0,        minus3dB},  // top back right
}};

// What a file means that has no mask: 3.0, quadraphonic, 5.0, 5.1, 6.1, 7.1.
constexpr std::array<uint32_t, 9> usualMask{0, 0x4, 0x3, 0x7, 0x33, 0x37, 0x3F, 0x13F, 0x63F};
// clang-format on

float sum(const std::vector<float>& weights) {
  return std::accumulate(weights.begin(), weights.end(), 0.0f);
}

}  // namespace

DownmixWeights downmixWeights(int channels, uint32_t channelMask) {
  const auto count = static_cast<std::size_t>(channels);
  if (channelMask == 0 && count < usualMask.size()) channelMask = usualMask[count];

  DownmixWeights weights{std::vector(count, centre.left), std::vector(count, centre.right)};
  for (std::size_t channel = 0; channel < count && channelMask != 0; ++channel) {
    const auto speaker = static_cast<std::size_t>(std::countr_zero(channelMask));
    channelMask &= channelMask - 1;
    if (speaker >= weightsOfSpeaker.size()) continue;
    weights.left[channel] = weightsOfSpeaker[speaker].left;
    weights.right[channel] = weightsOfSpeaker[speaker].right;
  }
  const float loudest = std::max({sum(weights.left), sum(weights.right), 1.0f});
  for (float& weight : weights.left) weight /= loudest;
  for (float& weight : weights.right) weight /= loudest;
  return weights;
}

}  // namespace tervo
