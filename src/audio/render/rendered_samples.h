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
  int64_t frames() const { return frames_; }

  struct Finish {
    bool normalised = false;   ///< the largest sample becomes full scale
    bool cutsSilence = false;  ///< at both ends
  };
  /// Null with LastErrorText when the file has failed.
  SampleRef finish(Finish how);

 private:
  bool flush();

  std::shared_ptr<platform::ScratchFile> file_;
  std::vector<float> buffer_;
  int64_t frames_ = 0;
  int64_t firstHeard_ = -1, lastHeard_ = -1;  ///< frames above silence
  float peak_ = 0;
};

}  // namespace tervo::audio
