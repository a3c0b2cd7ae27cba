#pragma once

// How the command-line tool and the Python module compare names a user typed with the
// library's display names: letters and digits only, lower case, so "bayer rgb8 bits"
// finds "Bayer RGB8-bits".

#include <string>

namespace ZnTools {

inline std::string NormalizeName(const std::string& text) {
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

}  // namespace ZnTools
