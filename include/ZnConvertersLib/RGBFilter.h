#pragma once

#include <cstdint>
#include <memory>

#include "ZnUtilsLib/Result.h"

namespace ZnConvertersLib {

// Per-channel look-up tables (white balance, gain, offset) that conversions from colour
// sources apply to each 8-bit channel value. The 8-bit tables always have 256 entries;
// the 16-bit tables have 2^bitSize entries.
//
// Copies share their tables with the object they were copied from (changing one changes
// the other). The tables live in one reference-counted block, freed with the last
// filter that uses it, so copies may be assigned and destroyed in any order.
class RGBFilter {
public:
    explicit RGBFilter(uint32_t bitSize);
    RGBFilter(const RGBFilter& other);
    RGBFilter& operator=(const RGBFilter& other);

    virtual ~RGBFilter();                    // slot 0
    virtual uint32_t GetBitSize() const;     // slot 1
    virtual uint32_t GetEntryCount() const;  // slot 2
    // value = truncate(min(index * multiplier + offset, entryCount - 1)); code 18 if any
    // multiplier is negative.
    virtual ZnUtilsLib::Result SetMultipliers(double red, double green, double blue,
                                              unsigned short redOffset, unsigned short greenOffset,
                                              unsigned short blueOffset);              // slot 3
    virtual ZnUtilsLib::Result SetMultipliers(double red, double green, double blue);  // slot 4
    // Code 18 when index or value is not below the entry count.
    virtual ZnUtilsLib::Result SetRedValue(uint32_t index, unsigned short value,
                                           bool updateIdentity);  // slot 5
    virtual ZnUtilsLib::Result SetGreenValue(uint32_t index, unsigned short value,
                                             bool updateIdentity);  // slot 6
    virtual ZnUtilsLib::Result SetBlueValue(uint32_t index, unsigned short value,
                                            bool updateIdentity);  // slot 7

    // No index checks: the 8-bit getters take indices below 256 only.
    uint8_t GetRedValue8(uint32_t index) const { return mRed8[index]; }
    uint8_t GetGreenValue8(uint32_t index) const { return mGreen8[index]; }
    uint8_t GetBlueValue8(uint32_t index) const { return mBlue8[index]; }
    unsigned short GetRedValue16(uint32_t index) const { return mRed16[index]; }
    unsigned short GetGreenValue16(uint32_t index) const { return mGreen16[index]; }
    unsigned short GetBlueValue16(uint32_t index) const { return mBlue16[index]; }

    // Direct access to the 256-entry 8-bit tables, for kernels.
    const uint8_t* GetRedTable8() const { return mRed8; }
    const uint8_t* GetGreenTable8() const { return mGreen8; }
    const uint8_t* GetBlueTable8() const { return mBlue8; }

    uint32_t GetMaximumValue() const { return mMaximumValue; }
    bool IsIdentity() const { return mIsIdentity; }
    void SetIdentity();

protected:
    // Reports identity only for filters of at most 256 entries: green and blue are
    // compared through their 8-bit tables, which can never hold 256.
    void UpdateIdentity();

private:
    struct Tables;
    friend struct RGBFilterGains;

    ZnUtilsLib::Result SetValue(unsigned short* table16, uint8_t* table8, uint32_t index,
                                unsigned short value, bool updateIdentity);

    uint32_t mBitSize;
    uint32_t mEntryCount;
    uint8_t* mRed8;
    uint8_t* mGreen8;
    uint8_t* mBlue8;
    unsigned short* mRed16;
    unsigned short* mGreen16;
    unsigned short* mBlue16;
    uint32_t mMaximumValue;
    bool mIsIdentity;
    std::shared_ptr<Tables> mTables;  // owner of the six arrays above
};

}  // namespace ZnConvertersLib
