#include "ZnConvertersLib/RGBFilter.h"

#include <atomic>
#include <cmath>
#include <vector>

#include "ZnConvertersLib/Types.h"
#include "framework/FilterGains.h"

namespace ZnConvertersLib {

using ZnUtilsLib::Result;

struct RGBFilter::Tables {
    explicit Tables(uint32_t entries)
        : red8(256), green8(256), blue8(256), red16(entries), green16(entries), blue16(entries) {}
    std::vector<uint8_t> red8, green8, blue8;
    std::vector<unsigned short> red16, green16, blue16;
    // The 8-bit tables as gains, when SetMultipliers made them and no entry was set
    // since. Conversions on other threads read them while holding no lock.
    std::atomic<bool> gainsValid{false};
    ChannelGain8 gains[3] = {};
};

namespace {

// The gain that reproduces every entry of `table8`, or false. Gains just above the
// multiplier leave each entry equal or one below, which the bit map records; the first
// that fits is kept.
bool FitGain(double multiplier, unsigned short offset, const uint8_t* table8, ChannelGain8& out) {
    const double capped = multiplier < 256.0 ? multiplier : 256.0;
    const auto floorFixed = static_cast<uint32_t>(std::floor(capped * 65536.0));
    for (const uint32_t fixed : {floorFixed + 1, floorFixed + 2, floorFixed}) {
        ChannelGain8 gain{static_cast<uint16_t>(fixed >> 16),
                          static_cast<uint16_t>(fixed & 0xFFFF),
                          offset,
                          false,
                          {}};
        bool fits = gain.whole <= 256;
        for (uint32_t i = 0; i < 256 && fits; ++i) {
            const uint32_t computed = ApplyGain(gain, i);
            if (computed == table8[i] + 1u) {
                SetLessOne(gain.lessOne, i);
                gain.anyLessOne = true;
            } else {
                fits = computed == table8[i];
            }
        }
        if (fits) {
            out = gain;
            return true;
        }
    }
    return false;
}

}  // namespace

const ChannelGain8* RGBFilterGains::Get(const RGBFilter& filter) {
    const RGBFilter::Tables& tables = *filter.mTables;
    return tables.gainsValid.load(std::memory_order_acquire) ? tables.gains : nullptr;
}

RGBFilter::RGBFilter(uint32_t bitSize)
    : mBitSize(bitSize),
      mEntryCount(1u << (bitSize & 31)),
      mMaximumValue(mEntryCount - 1),
      mIsIdentity(false),
      mTables(std::make_shared<Tables>(mEntryCount)) {
    mRed8 = mTables->red8.data();
    mGreen8 = mTables->green8.data();
    mBlue8 = mTables->blue8.data();
    mRed16 = mTables->red16.data();
    mGreen16 = mTables->green16.data();
    mBlue16 = mTables->blue16.data();
    // What SetIdentity does, without a setter call per entry: inside the constructor the
    // setters cannot be overridden yet, so the tables come out the same. Five filters of
    // up to 65536 entries are built while the library loads.
    for (uint32_t i = 0; i < mEntryCount; ++i) {
        mRed16[i] = mGreen16[i] = mBlue16[i] = static_cast<unsigned short>(i);
    }
    for (uint32_t i = 0; i < 256 && i < mEntryCount; ++i) {
        mRed8[i] = mGreen8[i] = mBlue8[i] = static_cast<uint8_t>(i);
    }
    mIsIdentity = true;
}

RGBFilter::RGBFilter(const RGBFilter& other) = default;
RGBFilter& RGBFilter::operator=(const RGBFilter& other) = default;

RGBFilter::~RGBFilter() {
    mRed8 = mGreen8 = mBlue8 = nullptr;
    mRed16 = mGreen16 = mBlue16 = nullptr;
}

uint32_t RGBFilter::GetBitSize() const {
    return mBitSize;
}
uint32_t RGBFilter::GetEntryCount() const {
    return mEntryCount;
}

Result RGBFilter::SetValue(unsigned short* table16, uint8_t* table8, uint32_t index,
                           unsigned short value, bool updateIdentity) {
    if (index >= GetEntryCount() || value >= GetEntryCount()) {
        return Result(ResultCode::kInvalidRequest);
    }
    mTables->gainsValid.store(false, std::memory_order_relaxed);
    table16[index] = value;
    uint32_t written = value;
    if (index < 256) {
        table8[index] = static_cast<uint8_t>(value >= 256 ? 255 : value);
        written = table8[index];
    }
    if (updateIdentity) {
        if (index == written) {
            UpdateIdentity();
        } else {
            mIsIdentity = false;
        }
    }
    return Result(ResultCode::kSuccess);
}

Result RGBFilter::SetRedValue(uint32_t index, unsigned short value, bool updateIdentity) {
    return SetValue(mRed16, mRed8, index, value, updateIdentity);
}
Result RGBFilter::SetGreenValue(uint32_t index, unsigned short value, bool updateIdentity) {
    return SetValue(mGreen16, mGreen8, index, value, updateIdentity);
}
Result RGBFilter::SetBlueValue(uint32_t index, unsigned short value, bool updateIdentity) {
    return SetValue(mBlue16, mBlue8, index, value, updateIdentity);
}

Result RGBFilter::SetMultipliers(double red, double green, double blue) {
    return SetMultipliers(red, green, blue, 0, 0, 0);
}

Result RGBFilter::SetMultipliers(double red, double green, double blue, unsigned short redOffset,
                                 unsigned short greenOffset, unsigned short blueOffset) {
    if (red < 0.0 || green < 0.0 || blue < 0.0) return Result(ResultCode::kInvalidRequest);
    const uint32_t count = GetEntryCount();
    const auto scaled = [count](uint32_t i, double multiplier, unsigned short offset) {
        double v = static_cast<double>(i) * multiplier + static_cast<double>(offset);
        if (v >= static_cast<double>(count)) v = static_cast<double>(count) - 1.0;
        return static_cast<unsigned short>(static_cast<uint32_t>(v));
    };
    for (uint32_t i = 0; i < count; ++i) {
        SetRedValue(i, scaled(i, red, redOffset), false);
        SetGreenValue(i, scaled(i, green, greenOffset), false);
        SetBlueValue(i, scaled(i, blue, blueOffset), false);
    }
    UpdateIdentity();
    // Conversions compute gains instead of looking every channel up; fitted against the
    // tables as they now are, since a derived filter's setters may have written others.
    Tables& tables = *mTables;
    if (GetEntryCount() >= 256 && FitGain(red, redOffset, mRed8, tables.gains[0]) &&
        FitGain(green, greenOffset, mGreen8, tables.gains[1]) &&
        FitGain(blue, blueOffset, mBlue8, tables.gains[2])) {
        tables.gainsValid.store(true, std::memory_order_release);
    }
    return Result(ResultCode::kSuccess);
}

void RGBFilter::SetIdentity() {
    const uint32_t count = GetEntryCount();
    for (uint32_t i = 0; i < count; ++i) {
        const auto v = static_cast<unsigned short>(i);
        SetRedValue(i, v, false);
        SetGreenValue(i, v, false);
        SetBlueValue(i, v, false);
    }
    mIsIdentity = true;
}

void RGBFilter::UpdateIdentity() {
    // Index 256 can never match an 8-bit green entry, so wider filters never report
    // identity from here; stopping there keeps every read inside the 8-bit tables.
    const uint32_t count = mEntryCount;
    mIsIdentity = count <= 256;
    const uint32_t checked = count < 256 ? count : 256;
    for (uint32_t i = 0; i < checked && mIsIdentity; ++i) {
        if (mRed16[i] != i || mGreen8[i] != i || mBlue8[i] != i || mRed8[i] != i) {
            mIsIdentity = false;
        }
    }
}

}  // namespace ZnConvertersLib
