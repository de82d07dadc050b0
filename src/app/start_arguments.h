#pragma once
// What the desktop program is asked for when it starts.

#include <functional>
#include <vector>

#include "base/text.h"

namespace tervo {

/// One argument behind the program's own path.
enum class Argument : uint8_t {
  file,
  batch,      ///< BATCH: run the batch wizard, then end
  noBoxes,    ///< NOMSG: no message boxes for failures of the start
  newWindow,  ///< --new-window: another window beside one that runs
  ignored     ///< an unknown switch, or the program's own path
};

/// Switches begin with "-" or "/", in any case. `isFile` says whether an argument that begins with "/" names a file: it
/// then is one, which matters where paths begin so.
Argument kindOf(TextView argument, const std::function<bool(TextView)>& isFile);

struct StartArguments {
  std::vector<Text> files;
  bool runsBatch = false;
  bool showsBoxes = true;
  bool wantsNewWindow = false;
};

/// Reads switches in order; those behind BATCH are not looked at.
StartArguments readArguments(const std::vector<Text>& arguments, const std::function<bool(TextView)>& isFile);

}  // namespace tervo
