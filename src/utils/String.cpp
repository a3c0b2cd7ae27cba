#include "ZnUtilsLib/String.h"

#include <cstdint>

namespace ZnUtilsLib {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes one UTF-8 sequence starting at text[i]; advances i past it.
char32_t DecodeUtf8(const std::string& text, size_t& i) {
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    size_t length = 0;
    char32_t code = 0;
    char32_t minimum = 0;
    if (lead < 0x80) {
        ++i;
        return lead;
    } else if ((lead & 0xE0) == 0xC0) {
        length = 2, code = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, code = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, code = lead & 0x07, minimum = 0x10000;
    } else {
        ++i;
        return kReplacement;
    }
    if (i + length > text.size()) {
        ++i;
        return kReplacement;
    }
    for (size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) {
            ++i;
            return kReplacement;
        }
        code = (code << 6) | (byte(i + k) & 0x3F);
    }
    // Overlong forms, surrogates and values past U+10FFFF are not text.
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
        ++i;
        return kReplacement;
    }
    i += length;
    return code;
}

void AppendWide(std::wstring& out, char32_t code) {
    if (sizeof(wchar_t) == 2 && code >= 0x10000) {
        code -= 0x10000;
        out.push_back(static_cast<wchar_t>(0xD800 + (code >> 10)));
        out.push_back(static_cast<wchar_t>(0xDC00 + (code & 0x3FF)));
    } else {
        out.push_back(static_cast<wchar_t>(code));
    }
}

}  // namespace

String::String(const char* text) : mNarrow(text ? text : "") {
    mWide.reserve(mNarrow.size());
    for (size_t i = 0; i < mNarrow.size();) AppendWide(mWide, DecodeUtf8(mNarrow, i));
}

String::~String() = default;

}  // namespace ZnUtilsLib
