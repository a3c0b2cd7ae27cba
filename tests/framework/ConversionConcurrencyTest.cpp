#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "ZnConvertersLib/ConversionContext.h"
#include "ZnConvertersLib/IdentityConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/PixelTypes.h"

using namespace ZnConvertersLib;

namespace {

constexpr int kThreads = 6;

// Writes, per pixel, the current line and the destination stride seen in the context, so
// that a context shared between threads (or left over from another call) shows up as
// wrong bytes.
class ContextEchoConverter : public PixelConverter {
public:
    ContextEchoConverter(int64 id, uint32_t lineGranularity)
        : PixelConverter(id, id, 1, 2, 1, lineGranularity) {}
    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        ConversionContextScope context;
        for (uint32_t i = 0; i < width; ++i) {
            destination[2 * i] = static_cast<unsigned char>(source[i] + context->currentLine);
            destination[2 * i + 1] = static_cast<unsigned char>(context->destinationStride);
        }
        return ZnUtilsLib::Result();
    }
};

std::vector<unsigned char> Pattern(size_t size, unsigned seed) {
    std::vector<unsigned char> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 31 + seed);
    return bytes;
}

}  // namespace

TEST(ConversionConcurrency, ThreadsConvertingThroughOneConverterGetIdenticalResults) {
    const ContextEchoConverter converter(0x70001, 1);
    const uint32_t width = 37, height = 23;
    const std::vector<unsigned char> source = Pattern(width * height, 3);

    std::vector<unsigned char> expected(width * 2 * height);
    converter.Convert(source.data(), width, height, expected.data(), width, height, width, height,
                      0, 0, nullptr, nullptr, 0);

    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            // Each thread also uses its own padding, so a shared context would mix strides.
            const uint32_t padding = static_cast<uint32_t>(t);
            for (int round = 0; round < 40; ++round) {
                std::vector<unsigned char> out((width * 2 + padding) * height);
                converter.Convert(source.data(), width, height, out.data(), width, height, width,
                                  height, 0, padding, nullptr, nullptr, 0);
                for (uint32_t y = 0; y < height; ++y) {
                    for (uint32_t x = 0; x < width; ++x) {
                        const unsigned char* got = &out[y * (width * 2 + padding) + 2 * x];
                        if (got[0] != expected[y * width * 2 + 2 * x] ||
                            got[1] != static_cast<unsigned char>(width * 2 + padding)) {
                            ++mismatches;
                        }
                    }
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(CountActiveConversionContexts(), 0u);
}

TEST(ConversionConcurrency, ThreadsRegisterAndLookUpTypesAndConvertersAtOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&failures, t] {
            for (int k = 0; k < 50; ++k) {
                // Every thread also races on a shared identifier: exactly one wins.
                const int64 own = 0x7B00000000LL + t * 1000 + k;
                const int64 shared = 0x7C00000000LL + k;
                Grayscale8 type(own);
                if (PixelTypeFactory::RegisterPixelType(own, &type, nullptr).IsFailure())
                    ++failures;
                PixelTypeFactory::RegisterPixelType(shared, &type, "shared");
                if (!PixelTypeFactory::HasConverter(own, own)) ++failures;
                if (PixelTypeFactory::GetPixelType(own).GetTypeID() != own) ++failures;
                if (PixelTypeFactory::FindConverter(shared, shared) == nullptr) ++failures;
                int64 from = 0, to = 0;
                if (!PixelTypeFactory::EnumConverterFrom(0, own, to) || to != own) ++failures;
                PixelTypeFactory::EnumConverters(static_cast<uint32_t>(k), from, to);
                PixelTypeFactory::GetPixelTypeName(own + 1);
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
    for (int k = 0; k < 50; ++k) {
        const int64 shared = 0x7C00000000LL + k;
        EXPECT_STREQ(PixelTypeFactory::GetPixelTypeName(shared), "shared");
    }
}
