// Every detect operation over the same bytes, which end where the span ends, so that the sanitizer sees one byte too
// many.

#include <cstdint>
#include <cstdlib>
#include <span>

#include "formats/format_table.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto head = std::as_bytes(std::span(data, size));
  for (const auto& row : tervo::FormatTable()) {
    if (!row.detect) continue;
    for (const uint64_t fileSize : {static_cast<uint64_t>(size), uint64_t{size} + 100000, ~uint64_t{0}}) {
      const int score = row.detect(head, row.variant, fileSize);
      if (score < 0 || score > 6) std::abort();
    }
  }
  return 0;
}
