#pragma once

#include <string>

namespace ZnUtilsLib {

// Text object holding UTF-8 text and its wide form. GetUnicode returns UTF-16 where
// wchar_t is 16 bits wide (Windows) and UTF-32 where it is 32 bits wide (POSIX);
// malformed UTF-8 bytes are widened one by one as U+FFFD.
class String {
public:
    String(const char* text);
    String(const String& other) = default;
    String& operator=(const String& other) = default;
    virtual ~String();

    const wchar_t* GetUnicode() const { return mWide.c_str(); }
    const char* GetUTF8() const { return mNarrow.c_str(); }

private:
    std::string mNarrow;
    std::wstring mWide;
};

}  // namespace ZnUtilsLib
