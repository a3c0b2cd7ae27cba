#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace znconvert {

// A file that appears under its name only once it is complete: the bytes go to a
// temporary file beside it, which Commit renames over the target. Anything that goes
// wrong before Commit (including an exception unwinding past it) removes the temporary
// file, so the target is either the old file or the complete new one. A replaced file
// keeps its permissions; a symbolic link is refused rather than replaced by a file or
// written through. "-" is standard output, which gets the bytes at Commit.
class OutputFile {
public:
    explicit OutputFile(const std::string& path);  // throws CommandError
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(const void* data, size_t size);  // throws CommandError
    // Ends the writing but not the wait for Commit, so many files can wait without
    // holding a descriptor each. Standard output stays open.
    void Close();   // throws CommandError
    void Commit();  // throws CommandError
    // For writers that need a stream; what they write counts as written by Write.
    std::FILE* Stream() const { return mFile; }
    const std::string& Path() const { return mPath; }

private:
    void Discard();

    std::string mPath;
    std::string mTemporaryPath;
    std::FILE* mFile = nullptr;
    bool mToStandardOutput = false;
};

// How a converted buffer maps onto a BMP file.
struct BmpLayout {
    uint32_t bytesPerPixel;  // 1 (gray, written with a palette), 3 or 4
    bool swapRedBlue;        // the buffer holds R,G,B; BMP wants B,G,R
};

// Writes a complete BMP (headers, palette for gray, bottom-up rows padded to 4 bytes).
// Rows are read from pixels at the given stride.
void WriteBmp(OutputFile& file, const unsigned char* pixels, uint32_t width, uint32_t height,
              size_t stride, const BmpLayout& layout);

}  // namespace znconvert
