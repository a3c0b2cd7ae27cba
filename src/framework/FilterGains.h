#pragma once

// A filter's 8-bit tables as gains: entry i = min(255, floor(i * gain) + offset), less one
// where i's bit of `lessOne` says so. Multipliers given in floating point make tables that
// no fixed-point gain reproduces alone (5 * 1.4 rounds to 7, 45 * 1.4 to 62.99...), but a
// gain a hair above the multiplier is never more than one above an entry. Vector rows
// compute this in 16-bit lanes and look the bit up in the 32-byte map with two 16-entry byte
// shuffles, where a 256-entry look-up would take dozens.

#include <cstdint>

namespace ZnConvertersLib {

class RGBFilter;

struct ChannelGain8 {
    uint16_t whole;     // at most 256: 255 * 257 still fits a 16-bit word
    uint16_t fraction;  // of 65536
    uint16_t offset;
    bool anyLessOne;
    // Bit (i >> 4) & 7 of byte (i >> 7) * 16 + (i & 15): the low nibble picks the byte of
    // either 16-byte half, so one shuffle of each half finds it.
    uint8_t lessOne[32];
};

constexpr bool IsLessOne(const uint8_t* lessOne, uint32_t value) {
    return ((lessOne[(value >> 7) * 16 + (value & 15)] >> ((value >> 4) & 7)) & 1) != 0;
}

inline void SetLessOne(uint8_t* lessOne, uint32_t value) {
    uint8_t& byte = lessOne[(value >> 7) * 16 + (value & 15)];
    byte = static_cast<uint8_t>(byte | (1u << ((value >> 4) & 7)));
}

constexpr uint8_t ApplyGain(const ChannelGain8& gain, uint32_t value) {
    const uint32_t scaled = value * gain.whole + ((value * gain.fraction) >> 16) + gain.offset;
    const uint32_t clamped = scaled < 255 ? scaled : 255;
    return static_cast<uint8_t>(clamped - (IsLessOne(gain.lessOne, value) ? 1 : 0));
}

struct RGBFilterGains {
    // The red, green and blue gains that reproduce the filter's 8-bit tables exactly, or
    // null when its tables are not known to be gains. Valid until the filter changes.
    static const ChannelGain8* Get(const RGBFilter& filter);
};

}  // namespace ZnConvertersLib
