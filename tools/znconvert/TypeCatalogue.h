#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "ZnConvertersLib/Types.h"

namespace znconvert {

using ZnConvertersLib::int64;

// A pixel type as the command line named it. A GenICam name or code of a mosaic also
// fixes the tile (the library's types leave it to the conversion flags).
struct ResolvedType {
    int64 id = 0;
    uint32_t bayerTile = 0;          // a kBayerTile* value, or 0 when the name does not fix one
    const char* pfncName = nullptr;  // the GenICam name it was given by, if any
};

// What the registry knows, gathered once: every registered pixel type (each has a
// converter to itself, created when it was registered) and every converter pair.
class TypeCatalogue {
public:
    TypeCatalogue();

    // A type named by hex identifier ("0x20010", or bare hex digits), by GenICam code
    // ("0x01080009") or name ("BayerRG8", any case), or by display name (exact, else
    // ignoring case, spaces and punctuation). An identifier is accepted when it is a
    // registered type or the end of some converter. Throws CommandError (usage) naming
    // role ("source", "destination") when nothing matches.
    ResolvedType Resolve(const std::string& text, const char* role) const;

    // The display name, with the identifier appended where several types share it.
    std::string UniqueName(int64 id) const;

    // "'Bayer RGB8-bits' (0x20010)", or "0x20016 (unregistered type)".
    std::string Describe(int64 id) const;

    // Prints the types and the converter pairs (all, or those leaving one source).
    void List(std::FILE* out, const int64* onlyFrom) const;

    const std::vector<int64>& RegisteredTypes() const { return mRegistered; }

private:
    struct Pair {
        int64 from;
        int64 to;
    };
    std::vector<int64> mRegistered;  // ascending
    std::vector<Pair> mPairs;        // ascending (source, destination)
};

std::string HexID(int64 id);

}  // namespace znconvert
