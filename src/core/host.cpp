#include "core/host.h"

#include "base/last_error.h"
#include "core/waveform.h"

namespace tervo {

std::vector<std::unique_ptr<Waveform>> Host::render(const Item&) {
  setLastErrorText(u"Failed to render synth to wave");
  return {};
}

}  // namespace tervo
