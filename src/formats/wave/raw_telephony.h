#pragma once
// Headerless files of telephony codings: ITU-T G.721, G.723, G.726 and G.722 code words, and GSM 06.10 frames. Always
// one channel, at the rate that the coding is defined for unless the user says another.
//
// Variant of the G.72x rows: bits 0-7 the bits of a code word; TelephonyVariant::anyRate where the extension does not
// settle them, so that the bit rate asked for when saving does; BigEndian where the first code word of a byte stands in
// its most significant bits. Variant of the GSM rows: GsmVariant.

#include "formats/format_table.h"

namespace tervo {

namespace TelephonyVariant {
inline constexpr uint32_t bitsMask = 0xFF, anyRate = 0x100;
}

namespace GsmVariant {
inline constexpr uint32_t frames33 = 0, wavPairs65 = 1, modem34 = 2, modem38 = 4;
}

/// Where the user has given a raw layout, its BigEndian flag says the order instead. The bytes do not tell it, so the
/// rows that read are big-endian as the writing rows behind them are, and as ".g726" is elsewhere.
bool readG726Raw(Collection& collection, const SourceFile& file, uint32_t variant);
bool readG722Raw(Collection& collection, const SourceFile& file, uint32_t variant);
bool readGsmRaw(Collection& collection, const SourceFile& file, uint32_t variant);

bool writeG726Raw(const Item& item, TargetFile& file, uint32_t variant);
bool writeG722Raw(const Item& item, TargetFile& file, uint32_t variant);
bool writeGsmRaw(const Item& item, TargetFile& file, uint32_t variant);

/// 2, and 3 when the bytes look like this packing of frames rather than another; 5 when they bear a modem's marks.
int detectGsmRaw(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);

}  // namespace tervo
