#pragma once
// What a rendering has made: frames written to a scratch file while they are made, so that a long song needs no more
// memory than a short one, and read from there as sample data.

#include <memory>
#include <span>
#include <vector>

#include "core/sample_data.h"
#include "platform/scratch_file.h"

namespace tervo::audio {

/// Collects interleaved stereo frames.
class RenderSink {
 public:
  RenderSink() : file_(platform::ScratchFile::create()) {}

  /// False with LastErrorText once the file has failed.
  bool append(std::span<const float> stereo);
  float peak() const { return peak_; }
  /// So many frames of silence, which take no room.
  bool appendSilence(int64_t frames);

  struct Finish {
    bool normalised = false;   ///< the largest sample becomes full scale
    bool cutsSilence = false;  ///< at both ends, what lies 90 dB below the largest sample
  };
  /// Null with LastErrorText when the file has failed.
  SampleRef finish(Finish how);

 private:
  bool flush();
  int64_t firstHeard(float level) const;
  int64_t lastHeard(float level) const;

  std::shared_ptr<platform::ScratchFile> file_;
  std::vector<float> buffer_;
  int64_t frames_ = 0;
  int64_t soundStart_ = -1, soundEnd_ = 0;  ///< frames that are not all zero lie between
  float peak_ = 0;
};

}  // namespace tervo::audio
