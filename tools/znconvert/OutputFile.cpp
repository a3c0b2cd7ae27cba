#include "OutputFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#ifdef _WIN32
#include <process.h>
#define ZN_GETPID _getpid
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#define ZN_GETPID getpid
#endif

#include "Errors.h"

namespace znconvert {

namespace fs = std::filesystem;

OutputFile::OutputFile(const std::string& path) : mPath(path) {
    if (path == "-") {
        // Held back like a file until Commit, so a failed run writes nothing here either.
        mToStandardOutput = true;
        mFile = std::tmpfile();
        if (mFile == nullptr) {
            Fail(std::string("cannot buffer standard output: ") + std::strerror(errno));
        }
        return;
    }
    const fs::path target = fs::u8path(path);
    std::error_code error;
    const fs::file_status status = fs::symlink_status(target, error);
    if (fs::is_symlink(status)) {
        Fail("output '" + path +
             "' is a symbolic link; give the file it points to, or remove the link");
    }
    if (fs::is_directory(status)) Fail("cannot write output '" + path + "': it is a directory");
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        Fail("output '" + path + "' is not a regular file");
    }
    // Beside the target, so the final rename stays within one file system; created afresh,
    // so nothing already there under that name is written through.
    mTemporaryPath = path + ".znconvert-" + std::to_string(static_cast<long>(ZN_GETPID())) + ".tmp";
#ifdef _WIN32
    mFile = std::fopen(mTemporaryPath.c_str(), "wbx");
#else
    const int fd = ::open(mTemporaryPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0 && fs::exists(status)) {
        // The umask may have taken bits the old file had; it had them for a reason.
        ::fchmod(fd, static_cast<mode_t>(status.permissions() & fs::perms::mask));
    }
    mFile = fd < 0 ? nullptr : ::fdopen(fd, "wb");
    if (fd >= 0 && mFile == nullptr) {
        const int openError = errno;
        ::close(fd);
        ::unlink(mTemporaryPath.c_str());
        errno = openError;
    }
#endif
    if (mFile == nullptr) {
        const int openError = errno;
        mTemporaryPath.clear();
        Fail("cannot write output '" + path + "': " + std::strerror(openError));
    }
}

OutputFile::~OutputFile() {
    Discard();
}

void OutputFile::Discard() {
    if (mFile != nullptr) std::fclose(mFile);
    mFile = nullptr;
    if (!mTemporaryPath.empty()) {
        std::error_code ignored;
        fs::remove(fs::u8path(mTemporaryPath), ignored);
        mTemporaryPath.clear();
    }
}

void OutputFile::Write(const void* data, size_t size) {
    if (size != 0 && std::fwrite(data, 1, size, mFile) != size) {
        const int error = errno;
        Discard();
        Fail("cannot write output '" + mPath + "': " + std::strerror(error));
    }
}

void OutputFile::Commit() {
    if (mToStandardOutput) {
        char buffer[1 << 16];
        bool copied = std::fflush(mFile) == 0 && std::fseek(mFile, 0, SEEK_SET) == 0;
        for (size_t got; copied && (got = std::fread(buffer, 1, sizeof buffer, mFile)) != 0;) {
            copied = std::fwrite(buffer, 1, got, stdout) == got;
        }
        copied = copied && std::ferror(mFile) == 0 && std::fflush(stdout) == 0;
        const int error = errno;
        Discard();
        if (!copied) Fail(std::string("cannot write to standard output: ") + std::strerror(error));
        return;
    }
    Close();
    std::error_code error;
    fs::rename(fs::u8path(mTemporaryPath), fs::u8path(mPath), error);
    if (error) {
        Discard();
        Fail("cannot write output '" + mPath + "': " + error.message());
    }
    mTemporaryPath.clear();
}

void OutputFile::Close() {
    if (mToStandardOutput || mFile == nullptr) return;
    // Buffered data can still fail to reach the disk (a full file system shows up here).
    const bool flushed = std::fflush(mFile) == 0;
    const int flushError = errno;
    const bool closed = std::fclose(mFile) == 0;
    const int closeError = errno;
    mFile = nullptr;
    if (!flushed || !closed) {
        Discard();
        Fail("cannot write output '" + mPath +
             "': " + std::strerror(flushed ? closeError : flushError));
    }
}

namespace {

void Put16(unsigned char* at, uint32_t value) {
    at[0] = static_cast<unsigned char>(value);
    at[1] = static_cast<unsigned char>(value >> 8);
}

void Put32(unsigned char* at, uint32_t value) {
    Put16(at, value);
    Put16(at + 2, value >> 16);
}

}  // namespace

void WriteBmp(OutputFile& file, const unsigned char* pixels, uint32_t width, uint32_t height,
              size_t stride, const BmpLayout& layout) {
    const uint32_t bytesPerPixel = layout.bytesPerPixel;
    const uint32_t rowBytes = width * bytesPerPixel;
    const uint32_t paddedRow = (rowBytes + 3u) & ~3u;
    const uint32_t paletteBytes = bytesPerPixel == 1 ? 256 * 4 : 0;
    const uint32_t dataOffset = 14 + 40 + paletteBytes;
    const uint32_t imageBytes = paddedRow * height;

    unsigned char header[54] = {};
    header[0] = 'B';
    header[1] = 'M';
    Put32(header + 2, dataOffset + imageBytes);
    Put32(header + 10, dataOffset);
    Put32(header + 14, 40);
    Put32(header + 18, width);
    Put32(header + 22, height);  // positive: bottom-up, which every reader understands
    Put16(header + 26, 1);
    Put16(header + 28, bytesPerPixel * 8);
    Put32(header + 34, imageBytes);
    Put32(header + 38, 2835);  // 72 dpi
    Put32(header + 42, 2835);
    Put32(header + 46, paletteBytes / 4);
    file.Write(header, sizeof header);

    if (paletteBytes != 0) {
        unsigned char palette[256 * 4];
        for (uint32_t i = 0; i < 256; ++i) {
            palette[4 * i] = palette[4 * i + 1] = palette[4 * i + 2] =
                static_cast<unsigned char>(i);
            palette[4 * i + 3] = 0;
        }
        file.Write(palette, sizeof palette);
    }

    std::vector<unsigned char> row(paddedRow, 0);
    for (uint32_t y = height; y-- > 0;) {
        const unsigned char* source = pixels + static_cast<size_t>(y) * stride;
        std::memcpy(row.data(), source, rowBytes);
        if (layout.swapRedBlue) {
            for (uint32_t x = 0; x < rowBytes; x += bytesPerPixel) std::swap(row[x], row[x + 2]);
        }
        file.Write(row.data(), row.size());
    }
}

}  // namespace znconvert
