#pragma once

#include <cstdint>

namespace ZnUtilsLib {

// Status of a fallible operation: a code (0 = success) and a detail pointer that
// the converters library always leaves null.
class Result {
public:
    Result() : mCode(0), mDetail(nullptr) {}
    explicit Result(uint32_t code) : mCode(code), mDetail(nullptr) {}
    Result(const Result& other);
    Result& operator=(const Result& other);
    ~Result();

    uint32_t GetCode() const { return mCode; }
    const void* GetDetail() const { return mDetail; }
    bool IsSuccess() const { return mCode == 0; }
    bool IsFailure() const { return mCode != 0; }

private:
    uint32_t mCode;
    const void* mDetail;
};

}  // namespace ZnUtilsLib
