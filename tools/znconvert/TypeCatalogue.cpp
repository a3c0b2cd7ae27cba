#include "TypeCatalogue.h"

#include <algorithm>
#include <cinttypes>

#include "Errors.h"
#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"

namespace znconvert {

using ZnConvertersLib::ComplexConverter;
using ZnConvertersLib::PixelConverter;
using ZnConvertersLib::PixelType;
using ZnConvertersLib::PixelTypeFactory;

namespace {

// Lower-case letters and digits only, so "bayer rgb8 bits" finds "Bayer RGB8-bits".
std::string Normalize(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c >= 'A' && c <= 'Z') {
            out += static_cast<char>(c - 'A' + 'a');
        } else if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
            out += c;
        }
    }
    return out;
}

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

}  // namespace

std::string HexID(int64 id) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%" PRIX64, static_cast<uint64_t>(id));
    return text;
}

TypeCatalogue::TypeCatalogue() {
    int64 from = 0;
    int64 to = 0;
    for (uint32_t i = 0; PixelTypeFactory::EnumConverters(i, from, to); ++i) {
        mPairs.push_back({from, to});
        if (from == to && PixelTypeFactory::HasPixelType(from)) mRegistered.push_back(from);
    }
}

int64 TypeCatalogue::Resolve(const std::string& rawText, const char* role) const {
    const std::string text = Trim(rawText);
    const auto known = [&](int64 id) {
        if (PixelTypeFactory::HasPixelType(id)) return true;
        return std::any_of(mPairs.begin(), mPairs.end(),
                           [id](const Pair& p) { return p.from == id || p.to == id; });
    };

    int64 id = 0;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        if (!ParseHex(text.substr(2), id)) {
            Fail(std::string(role) + " type '" + text + "' is not a valid hex identifier");
        }
        if (!known(id)) {
            Fail(std::string(role) + " type " + HexID(id) +
                 " is not a registered pixel type (see znconvert --list)");
        }
        return id;
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
            Fail("the name '" + text + "' of the " + role + " type is ambiguous: it names " + list +
                 "; give the identifier instead");
        }
        return matches.size() == 1;
    };
    std::vector<int64> matches;
    for (int64 candidate : mRegistered) {
        if (text == RegisteredName(candidate)) matches.push_back(candidate);
    }
    if (unique(matches)) return matches.front();
    const std::string wanted = Normalize(text);
    for (int64 candidate : mRegistered) {
        if (!wanted.empty() && Normalize(RegisteredName(candidate)) == wanted) {
            matches.push_back(candidate);
        }
    }
    if (unique(matches)) return matches.front();
    if (ParseHex(text, id) && known(id)) return id;

    // Point at the closest names, since the usual mistake is a missing word or suffix.
    std::string suggestion;
    int shown = 0;
    for (int64 candidate : mRegistered) {
        const std::string name = Normalize(RegisteredName(candidate));
        if (!wanted.empty() && name.find(wanted) != std::string::npos && shown < 3) {
            suggestion += (shown++ == 0 ? "; did you mean " : " or ");
            suggestion += "'" + std::string(RegisteredName(candidate)) + "'";
        }
    }
    Fail("unknown " + std::string(role) + " type '" + text + "'" +
         (suggestion.empty() ? std::string("; see znconvert --list for the names")
                             : suggestion + "?"));
}

std::string TypeCatalogue::Describe(int64 id) const {
    const char* name = RegisteredName(id);
    if (name == nullptr) return HexID(id) + " (unregistered type)";
    return "'" + std::string(name) + "' (" + HexID(id) + ")";
}

void TypeCatalogue::List(std::FILE* out, const int64* onlyFrom) const {
    if (onlyFrom == nullptr) {
        std::fprintf(out, "Pixel types (%zu):\n", mRegistered.size());
        std::fprintf(out, "  %-10s  %4s  %5s  %s\n", "identifier", "bits", "bytes", "name");
        for (int64 id : mRegistered) {
            const PixelType& type = PixelTypeFactory::GetPixelType(id);
            std::fprintf(out, "  %-10s  %4u  %5u  %s%s\n", HexID(id).c_str(),
                         static_cast<unsigned>(type.GetPixelBitSize()),
                         static_cast<unsigned>(type.GetPixelByteSize()),
                         PixelTypeFactory::GetPixelTypeName(id),
                         type.IsBayerPattern() ? "  [Bayer]" : "");
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
        const char* fromName = RegisteredName(pair.from);
        const char* toName = RegisteredName(pair.to);
        std::string via;
        const PixelConverter* converter = PixelTypeFactory::FindConverter(pair.from, pair.to);
        if (const auto* chain = dynamic_cast<const ComplexConverter*>(converter)) {
            via =
                "  (chained through " + HexID(chain->GetFirstStage().GetDestinationTypeID()) + ")";
        }
        std::fprintf(out, "  %-10s -> %-10s  %s -> %s%s\n", HexID(pair.from).c_str(),
                     HexID(pair.to).c_str(), fromName ? fromName : "(unregistered)",
                     toName ? toName : "(unregistered)", via.c_str());
    }
}

}  // namespace znconvert
