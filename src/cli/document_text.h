#pragma once
// A document for people to read: what `tervo info` prints.

#include <string>

#include "core/collection.h"

namespace tervo::cli {

std::string documentText(const Text& path, const Collection& collection);

}  // namespace tervo::cli
