#pragma once
// Detect operations that several formats share.

#include <cstddef>
#include <cstdint>
#include <span>

namespace tervo {

/// For formats whose bytes carry no mark of their own: always 2, which wins with the right extension and loses to row 0
/// without it.
int detectByExtension(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);

}  // namespace tervo
