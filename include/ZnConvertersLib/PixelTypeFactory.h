#pragma once

#include <cstdint>
#include <string>

#include "ZnConvertersLib/Types.h"
#include "ZnUtilsLib/Result.h"

namespace ZnConvertersLib {

class PixelType;
class PixelConverter;
class PixelTypeFactoryInternal;

// Process-wide registry of pixel types, their display names and converters keyed by
// (source, destination). Every operation holds one recursive module lock for its whole
// run. Nothing is ever removed, so references and pointers handed out stay valid until
// the library unloads. Registration never takes ownership: types are stored as clones,
// converters by address (they must outlive the registry). First registration wins;
// ReplacePixelConverter is the only overwrite.
//
// Unknown keys: GetPixelType and GetConverter are meant for callers who test
// HasPixelType / HasConverter first. For an unknown key they return a reference to a
// process-wide sentinel instead of a null reference: NullPixelType() (identifier 0,
// zero sizes, never registered) and NullConverter() (identifiers 0 -> 0, zero sizes,
// every kernel operation reports code 26 and Convert writes nothing). Compare addresses
// with those to detect a miss, or use FindPixelType / FindConverter, which return null.
class PixelTypeFactory {
public:
    PixelTypeFactory& operator=(const PixelTypeFactory&) { return *this; }

    // 18 if id is already registered (type and name stay); 24 if the registry state
    // cannot be allocated. Stores type->Clone(); a null name composes one from the id.
    // Also creates identity converters id -> id and, for an interlaced id, id -> plain id.
    static ZnUtilsLib::Result RegisterPixelType(const int64& id, const PixelType* type,
                                                const char* name);
    static ZnUtilsLib::Result RegisterPixelConverter(const int64& from, const int64& to,
                                                     const PixelConverter* converter);
    static ZnUtilsLib::Result RegisterPixelConverter(const PixelConverter& converter);
    // Registers converter for its pair unconditionally; *previous (if given) receives the
    // converter it displaced, or null.
    static ZnUtilsLib::Result ReplacePixelConverter(const PixelConverter& converter,
                                                    const PixelConverter** previous);
    // Registers every converter leaving source also for target, where target has none
    // for that destination yet. 25 when nothing was added.
    static ZnUtilsLib::Result ClonePixelConverters(const int64& source, const int64& target);

    static bool HasPixelType(const int64& id);
    static const PixelType& GetPixelType(const int64& id);
    static PixelType* CreatePixelType(const int64& id);
    static bool HasConverter(const int64& from, const int64& to);
    static const PixelConverter& GetConverter(const int64& from, const int64& to);

    // Enumerations in ascending (source, destination) order, signed 64-bit.
    static bool EnumConverters(uint32_t index, int64& from, int64& to);
    static bool EnumConverterFrom(uint32_t index, const int64& from, int64& to);
    static bool EnumConverterTo(uint32_t index, const int64& to, int64& from);

    // The stored display name; "Unregistered pixel type" for an unknown id (stored, so
    // the same pointer comes back next time).
    static const char* GetPixelTypeName(const int64& id);
    // Attribute queries; colorSpace and tapLayout are given in their identifier bit
    // positions (0x10000 ..., 0x1000000 ...).
    static uint32_t CountPixelTypes(uint32_t bitSize, int64 colorSpace, bool normalized,
                                    bool packed, bool interlaced, bool planar, int64 tapLayout,
                                    bool bayer);
    static PixelType* CreatePixelType(uint32_t bitSize, int64 colorSpace, bool normalized,
                                      bool packed, bool interlaced, bool planar, int64 tapLayout,
                                      bool bayer, uint32_t index);

    // Pointer-returning lookups: null for an unknown key.
    static const PixelType* FindPixelType(const int64& id);
    static const PixelConverter* FindConverter(const int64& from, const int64& to);
    // The sentinels returned by GetPixelType / GetConverter for unknown keys.
    static const PixelType& NullPixelType();
    static const PixelConverter& NullConverter();

    // Number of registered types and converter pairs.
    static uint32_t CountRegisteredPixelTypes();
    static uint32_t CountRegisteredConverters();

private:
    friend class PixelTypeFactoryLifetime;
    static PixelTypeFactoryInternal* sInternal;
};

// Composes the display name of a type registered without one.
std::string ComposePixelTypeName(const int64& id, const PixelType& type, bool isBayer);

}  // namespace ZnConvertersLib
