#include <gtest/gtest.h>

#include <map>
#include <set>
#include <utility>

#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/IdentityConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "converters/bayer/BayerConverters.h"
#include "converters/bitpacked/BitPackedRGBConverters.h"
#include "converters/gray/GrayscaleConverters.h"
#include "converters/rgb/PackedRGBConverters.h"
#include "converters/taps/TapReorderingConverters.h"
#include "converters/yuv/YUVConverters.h"
#include "framework/BuiltinRegistration.h"

using namespace ZnConvertersLib;

namespace {

using Pair = std::pair<int64, int64>;

Pair PairOf(const PixelConverter& converter) {
    return {converter.GetSourceTypeID(), converter.GetDestinationTypeID()};
}

const BuiltinConverterList& Builtins() {
    const BuiltinConverterList* list = GetBuiltinConverters();
    EXPECT_NE(list, nullptr);
    return *list;
}

template <class T>
const T* As(int64 from, int64 to) {
    return dynamic_cast<const T*>(PixelTypeFactory::FindConverter(from, to));
}

constexpr int64 kColourOutputs[] = {0x20001, 0x420002, 0x420006, 0x20003, 0x20007, 0x820002};

}  // namespace

// Runs first: nothing in this program registers anything of its own.
TEST(BuiltinConverterTable, LoadBuildsEveryObjectAndRegistersEachFreePair) {
    const BuiltinConverterList& list = Builtins();
    ASSERT_EQ(list.Count(), 918u);
    size_t chained = 0;
    std::set<Pair> pairs;
    size_t unregistered = 0;
    for (size_t i = 0; i < list.Count(); ++i) {
        const PixelConverter& converter = list.At(i);
        if (dynamic_cast<const ComplexConverter*>(&converter)) ++chained;
        pairs.insert(PairOf(converter));
        if (PixelTypeFactory::FindConverter(PairOf(converter).first, PairOf(converter).second) !=
            &converter) {
            ++unregistered;
        }
    }
    EXPECT_EQ(chained, 228u);
    EXPECT_EQ(list.Count() - chained, 690u);
    EXPECT_EQ(pairs.size(), 901u);
    EXPECT_EQ(unregistered, 17u + 5u);  // repeated pairs, and pairs held by identity copies
    EXPECT_EQ(PixelTypeFactory::CountRegisteredConverters(), 1074u);
}

TEST(BuiltinConverterTable, RepeatedPairsKeepTheFirstObject) {
    const BuiltinConverterList& list = Builtins();
    std::map<Pair, const PixelConverter*> first;
    size_t repeats = 0;
    for (size_t i = 0; i < list.Count(); ++i) {
        const PixelConverter& converter = list.At(i);
        const auto inserted = first.emplace(PairOf(converter), &converter);
        if (inserted.second) continue;
        ++repeats;
        EXPECT_EQ(
            PixelTypeFactory::FindConverter(PairOf(converter).first, PairOf(converter).second),
            inserted.first->second)
            << std::hex << PairOf(converter).first << " -> " << PairOf(converter).second;
    }
    EXPECT_EQ(repeats, 17u);
}

TEST(BuiltinConverterTable, PairsOfRegisteredTypesKeepTheirIdentityCopies) {
    for (int64 id : {0x20003, 0x20007, 0x420002, 0x420006, 0x820002}) {
        EXPECT_NE(As<IdentityConverter>(id, id), nullptr) << std::hex << id;
    }
    EXPECT_NE(As<IdentityConverter>(0x210002, 0x10002), nullptr);
    EXPECT_NE(As<IdentityConverter>(0x640005, 0x440005), nullptr);
}

TEST(BuiltinConverterTable, UnpackedRGB24ReachesPlanarThroughTheFourBytePixelReader) {
    const auto* planar = As<RGB32To<OutputPlanar24>>(0x20002, 0x820002);
    ASSERT_NE(planar, nullptr);
    EXPECT_EQ(planar->GetSourcePixelSize(), 4u);
    const auto* rgb = As<RGB24PackedTo<OutputRGB24>>(0x20002, 0x420002);
    ASSERT_NE(rgb, nullptr);
    EXPECT_EQ(rgb->GetSourcePixelSize(), 3u);
}

TEST(BuiltinConverterTable, TapBayerSourcesChainThroughGrayToThePlainBayerDemosaicer) {
    for (int64 source : {0x1020010, 0x4020011, 0x320011, 0x420012, 0x20041, 0x20040}) {
        for (int64 destination : kColourOutputs) {
            const auto* chain = As<ComplexConverter>(source, destination);
            ASSERT_NE(chain, nullptr) << std::hex << source << " -> " << destination;
            EXPECT_EQ(chain->GetFirstStage().GetSourceTypeID(), source);
            EXPECT_EQ(chain->GetFirstStage().GetDestinationTypeID(), 0x10001);
            EXPECT_EQ(&chain->GetSecondStage(),
                      PixelTypeFactory::FindConverter(0x20010, destination));
            EXPECT_EQ(chain->GetLineGranularity(), 2u);  // the demosaicer's pairs of lines
        }
    }
}

TEST(BuiltinConverterTable, NormalizedQuadTapsChainThroughNormalizedGrayExceptPlanar) {
    for (int64 destination : kColourOutputs) {
        const auto* chain = As<ComplexConverter>(0x110007, destination);
        ASSERT_NE(chain, nullptr);
        EXPECT_EQ(chain->GetFirstStage().GetDestinationTypeID(), 0x110002);
        const int64 secondSource = destination == 0x820002 ? 0x10002 : 0x110002;
        EXPECT_EQ(&chain->GetSecondStage(),
                  PixelTypeFactory::FindConverter(secondSource, destination));
        EXPECT_EQ(chain->GetPixelGranularity(), 4u);

        const auto* plain = As<ComplexConverter>(0x10007, destination);
        ASSERT_NE(plain, nullptr);
        EXPECT_EQ(&plain->GetSecondStage(), PixelTypeFactory::FindConverter(0x10002, destination));
    }
}

TEST(BuiltinConverterTable, GrayObjectsTakeTapStepsFromTheirSourceAndShiftFromTheirDepth) {
    const auto* tapped = dynamic_cast<const GrayscaleTo<unsigned short, OutputGrayscale8>*>(
        &As<ComplexConverter>(0x4020011, 0x20003)->GetFirstStage());
    ASSERT_NE(tapped, nullptr);
    EXPECT_EQ(tapped->GetLeftStep(), -1);
    EXPECT_EQ(tapped->GetRightStep(), 1);
    EXPECT_EQ(tapped->GetSourceShift(), 2u);

    const auto* plain = As<GrayscaleTo<unsigned short, OutputRGB24>>(0x10002, 0x420002);
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(plain->GetLeftStep(), 0);
    EXPECT_EQ(plain->GetRightStep(), 0);
    EXPECT_EQ(plain->GetSourceShift(), 2u);

    struct Shift {
        int64 source;
        int64 destination;
        uint32_t shift;
    };
    for (const Shift& s :
         {Shift{0x110002, 0x10001, 8}, Shift{0x10004, 0x10001, 6}, Shift{0x10005, 0x10001, 8},
          Shift{0x310003, 0x10001, 8}, Shift{0x210003, 0x10001, 4}}) {
        const auto* converter =
            As<GrayscaleTo<unsigned short, OutputGrayscale8>>(s.source, s.destination);
        ASSERT_NE(converter, nullptr) << std::hex << s.source;
        EXPECT_EQ(converter->GetSourceShift(), s.shift) << std::hex << s.source;
    }
    const auto* packed = As<Grayscale12PackedTo<OutputGrayscale16>>(0x2410003, 0x10005);
    ASSERT_NE(packed, nullptr);
    EXPECT_EQ(packed->GetLeftStep(), 1);
    EXPECT_EQ(packed->GetRightStep(), -1);
    EXPECT_EQ(packed->GetSourceShift(), 4u);
}

TEST(BuiltinConverterTable, BayerObjectsShiftByTheirDepth) {
    struct Shift {
        int64 source;
        uint32_t shift;
    };
    for (const Shift& s : {Shift{0x20011, 2}, Shift{0x120011, 8}, Shift{0x20012, 4},
                           Shift{0x20016, 6}, Shift{0x120016, 8}, Shift{0x20020, 8}}) {
        const auto* bayer = As<BayerTo<unsigned short, OutputBGR32>>(s.source, 0x20007);
        ASSERT_NE(bayer, nullptr) << std::hex << s.source;
        EXPECT_EQ(bayer->GetSourceShift(), s.shift) << std::hex << s.source;
        EXPECT_EQ(bayer->GetLineGranularity(), 2u);
    }
    EXPECT_NE((As<BayerTo<unsigned char, OutputPlanar24>>(0x20010, 0x820002)), nullptr);
}

TEST(BuiltinConverterTable, ConvertersExistForTypesLeftUnregistered) {
    for (int64 source : {0x20016, 0x120016, 0x20020, 0x10401}) {
        EXPECT_FALSE(PixelTypeFactory::HasPixelType(source));
        for (int64 destination : kColourOutputs) {
            EXPECT_TRUE(PixelTypeFactory::HasConverter(source, destination)) << std::hex << source;
        }
    }
}

TEST(BuiltinConverterTable, TappedTenBitGrayHasOnlyTheByteOrderedColourOutputs) {
    for (int64 source : {0x1010002, 0x8110002, 0x4010003}) {
        EXPECT_FALSE(PixelTypeFactory::HasConverter(source, 0x20001));
        EXPECT_FALSE(PixelTypeFactory::HasConverter(source, 0x820002));
        for (int64 destination : {0x420002, 0x420006, 0x20003, 0x20007}) {
            EXPECT_TRUE(PixelTypeFactory::HasConverter(source, destination));
        }
    }
}

TEST(BuiltinConverterTable, PerObjectValuesOfRGBAndYUVFamilies) {
    EXPECT_EQ((As<RGB48To<OutputRGB24>>(0x12000C, 0x420002)->GetSourceShift()), 8u);
    EXPECT_EQ((As<BGR48To<OutputRGB24>>(0x20043, 0x420002)->GetSourceShift()), 4u);
    EXPECT_EQ((As<RGB64To<OutputRGB24>>(0x20009, 0x420002)->GetSourceShift()), 2u);
    EXPECT_EQ((As<RGBPlanarTo<unsigned short, OutputRGB24>>(0x820004, 0x420002)->GetSourceShift()),
              8u);
    EXPECT_EQ((As<RGBPlanarTo<unsigned short, OutputRGB24>>(0x820008, 0x420002)->GetSourceShift()),
              2u);
    EXPECT_EQ((As<YUV10To<OutputRGB24>>(0x340002, 0x420002)->GetSourceShift()), 8u);
    EXPECT_EQ((As<YUV10To<OutputRGB24>>(0x240002, 0x420002)->GetSourceShift()), 2u);
    EXPECT_NE((As<RGB16To<OutputPlanar24>>(0x20001, 0x820002)), nullptr);
    EXPECT_FALSE(PixelTypeFactory::HasConverter(0x20001, 0x20001 + 0x100000));
}

// A whole chained conversion: a dual-tap 8-bit mosaic (left tap inverted) is untangled
// by the first stage and demosaiced by the second; the result equals demosaicing the
// untangled mosaic directly.
TEST(BuiltinConverterTable, ChainedConversionEqualsItsTwoStagesRunByHand) {
    const uint32_t width = 8, height = 4;
    std::vector<unsigned char> tapped(width * height);
    for (size_t i = 0; i < tapped.size(); ++i) tapped[i] = static_cast<unsigned char>(i * 37 + 11);
    std::vector<unsigned char> untangled(width * height);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t k = 0; k < width / 2; ++k) {
            untangled[y * width + (width / 2 - 1 - k)] = tapped[y * width + 2 * k];
            untangled[y * width + width / 2 + k] = tapped[y * width + 2 * k + 1];
        }
    }
    const PixelConverter& chain = PixelTypeFactory::GetConverter(0x4020010, 0x420006);
    const PixelConverter& demosaic = PixelTypeFactory::GetConverter(0x20010, 0x420006);
    std::vector<unsigned char> viaChain(width * 3 * height), direct(width * 3 * height);
    chain.Convert(tapped.data(), width, height, viaChain.data(), width, height, width, height, 0x20,
                  0, nullptr, nullptr, 0);
    demosaic.Convert(untangled.data(), width, height, direct.data(), width, height, width, height,
                     0x20, 0, nullptr, nullptr, 0);
    EXPECT_EQ(viaChain, direct);
}
