#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <stdexcept>

namespace ZnTestSupport {

// A buffer that ends where an unreadable page begins: a read past its end faults.
class PageEndBuffer {
public:
    explicit PageEndBuffer(size_t size) : mPage(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        const size_t dataPages = (size + mPage - 1) / mPage + 1;
        mLength = (dataPages + 1) * mPage;
        mBase = static_cast<unsigned char*>(
            mmap(nullptr, mLength, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (mBase == MAP_FAILED) throw std::runtime_error("mmap failed");
        mprotect(mBase + dataPages * mPage, mPage, PROT_NONE);
        mData = mBase + dataPages * mPage - size;
    }
    ~PageEndBuffer() { munmap(mBase, mLength); }
    PageEndBuffer(const PageEndBuffer&) = delete;
    PageEndBuffer& operator=(const PageEndBuffer&) = delete;
    unsigned char* data() const { return mData; }

private:
    size_t mPage, mLength = 0;
    unsigned char* mBase = nullptr;
    unsigned char* mData = nullptr;
};

}  // namespace ZnTestSupport
