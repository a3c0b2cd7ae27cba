#include "TypeCatalogue.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>

#include "Errors.h"
#include "NameMatch.h"
#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

namespace znconvert {

using ZnConvertersLib::ComplexConverter;
using ZnConvertersLib::FindPfncFormat;
using ZnConvertersLib::GetPfncName;
using ZnConvertersLib::PfncFormat;
using ZnConvertersLib::PixelConverter;
using ZnConvertersLib::PixelType;
using ZnConvertersLib::PixelTypeFactory;

namespace {

using ZnTools::NormalizeName;

std::string Trim(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return std::string();
    const size_t last = text.find_last_not_of(" \t");
    return text.substr(first, last - first + 1);
}

bool ParseHex(const std::string& digits, int64& id) {
    if (digits.empty() || digits.size() > 16) return false;
    uint64_t value = 0;
    for (char c : digits) {
        int digit;
        if (c >= '0' && c <= '9') {
            digit = c - '0';
        } else if (c >= 'a' && c <= 'f') {
            digit = c - 'a' + 10;
        } else if (c >= 'A' && c <= 'F') {
            digit = c - 'A' + 10;
        } else {
            return false;
        }
        value = (value << 4) | static_cast<uint64_t>(digit);
    }
    id = static_cast<int64>(value);
    return true;
}

const char* RegisteredName(int64 id) {
    return PixelTypeFactory::HasPixelType(id) ? PixelTypeFactory::GetPixelTypeName(id) : nullptr;
}

namespace Bits = ZnConvertersLib::PixelTypeBits;

// How the bytes of one pixel are laid out, as far as the identifier and sizes tell: the
// sample container (words are little-endian), the channel order, and the arrangement.
std::string LayoutHint(int64 id, const PixelType& type) {
    const uint32_t bits = Bits::Low32(id);
    const uint32_t format = bits & Bits::kFormatMask;
    const uint32_t space = bits & Bits::kColorSpaceMask;
    const unsigned bytes = type.GetPixelByteSize();
    const unsigned bitSize = type.GetPixelBitSize();
    std::string hint;
    if (space == Bits::kYUV) {
        hint = "YUV bytes";
    } else if (space != Bits::kRGB || type.IsBayerPattern()) {
        const bool packed = bitSize % 8 != 0 && (Bits::Has(id, Bits::kPacked) || format == 0x8 ||
                                                 format == 0x9 || format == 0x40 || format == 0x41);
        hint = bytes == 1 ? "8-bit" : packed ? "bit-packed" : "16-bit LE";
    } else if (format == 0x44 || format == 0x45 || format == 0x802) {
        hint = "32-bit LE word";
    } else if (bytes == 2) {
        hint = "16-bit LE word";
    } else if (bytes % 3 != 0 && bytes % 4 != 0) {
        hint = "bit-packed";
    } else {
        const unsigned sample = bytes % 3 == 0 ? bytes / 3 : bytes / 4;
        const bool bgr =
            format == 0x6 || format == 0x7 || format == 0x42 || format == 0x43 || format == 0x804;
        hint = std::string(sample == 1 ? "8-bit " : "16-bit LE ") + (bgr ? "B,G,R" : "R,G,B") +
               (bytes % 4 == 0 && bytes % 3 != 0 ? ",x" : "");
    }
    if (Bits::Has(id, Bits::kPlanar)) hint += ", planar";
    if (Bits::Has(id, Bits::kInterlaced)) hint += ", fields";
    if (Bits::Has(id, Bits::kTapLayoutMask)) hint += ", taps";
    return hint;
}

}  // namespace

std::string HexID(int64 id) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%" PRIX64, static_cast<uint64_t>(id));
    return text;
}

TypeCatalogue::TypeCatalogue() {
    // Camera formats are registered on their first lookup; registering them up front
    // keeps the list and the names the same whichever way a type is named.
    ZnConvertersLib::RegisterCameraFormats();
    int64 from = 0;
    int64 to = 0;
    for (uint32_t i = 0; PixelTypeFactory::EnumConverters(i, from, to); ++i) {
        mPairs.push_back({from, to});
        if (from == to && PixelTypeFactory::HasPixelType(from)) mRegistered.push_back(from);
    }
}

ResolvedType TypeCatalogue::Resolve(const std::string& rawText, const char* role) const {
    const std::string text = Trim(rawText);
    const auto known = [&](int64 id) {
        if (PixelTypeFactory::HasPixelType(id)) return true;
        return std::any_of(mPairs.begin(), mPairs.end(),
                           [id](const Pair& p) { return p.from == id || p.to == id; });
    };
    const auto camera = [&](const PfncFormat& format) {
        // Such a format still names a layout the library can write.
        if (!format.convertible && std::strcmp(role, "source") == 0) {
            Fail(std::string(role) + " type " + format.name +
                 " is a GenICam format no converter reads yet");
        }
        return ResolvedType{format.pixelType, format.flags, format.name};
    };

    int64 id = 0;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        if (!ParseHex(text.substr(2), id)) {
            UsageFail(std::string(role) + " type '" + text + "' is not a valid hex identifier");
        }
        if (known(id)) return ResolvedType{id};
        // A library identifier wins over a GenICam code; no code in the table is one.
        const PfncFormat* format = static_cast<uint64_t>(id) <= 0xFFFFFFFFu
                                       ? FindPfncFormat(static_cast<uint32_t>(id))
                                       : nullptr;
        if (format != nullptr) return camera(*format);
        UsageFail(std::string(role) + " type " + HexID(id) +
                  " is not a registered pixel type or GenICam format (see znconvert --list)");
    }

    // Several types share a composed name ("RGB32-bits" is both RGB32 and BGR32), so a
    // name that fits more than one type is refused rather than resolved to either.
    const auto unique = [&](const std::vector<int64>& matches) {
        if (matches.size() > 1) {
            std::string list;
            for (size_t i = 0; i < matches.size(); ++i) {
                list += (i == 0                    ? ""
                         : i + 1 == matches.size() ? " and "
                                                   : ", ") +
                        HexID(matches[i]);
            }
            UsageFail("the name '" + text + "' of the " + role + " type is ambiguous: it names " +
                      list + "; give the identifier instead");
        }
        return matches.size() == 1;
    };
    std::vector<int64> matches;
    for (int64 candidate : mRegistered) {
        // The list shows shared names with the identifier appended; that form works too.
        if (text == RegisteredName(candidate) || text == UniqueName(candidate)) {
            matches.push_back(candidate);
        }
    }
    if (unique(matches)) return ResolvedType{matches.front()};
    if (const PfncFormat* format = FindPfncFormat(text.c_str())) return camera(*format);
    const std::string wanted = NormalizeName(text);
    for (int64 candidate : mRegistered) {
        if (!wanted.empty() && (NormalizeName(RegisteredName(candidate)) == wanted ||
                                NormalizeName(UniqueName(candidate)) == wanted)) {
            matches.push_back(candidate);
        }
    }
    if (unique(matches)) return ResolvedType{matches.front()};
    if (ParseHex(text, id) && known(id)) return ResolvedType{id};

    // Point at the closest names, since the usual mistake is a missing word or suffix.
    std::string suggestion;
    int shown = 0;
    for (int64 candidate : mRegistered) {
        const std::string name = NormalizeName(RegisteredName(candidate));
        if (!wanted.empty() && name.find(wanted) != std::string::npos && shown < 3) {
            suggestion += (shown++ == 0 ? "; did you mean " : " or ");
            suggestion += "'" + std::string(RegisteredName(candidate)) + "'";
        }
    }
    UsageFail("unknown " + std::string(role) + " type '" + text + "'" +
              (suggestion.empty() ? std::string("; see znconvert --list for the names")
                                  : suggestion + "?"));
}

std::string TypeCatalogue::UniqueName(int64 id) const {
    const char* name = RegisteredName(id);
    if (name == nullptr) return "(unregistered)";
    const auto sameName = [name](int64 other) {
        return std::strcmp(RegisteredName(other), name) == 0;
    };
    if (std::count_if(mRegistered.begin(), mRegistered.end(), sameName) > 1) {
        return std::string(name) + " [" + HexID(id) + "]";
    }
    return name;
}

std::string TypeCatalogue::Describe(int64 id) const {
    const char* name = RegisteredName(id);
    if (name == nullptr) return HexID(id) + " (unregistered type)";
    return "'" + std::string(name) + "' (" + HexID(id) + ")";
}

void TypeCatalogue::List(std::FILE* out, const int64* onlyFrom) const {
    if (onlyFrom == nullptr) {
        std::fprintf(out, "Pixel types (%zu):\n", mRegistered.size());
        std::fprintf(out, "  %-10s  %4s  %5s  %-24s  %-16s  %s\n", "identifier", "bits", "bytes",
                     "layout", "GenICam", "name");
        for (int64 id : mRegistered) {
            const PixelType& type = PixelTypeFactory::GetPixelType(id);
            // A mosaic's GenICam name also names its tile; the GRBG one stands for the four.
            const char* pfnc = GetPfncName(id, 0);
            std::fprintf(out, "  %-10s  %4u  %5u  %-24s  %-16s  %s%s\n", HexID(id).c_str(),
                         static_cast<unsigned>(type.GetPixelBitSize()),
                         static_cast<unsigned>(type.GetPixelByteSize()),
                         LayoutHint(id, type).c_str(), pfnc != nullptr ? pfnc : "-",
                         UniqueName(id).c_str(), type.IsBayerPattern() ? "  [Bayer]" : "");
        }
        std::fprintf(out, "\n");
    }

    size_t count = 0;
    for (const Pair& pair : mPairs) count += (onlyFrom == nullptr || pair.from == *onlyFrom);
    if (onlyFrom == nullptr) {
        std::fprintf(out, "Converters (%zu):\n", count);
    } else {
        std::fprintf(out, "Converters from %s (%zu):\n", Describe(*onlyFrom).c_str(), count);
    }
    for (const Pair& pair : mPairs) {
        if (onlyFrom != nullptr && pair.from != *onlyFrom) continue;
        std::string via;
        const PixelConverter* converter = PixelTypeFactory::FindConverter(pair.from, pair.to);
        if (const auto* chain = dynamic_cast<const ComplexConverter*>(converter)) {
            via =
                "  (chained through " + HexID(chain->GetFirstStage().GetDestinationTypeID()) + ")";
        }
        std::fprintf(out, "  %-10s -> %-10s  %s -> %s%s\n", HexID(pair.from).c_str(),
                     HexID(pair.to).c_str(), UniqueName(pair.from).c_str(),
                     UniqueName(pair.to).c_str(), via.c_str());
    }
}

}  // namespace znconvert
