#include "ZnConvertersLib/ConversionContext.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>
#include <vector>

#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "framework/ThreadConversionState.h"

namespace ZnConvertersLib {

namespace ThreadStateDetail {

thread_local ThreadConversionState tState __attribute__((tls_model("initial-exec"))){};

namespace {

// Every thread's block, so diagnostics can count the threads inside a conversion.
struct ThreadList {
    std::mutex mutex;
    std::vector<const ThreadConversionState*> states;
};

ThreadList& Threads() {
    static ThreadList* sList = new ThreadList;  // outlives every thread's exit
    return *sList;
}

// Takes the thread's block off the list when the thread ends.
struct ThreadListing {
    ~ThreadListing() {
        ThreadList& list = Threads();
        std::lock_guard<std::mutex> lock(list.mutex);
        list.states.erase(std::find(list.states.begin(), list.states.end(), &tState));
    }
};

constexpr std::array<uint8_t, 256> MakeIdentityTable8() {
    std::array<uint8_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<uint8_t>(i);
    return table;
}

constexpr std::array<uint8_t, 256> kIdentityTable8 = MakeIdentityTable8();

// Fields are written one by one, in place: a table block assembled elsewhere and copied
// in whole makes the copy wait on the narrower stores that built it (some 5 ns a call).
void FillTables(const RGBFilter& filter, FilterTables8& tables) {
    tables.red = filter.GetRedTable8();
    tables.green = filter.GetGreenTable8();
    tables.blue = filter.GetBlueTable8();
    tables.gains = nullptr;
    if (IsDefaultFilter(filter)) {
        tables.identity = true;
        return;
    }
    // Known gains answer the identity question without reading the tables.
    if (const ChannelGain8* gains = RGBFilterGains::Get(filter)) {
        bool unity = true;
        for (int c = 0; c < 3; ++c) {
            const ChannelGain8& gain = gains[c];
            unity = unity && gain.whole == 1 && gain.fraction == 0 && gain.offset == 0 &&
                    !gain.anyLessOne;
        }
        tables.identity = unity;
        tables.gains = unity ? nullptr : gains;
        return;
    }
    const uint8_t* identity = kIdentityTable8.data();
    tables.identity = std::memcmp(tables.red, identity, 256) == 0 &&
                      std::memcmp(tables.green, identity, 256) == 0 &&
                      std::memcmp(tables.blue, identity, 256) == 0;
}

}  // namespace

void ListThisThread() {
    thread_local ThreadListing tListing;
    ThreadList& list = Threads();
    std::lock_guard<std::mutex> lock(list.mutex);
    list.states.push_back(&tState);
    tState.listed = true;
}

const FilterTables8& CompareActiveTables(const ConversionContext& context) {
    FillTables(context.filter ? *context.filter : GetDefaultFilter(8), tState.scratchTables);
    return tState.scratchTables;
}

}  // namespace ThreadStateDetail

ConversionContext* AcquireConversionContext() {
    return AcquireKernelContext();
}

void ReleaseConversionContext(ConversionContext* context) {
    ReleaseKernelContext(context);
}

uint32_t CountActiveConversionContexts() {
    ThreadStateDetail::ThreadList& list = ThreadStateDetail::Threads();
    std::lock_guard<std::mutex> lock(list.mutex);
    uint32_t active = 0;
    for (const ThreadStateDetail::ThreadConversionState* state : list.states) {
        if (__atomic_load_n(&state->context.referenceCount, __ATOMIC_RELAXED) != 0) ++active;
    }
    return active;
}

FilterUseScope::FilterUseScope(const ConversionContext& context)
    : mFilter(ThreadStateDetail::tState.settledFilter),
      mSettled(ThreadStateDetail::tState.settled),
      mTables(ThreadStateDetail::tState.settledTables) {
    ThreadStateDetail::ThreadConversionState& state = ThreadStateDetail::tState;
    ThreadStateDetail::FillTables(context.filter ? *context.filter : GetDefaultFilter(8),
                                  state.settledTables);
    state.settledFilter = context.filter;
    state.settled = true;
}

FilterUseScope::~FilterUseScope() {
    ThreadStateDetail::ThreadConversionState& state = ThreadStateDetail::tState;
    state.settledFilter = mFilter;
    state.settled = mSettled;
    state.settledTables = mTables;
}

}  // namespace ZnConvertersLib
