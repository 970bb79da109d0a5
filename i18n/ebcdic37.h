// EBCDIC code page 37, and which of it every EBCDIC code set of ours shares.
#pragma once

#include <array>
#include <cstdint>

namespace vel::i18n {

extern const std::array<bool, 256> invar_eb_to_ucs;    // this byte means the same in all of them
extern const std::array<uint16_t, 256> def_eb_to_ucs;  // byte to value
extern const std::array<bool, 256> invar_ucs_to_eb;    // this value has the same byte in all
extern const std::array<uint8_t, 256> def_ucs_to_eb;   // value to byte

inline constexpr uint8_t kShiftOut = 0x0E;   // to pairs
inline constexpr uint8_t kShiftIn = 0x0F;    // back to single bytes
inline constexpr uint8_t kFirstLead = 0x40;  // of a pair
inline constexpr uint8_t kLastLead = 0xFE;
inline constexpr uint8_t kEbcdicSubstitute = 0x6F;  // "?"

}  // namespace vel::i18n
