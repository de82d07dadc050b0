#include "platform/heap.h"

namespace tervo::platform {

void growHeapInLargePages() {}  // large pages need a privilege that users do not have

}  // namespace tervo::platform
