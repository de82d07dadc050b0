#pragma once
// One copy of the desktop program at a time: a second start hands its files to the copy that runs.

#include <functional>
#include <memory>
#include <vector>

#include "base/text.h"

namespace tervo::platform {

/// The copy that runs, as others find it: on Linux by a socket of the user and the display, on Windows by a top-level
/// window of the class "muiWindow" whose title says "Tervo Studio".
class RunningInstance {
 public:
  /// Gets the paths that another start hands over, maybe none: that copy wants this one to come forward. Called in a
  /// thread of its own or in the one that announced; not any more once the object is gone.
  using Receiver = std::function<void(std::vector<Text> paths)>;

  /// From now on others find this copy. Null with LastErrorText; also where one is announced already.
  static std::unique_ptr<RunningInstance> announce(TextView title, Receiver receiver);
  virtual ~RunningInstance() = default;

  /// After the title of the main window has changed.
  virtual void setTitle(TextView) {}
};

/// Why announce() fails where another copy was faster.
inline constexpr TextView anotherCopyRuns = u"Another copy runs already";

/// Gives absolute paths to the copy that runs. False when there is none, or it does not answer within moments.
bool handOver(const std::vector<Text>& paths);

}  // namespace tervo::platform
