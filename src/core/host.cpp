#include "core/host.h"

#include "base/last_error.h"
#include "core/waveform.h"

namespace tervo {

std::unique_ptr<Waveform> Host::renderSong(const Song&) {
  return fail(u"Failed to render synth to wave");
}

}  // namespace tervo
