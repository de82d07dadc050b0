#pragma once
// The order of names as people sort them: "Tom 2" before "Tom 10".

#include "base/text.h"

namespace tervo::fixup {

/// Runs of digits compare by their value, letters without regard to case. Names that differ only in case or in leading
/// zeros are equal.
bool naturallyBefore(TextView a, TextView b);

}  // namespace tervo::fixup
