#pragma once
// The files that a batch is to convert.

#include <atomic>
#include <functional>
#include <vector>

#include "base/text.h"

namespace tervo {

struct BatchSource {
  Text path;
  Text folder;   ///< below the folder that was named; empty at its top
  bool isNamed;  ///< itself, not a folder above it
  Text problem;  ///< a folder that cannot be read: why
};

/// Each file once, in the order named and, within folders, of names.
std::vector<BatchSource> batchSources(const std::vector<Text>& named, TextView targetFolder,
                                      const std::atomic<bool>* cancelled = nullptr);

}  // namespace tervo
