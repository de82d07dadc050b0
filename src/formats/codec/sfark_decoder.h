#pragma once
// Unpacks the banks in sfArk 2 archives: everything but the samples through zlib, samples by adaptive differences,
// linear prediction and a code of fixed low bits and unary high ones. Nobody has published the format; it is the one
// that the archiver's own free library reads.

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace tervo {

/// How an archive's samples are packed.
enum class SfArkMethod : uint8_t { turbo = 4, fast = 5, standard = 6, max = 7 };

struct SfArkLayout {
  SfArkMethod method = SfArkMethod::turbo;
  uint32_t originalBytes = 0;
  uint32_t samplesBegin = 0, samplesEnd = 0;  ///< in the bank
  uint32_t check = 0;                         ///< of everything
  uint32_t checkBefore = 0;                   ///< of texts before the bank
};

/// The bank; empty when the bytes make no sense. `progress` gets the part that is done and stops when it gives false.
std::vector<std::byte> unpackSfArk(std::span<const std::byte> packed, const SfArkLayout& layout,
                                   const std::function<bool(double)>& progress);

/// A text or another part that is packed through zlib, 256 KiB at most; empty when it makes no sense.
std::vector<std::byte> inflateSfArk(std::span<const std::byte> packed);
uint32_t sfArkCheck(uint32_t check, std::span<const std::byte> bytes);

}  // namespace tervo
