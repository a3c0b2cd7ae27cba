#include "ZnConvertersLib/PixelTypeFactory.h"

#include <atomic>
#include <limits>
#include <new>

#include "PixelTypeFactoryInternal.h"
#include "ZnConvertersLib/IdentityConverter.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnUtilsLib/LockScope.h"

namespace ZnConvertersLib {

using ZnUtilsLib::LockScope;
using ZnUtilsLib::Result;

PixelTypeFactoryInternal* PixelTypeFactory::sInternal = nullptr;

namespace {

constexpr const char* kUnregisteredName = "Unregistered pixel type";

std::atomic<ZnUtilsLib::Mutex*> gModuleLock{nullptr};

// Created by the first factory call (at load). Creation is race-free even when the first
// call comes from several threads at once: the loser of the exchange discards its lock.
ZnUtilsLib::Mutex& ModuleLock() {
    ZnUtilsLib::Mutex* lock = gModuleLock.load(std::memory_order_acquire);
    if (lock == nullptr) {
        auto* created = new ZnUtilsLib::Mutex(0);
        if (gModuleLock.compare_exchange_strong(lock, created, std::memory_order_acq_rel)) {
            lock = created;
        } else {
            delete created;
        }
    }
    return *lock;
}

class NullConverterType : public PixelConverter {
public:
    NullConverterType() : PixelConverter(NoRegistration{}, 0, 0, 0, 0, 1, 1) {}
};

}  // namespace

PixelTypeFactoryInternal* PixelTypeFactoryLifetime::EnsureState() {
    if (PixelTypeFactory::sInternal == nullptr) {
        PixelTypeFactory::sInternal = new (std::nothrow) PixelTypeFactoryInternal();
    }
    return PixelTypeFactory::sInternal;
}

namespace {
PixelTypeFactoryInternal* EnsureState() {
    return PixelTypeFactoryLifetime::EnsureState();
}
}  // namespace

const PixelType& PixelTypeFactory::NullPixelType() {
    static const PixelType sNull(0, 0, 0, false);
    return sNull;
}

const PixelConverter& PixelTypeFactory::NullConverter() {
    static const NullConverterType sNull;
    return sNull;
}

Result PixelTypeFactory::RegisterPixelType(const int64& id, const PixelType* type,
                                           const char* name) {
    LockScope lock(ModuleLock());
    PixelTypeFactoryInternal* state = EnsureState();
    if (state == nullptr) return Result(ResultCode::kOutOfMemory);
    if (state->types.count(id) != 0) return Result(ResultCode::kInvalidRequest);

    state->types[id] = type->Clone();
    state->names[id] =
        name ? std::string(name) : ComposePixelTypeName(id, *type, type->IsBayerPattern());

    const uint32_t pixelSize = type->GetPixelByteSize();
    if (!HasConverter(id, id)) {
        state->ownedConverters.push_back(new IdentityConverter(id, id, pixelSize, pixelSize));
    }
    if (PixelTypeBits::Has(id, PixelTypeBits::kInterlaced)) {
        const int64 plain = id & ~static_cast<int64>(PixelTypeBits::kInterlaced);
        if (!HasConverter(id, plain)) {
            state->ownedConverters.push_back(
                new IdentityConverter(id, plain, pixelSize, pixelSize));
        }
    }
    return Result(ResultCode::kSuccess);
}

Result PixelTypeFactory::RegisterPixelConverter(const int64& from, const int64& to,
                                                const PixelConverter* converter) {
    LockScope lock(ModuleLock());
    PixelTypeFactoryInternal* state = EnsureState();
    if (state == nullptr) return Result(ResultCode::kOutOfMemory);
    const bool inserted = state->converters.emplace(std::make_pair(from, to), converter).second;
    return Result(inserted ? ResultCode::kSuccess : ResultCode::kInvalidRequest);
}

Result PixelTypeFactory::RegisterPixelConverter(const PixelConverter& converter) {
    return RegisterPixelConverter(converter.GetSourceTypeID(), converter.GetDestinationTypeID(),
                                  &converter);
}

Result PixelTypeFactory::ReplacePixelConverter(const PixelConverter& converter,
                                               const PixelConverter** previous) {
    LockScope lock(ModuleLock());
    PixelTypeFactoryInternal* state = EnsureState();
    if (state == nullptr) return Result(ResultCode::kOutOfMemory);
    const auto key = std::make_pair(converter.GetSourceTypeID(), converter.GetDestinationTypeID());
    const PixelConverter*& slot = state->converters[key];  // entered as null when new
    if (previous != nullptr) *previous = slot;
    slot = &converter;
    return Result(ResultCode::kSuccess);
}

Result PixelTypeFactory::ClonePixelConverters(const int64& source, const int64& target) {
    LockScope lock(ModuleLock());
    Result result(ResultCode::kNothingDone);
    PixelTypeFactoryInternal* state = sInternal;
    if (state == nullptr) return result;
    auto it =
        state->converters.lower_bound(std::make_pair(source, std::numeric_limits<int64>::min()));
    // Registering (target, x) may insert into the map we walk; std::map iterators stay
    // valid, and a new entry lands under target, which this walk over source skips.
    for (; it != state->converters.end() && it->first.first == source; ++it) {
        const int64 destination = it->first.second;
        if (!HasConverter(target, destination)) {
            RegisterPixelConverter(target, destination, it->second);
            result = Result(ResultCode::kSuccess);
        }
    }
    return result;
}

bool PixelTypeFactory::HasPixelType(const int64& id) {
    LockScope lock(ModuleLock());
    PixelTypeFactoryInternal* state = EnsureState();
    return state != nullptr && state->types.count(id) != 0;
}

const PixelType* PixelTypeFactory::FindPixelType(const int64& id) {
    LockScope lock(ModuleLock());
    if (sInternal == nullptr) return nullptr;
    const auto it = sInternal->types.find(id);
    return it == sInternal->types.end() ? nullptr : it->second;
}

const PixelType& PixelTypeFactory::GetPixelType(const int64& id) {
    const PixelType* type = FindPixelType(id);
    return type ? *type : NullPixelType();
}

PixelType* PixelTypeFactory::CreatePixelType(const int64& id) {
    LockScope lock(ModuleLock());
    const PixelType* type = FindPixelType(id);
    return type ? type->Clone() : nullptr;
}

bool PixelTypeFactory::HasConverter(const int64& from, const int64& to) {
    LockScope lock(ModuleLock());
    PixelTypeFactoryInternal* state = EnsureState();
    return state != nullptr && state->converters.count(std::make_pair(from, to)) != 0;
}

const PixelConverter* PixelTypeFactory::FindConverter(const int64& from, const int64& to) {
    LockScope lock(ModuleLock());
    if (sInternal == nullptr) return nullptr;
    const auto it = sInternal->converters.find(std::make_pair(from, to));
    return it == sInternal->converters.end() ? nullptr : it->second;
}

const PixelConverter& PixelTypeFactory::GetConverter(const int64& from, const int64& to) {
    const PixelConverter* converter = FindConverter(from, to);
    return converter ? *converter : NullConverter();
}

bool PixelTypeFactory::EnumConverters(uint32_t index, int64& from, int64& to) {
    LockScope lock(ModuleLock());
    if (sInternal == nullptr || index >= sInternal->converters.size()) return false;
    auto it = sInternal->converters.begin();
    std::advance(it, index);
    from = it->first.first;
    to = it->first.second;
    return true;
}

bool PixelTypeFactory::EnumConverterFrom(uint32_t index, const int64& from, int64& to) {
    LockScope lock(ModuleLock());
    if (sInternal == nullptr) return false;
    const auto& map = sInternal->converters;
    auto it = map.lower_bound(std::make_pair(from, std::numeric_limits<int64>::min()));
    for (uint32_t k = 0; it != map.end() && it->first.first == from; ++it, ++k) {
        if (k == index) {
            to = it->first.second;
            return true;
        }
    }
    return false;
}

bool PixelTypeFactory::EnumConverterTo(uint32_t index, const int64& to, int64& from) {
    LockScope lock(ModuleLock());
    if (sInternal == nullptr) return false;
    uint32_t k = 0;
    for (const auto& entry : sInternal->converters) {
        if (entry.first.second != to) continue;
        if (k++ == index) {
            from = entry.first.first;
            return true;
        }
    }
    return false;
}

const char* PixelTypeFactory::GetPixelTypeName(const int64& id) {
    LockScope lock(ModuleLock());
    PixelTypeFactoryInternal* state = EnsureState();
    if (state == nullptr) return kUnregisteredName;
    // An unknown id keeps its placeholder, so the same pointer comes back next time.
    const auto inserted = state->names.emplace(id, kUnregisteredName);
    return inserted.first->second.c_str();
}

namespace {

bool MatchesAttributes(const PixelType& type, uint32_t bitSize, int64 colorSpace, bool normalized,
                       bool packed, bool interlaced, bool planar, int64 tapLayout, bool bayer) {
    using namespace PixelTypeBits;
    const int64 id = type.GetTypeID();
    const uint32_t bits = Low32(id);
    return static_cast<int64>(bits & kColorSpaceMask) == colorSpace &&
           bitSize == type.GetPixelBitSize() && normalized == ((bits & kNormalized) != 0) &&
           packed == ((bits & kPacked) != 0) && interlaced == ((bits & kInterlaced) != 0) &&
           planar == ((bits & kPlanar) != 0) &&
           static_cast<int64>(bits & kTapLayoutMask) == tapLayout && bayer == type.IsBayerPattern();
}

}  // namespace

uint32_t PixelTypeFactory::CountPixelTypes(uint32_t bitSize, int64 colorSpace, bool normalized,
                                           bool packed, bool interlaced, bool planar,
                                           int64 tapLayout, bool bayer) {
    LockScope lock(ModuleLock());
    PixelTypeFactoryInternal* state = EnsureState();
    if (state == nullptr) return 0;
    uint32_t count = 0;
    for (const auto& entry : state->types) {
        if (MatchesAttributes(*entry.second, bitSize, colorSpace, normalized, packed, interlaced,
                              planar, tapLayout, bayer)) {
            ++count;
        }
    }
    return count;
}

PixelType* PixelTypeFactory::CreatePixelType(uint32_t bitSize, int64 colorSpace, bool normalized,
                                             bool packed, bool interlaced, bool planar,
                                             int64 tapLayout, bool bayer, uint32_t index) {
    LockScope lock(ModuleLock());
    PixelTypeFactoryInternal* state = EnsureState();
    if (state == nullptr) return nullptr;
    uint32_t count = 0;
    for (const auto& entry : state->types) {
        if (!MatchesAttributes(*entry.second, bitSize, colorSpace, normalized, packed, interlaced,
                               planar, tapLayout, bayer)) {
            continue;
        }
        if (count++ == index) return entry.second->Clone();
    }
    return nullptr;
}

uint32_t PixelTypeFactory::CountRegisteredPixelTypes() {
    LockScope lock(ModuleLock());
    return sInternal ? static_cast<uint32_t>(sInternal->types.size()) : 0;
}

uint32_t PixelTypeFactory::CountRegisteredConverters() {
    LockScope lock(ModuleLock());
    return sInternal ? static_cast<uint32_t>(sInternal->converters.size()) : 0;
}

void PixelTypeFactoryLifetime::TearDown() {
    ZnUtilsLib::Mutex* lockObject = &ModuleLock();
    {
        LockScope lock(lockObject);
        PixelTypeFactoryInternal* state = PixelTypeFactory::sInternal;
        if (state != nullptr) {
            for (auto& entry : state->types) delete entry.second;
            for (PixelConverter* converter : state->ownedConverters) delete converter;
            delete state;
            PixelTypeFactory::sInternal = nullptr;
        }
    }
    delete gModuleLock.exchange(nullptr);
}

}  // namespace ZnConvertersLib
