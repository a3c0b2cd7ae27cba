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

template <class T>
const T* As(int64 from, int64 to) {
    return dynamic_cast<const T*>(PixelTypeFactory::FindConverter(from, to));
}

constexpr int64 kColourOutputs[] = {0x20001, 0x420002, 0x420006, 0x20003, 0x20007, 0x820002};

// Runs first: nothing in this program registers anything of its own. A pair listed again
// keeps its first object, as do pairs the registered types' identity copies hold.
TEST(BuiltinConverterTable, LoadBuildsEveryObjectAndRegistersTheFirstForEachFreePair) {
    const BuiltinConverterList* list = GetBuiltinConverters();
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->Count(), 918u);
    std::map<Pair, const PixelConverter*> first;
    size_t chained = 0, repeats = 0, heldByCopies = 0;
    for (size_t i = 0; i < list->Count(); ++i) {
        const PixelConverter& converter = list->At(i);
        const Pair pair{converter.GetSourceTypeID(), converter.GetDestinationTypeID()};
        SCOPED_TRACE(testing::Message() << std::hex << pair.first << " -> " << pair.second);
        chained += dynamic_cast<const ComplexConverter*>(&converter) != nullptr;
        const PixelConverter* registered = PixelTypeFactory::FindConverter(pair.first, pair.second);
        const auto inserted = first.emplace(pair, &converter);
        if (!inserted.second) {
            ++repeats;
            EXPECT_EQ(registered, inserted.first->second);
        } else if (registered != &converter) {
            ++heldByCopies;
            EXPECT_NE(dynamic_cast<const IdentityConverter*>(registered), nullptr);
        }
    }
    EXPECT_EQ(chained, 228u);
    EXPECT_EQ(first.size(), 901u);
    EXPECT_EQ(repeats, 17u);
    EXPECT_EQ(heldByCopies, 5u);
    EXPECT_EQ(PixelTypeFactory::CountRegisteredConverters(), 1074u);

    for (int64 id : {0x20003, 0x20007, 0x420002, 0x420006, 0x820002}) {
        EXPECT_NE(As<IdentityConverter>(id, id), nullptr) << std::hex << id;
    }
    EXPECT_NE(As<IdentityConverter>(0x210002, 0x10002), nullptr);
    EXPECT_NE(As<IdentityConverter>(0x640005, 0x440005), nullptr);
}

TEST(BuiltinConverterTable, PairsExistForTypesLeftUnregisteredButNotForEveryOutput) {
    for (int64 source : {0x20016, 0x120016, 0x20020, 0x10401}) {
        EXPECT_FALSE(PixelTypeFactory::HasPixelType(source));
        for (int64 destination : kColourOutputs) {
            EXPECT_TRUE(PixelTypeFactory::HasConverter(source, destination)) << std::hex << source;
        }
    }
    // Tapped ten-bit gray has only the byte-ordered colour outputs.
    for (int64 source : {0x1010002, 0x8110002, 0x4010003}) {
        for (int64 destination : kColourOutputs) {
            EXPECT_EQ(PixelTypeFactory::HasConverter(source, destination),
                      destination != 0x20001 && destination != 0x820002)
                << std::hex << source << " -> " << destination;
        }
    }
    EXPECT_FALSE(PixelTypeFactory::HasConverter(0x20001, 0x120001));
}

TEST(BuiltinConverterTable, TapBayerSourcesChainThroughGrayToThePlainBayerDemosaicer) {
    for (int64 source : {0x1020010, 0x4020010, 0x4020011, 0x320011, 0x420012, 0x20041, 0x20040}) {
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

// The shift of the object registered for a pair, read through the class it must be of.
constexpr uint32_t kWrongClass = ~0u;
template <class T>
uint32_t ShiftOf(const PixelConverter* converter) {
    const T* object = dynamic_cast<const T*>(converter);
    return object ? object->GetSourceShift() : kWrongClass;
}

TEST(BuiltinConverterTable, ObjectsAreOfTheirFamilysClassAndShiftByTheirSourceDepth) {
    using GrayTo8 = GrayscaleTo<unsigned short, OutputGrayscale8>;
    using BayerToBGR32 = BayerTo<unsigned short, OutputBGR32>;
    const struct {
        int64 from, to;
        uint32_t (*shiftOf)(const PixelConverter*);
        uint32_t shift;
    } cases[] = {
        {0x10002, 0x420002, ShiftOf<GrayscaleTo<unsigned short, OutputRGB24>>, 2},
        {0x110002, 0x10001, ShiftOf<GrayTo8>, 8},
        {0x10004, 0x10001, ShiftOf<GrayTo8>, 6},
        {0x10005, 0x10001, ShiftOf<GrayTo8>, 8},
        {0x310003, 0x10001, ShiftOf<GrayTo8>, 8},
        {0x210003, 0x10001, ShiftOf<GrayTo8>, 4},
        {0x2410003, 0x10005, ShiftOf<Grayscale12PackedTo<OutputGrayscale16>>, 4},
        {0x20011, 0x20007, ShiftOf<BayerToBGR32>, 2},
        {0x120011, 0x20007, ShiftOf<BayerToBGR32>, 8},
        {0x20012, 0x20007, ShiftOf<BayerToBGR32>, 4},
        {0x20016, 0x20007, ShiftOf<BayerToBGR32>, 6},
        {0x120016, 0x20007, ShiftOf<BayerToBGR32>, 8},
        {0x20020, 0x20007, ShiftOf<BayerToBGR32>, 8},
        {0x12000C, 0x420002, ShiftOf<RGB48To<OutputRGB24>>, 8},
        {0x20043, 0x420002, ShiftOf<BGR48To<OutputRGB24>>, 4},
        {0x20009, 0x420002, ShiftOf<RGB64To<OutputRGB24>>, 2},
        {0x820004, 0x420002, ShiftOf<RGBPlanarTo<unsigned short, OutputRGB24>>, 8},
        {0x820008, 0x420002, ShiftOf<RGBPlanarTo<unsigned short, OutputRGB24>>, 2},
        {0x340002, 0x420002, ShiftOf<YUV10To<OutputRGB24>>, 8},
        {0x240002, 0x420002, ShiftOf<YUV10To<OutputRGB24>>, 2},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.shiftOf(PixelTypeFactory::FindConverter(c.from, c.to)), c.shift)
            << std::hex << c.from << " -> " << c.to;
    }
    EXPECT_NE((As<BayerTo<unsigned char, OutputPlanar24>>(0x20010, 0x820002)), nullptr);
    EXPECT_NE((As<RGB16To<OutputPlanar24>>(0x20001, 0x820002)), nullptr);
    // Unpacked RGB24 reaches planar through the four-byte pixel reader.
    const auto* planar = As<RGB32To<OutputPlanar24>>(0x20002, 0x820002);
    ASSERT_NE(planar, nullptr);
    EXPECT_EQ(planar->GetSourcePixelSize(), 4u);
    const auto* rgb = As<RGB24PackedTo<OutputRGB24>>(0x20002, 0x420002);
    ASSERT_NE(rgb, nullptr);
    EXPECT_EQ(rgb->GetSourcePixelSize(), 3u);
}

// With the chain and step semantics tested on their own, this makes a tapped mosaic's
// chain the untangling of its taps followed by the plain demosaicer.
TEST(BuiltinConverterTable, GrayObjectsTakeTheirTapStepsFromTheirSource) {
    const PixelConverter* tapped = &As<ComplexConverter>(0x4020011, 0x20003)->GetFirstStage();
    EXPECT_EQ((ShiftOf<GrayscaleTo<unsigned short, OutputGrayscale8>>(tapped)), 2u);
    const struct {
        const PixelConverter* object;
        int32_t left, right;
    } cases[] = {{tapped, -1, 1},
                 {&As<ComplexConverter>(0x4020010, 0x420006)->GetFirstStage(), -1, 1},
                 {PixelTypeFactory::FindConverter(0x10002, 0x420002), 0, 0},
                 {PixelTypeFactory::FindConverter(0x2410003, 0x10005), 1, -1}};
    for (const auto& c : cases) {
        const auto* gray = dynamic_cast<const DualTapGrayscaleConverter*>(c.object);
        ASSERT_NE(gray, nullptr);
        EXPECT_EQ(std::make_pair(gray->GetLeftStep(), gray->GetRightStep()),
                  std::make_pair(c.left, c.right))
            << std::hex << gray->GetSourceTypeID();
    }
}

}  // namespace
