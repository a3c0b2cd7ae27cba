#pragma once

// The SIMD colour rows of the packed and bit-packed RGB families against their plain rows.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>

#include "ZnConvertersLib/ConversionContext.h"
#include "converters/rgb/PackedRGBConvertersDetail.h"
#include "support/ConverterTestSupport.h"

namespace ZnTestSupport {

// The outputs the SIMD colour rows write.
using SimdColourOutputs = ::testing::Types<OutputRGB24, OutputBGR24, OutputRGB32, OutputBGR32>;

// Random lines of `planes` one-line planes, at widths around the 16-pixel block and at
// unaligned source addresses. Buffers are exactly as long as the line, so the address
// sanitizer sees any access past it.
template <class Reader, class Output>
void ExpectSimdRowMatchesPlainRow(uint32_t sampleBytes, uint32_t planes, uint32_t shift,
                                  unsigned seed) {
    std::mt19937 random(seed);
    for (uint32_t width : {15u, 16u, 17u, 31u, 32u, 33u, 71u}) {
        for (uint32_t offset : {0u, 1u, 3u}) {
            Bytes source(offset + width * sampleBytes * planes);
            for (uint8_t& b : source) b = uint8_t(random());
            ConversionContext context{};
            context.sourceStride = width * sampleBytes;
            context.sourceHeight = 1;
            const Reader read(source.data() + offset, context, shift);
            Bytes plain(width * Output::kPixelSize), fast(plain.size());
            PackedRGBDetail::StoreColourRow_C(read, LineWriter<Output>(plain.data(), context), 0,
                                              width);
            const uint32_t done =
                Simd::StoreColourRowFast<Reader, Output>(read, fast.data(), width);
            PackedRGBDetail::StoreColourRow_C(read, LineWriter<Output>(fast.data(), context), done,
                                              width);
            if (Simd::HasSsse3()) {
                EXPECT_EQ(done, width / 16 * 16);
            }
            ASSERT_EQ(fast, plain) << "width " << width << " offset " << offset;
        }
    }
}

}  // namespace ZnTestSupport
