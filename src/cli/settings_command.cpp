#include <fmt/format.h>

#include "cli/commands.h"
