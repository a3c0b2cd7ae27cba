#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "ZnConvertersLib/IdentityConverter.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/PixelTypes.h"

using namespace ZnConvertersLib;

namespace {

// A converter that does nothing; it registers itself for its pair when that is free.
class Marker : public PixelConverter {
public:
    Marker(int64 from, int64 to) : PixelConverter(from, to, 1, 1, 1, 1) {}
};

// A converter that leaves registration to the test.
class Unregistered : public PixelConverter {
public:
    Unregistered(int64 from, int64 to) : PixelConverter(NoRegistration{}, from, to, 1, 1, 1, 1) {}
};

// Identifiers well below every built-in one, with nothing in their low 32 bits.
constexpr int64 Negative(int64 k) {
    return -(int64{1} << 40) - k;
}

// What copies a registered type gets is checked byte for byte by the identity and
// interlaced conversion tests; here only which pairs they are registered for.
TEST(PixelTypeFactory, RegisteringATypeStoresACloneAndIdentityAndProgressiveCopyConverters) {
    const int64 id = 0x70301, interlaced = 0x270302, progressive = 0x070302;
    {
        const Grayscale8 type(id);
        ASSERT_EQ(PixelTypeFactory::RegisterPixelType(id, &type, nullptr).GetCode(), 0u);
        EXPECT_NE(&PixelTypeFactory::GetPixelType(id), &type);
    }  // the registry does not keep the caller's object
    ASSERT_TRUE(PixelTypeFactory::HasPixelType(id));
    const PixelType& stored = PixelTypeFactory::GetPixelType(id);
    EXPECT_EQ(typeid(stored), typeid(PixelType));
    EXPECT_EQ(stored.GetTypeID(), id);
    EXPECT_EQ(stored.GetPixelBitSize(), 8);
    EXPECT_STREQ(PixelTypeFactory::GetPixelTypeName(id), "Unknown Colorspace8-bits");
    const std::unique_ptr<PixelType> copy(PixelTypeFactory::CreatePixelType(id));
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy.get(), &stored);
    EXPECT_EQ(copy->GetTypeID(), id);
    const PixelConverter* identity = PixelTypeFactory::FindConverter(id, id);
    ASSERT_NE(dynamic_cast<const IdentityConverter*>(identity), nullptr);
    EXPECT_EQ(identity->GetSourcePixelSize(), 1u);
    EXPECT_EQ(identity->GetDestinationPixelSize(), 1u);

    const Grayscale8 type(interlaced);
    ASSERT_TRUE(PixelTypeFactory::RegisterPixelType(interlaced, &type, nullptr).IsSuccess());
    EXPECT_TRUE(PixelTypeFactory::HasConverter(interlaced, interlaced));
    EXPECT_TRUE(PixelTypeFactory::HasConverter(interlaced, progressive));
    EXPECT_FALSE(PixelTypeFactory::HasConverter(progressive, interlaced));
    EXPECT_FALSE(PixelTypeFactory::HasPixelType(progressive));
}

TEST(PixelTypeFactory, RegistrationKeepsWhatTheRegistryAlreadyHolds) {
    // A converter already held for the identity pair.
    const int64 held = 0x70303;
    const Marker existing(held, held);
    const Grayscale8 heldType(held);
    ASSERT_TRUE(PixelTypeFactory::RegisterPixelType(held, &heldType, "mine").IsSuccess());
    EXPECT_EQ(&PixelTypeFactory::GetConverter(held, held), &existing);
    EXPECT_STREQ(PixelTypeFactory::GetPixelTypeName(held), "mine");

    // A type already registered under the identifier.
    const int64 twice = 0x70304;
    const Grayscale8 first(twice);
    const Grayscale16 second(twice);
    ASSERT_TRUE(PixelTypeFactory::RegisterPixelType(twice, &first, "first").IsSuccess());
    EXPECT_EQ(PixelTypeFactory::RegisterPixelType(twice, &second, "second").GetCode(),
              ResultCode::kInvalidRequest);
    EXPECT_STREQ(PixelTypeFactory::GetPixelTypeName(twice), "first");
    EXPECT_EQ(PixelTypeFactory::GetPixelType(twice).GetPixelBitSize(), 8);
}

TEST(PixelTypeFactory, RegistrationReplacesThePlaceholderNameOfAnIdentifierAskedForBefore) {
    const int64 id = 0x70305;
    const char* placeholder = PixelTypeFactory::GetPixelTypeName(id);
    EXPECT_STREQ(placeholder, "Unregistered pixel type");
    EXPECT_EQ(PixelTypeFactory::GetPixelTypeName(id), placeholder) << "the same text every time";
    EXPECT_FALSE(PixelTypeFactory::HasPixelType(id)) << "asking for a name registers nothing";

    const Grayscale10 type(id);
    ASSERT_TRUE(PixelTypeFactory::RegisterPixelType(id, &type, nullptr).IsSuccess());
    EXPECT_STREQ(PixelTypeFactory::GetPixelTypeName(id), "Unknown Colorspace10-bits");
}

TEST(PixelTypeFactory, FirstConverterForAPairWinsAndOthersMayTakeAnotherPair) {
    const int64 from = 0x70311, to = 0x70312, alias = 0x70313;
    const Marker first(from, to), second(from, to);
    EXPECT_EQ(PixelTypeFactory::FindConverter(from, to), &first);
    EXPECT_EQ(PixelTypeFactory::RegisterPixelConverter(second).GetCode(),
              ResultCode::kInvalidRequest);
    EXPECT_EQ(PixelTypeFactory::RegisterPixelConverter(from, to, &second).GetCode(),
              ResultCode::kInvalidRequest);
    EXPECT_EQ(&PixelTypeFactory::GetConverter(from, to), &first);
    EXPECT_EQ(PixelTypeFactory::RegisterPixelConverter(alias, to, &second).GetCode(), 0u);
    EXPECT_EQ(PixelTypeFactory::FindConverter(alias, to), &second);
}

TEST(PixelTypeFactory, ReplacePixelConverterOverwritesAndReportsWhatItDisplaced) {
    const int64 from = 0x70321, to = 0x70322, freshTo = 0x70323;
    const Marker original(from, to), replacement(from, to);
    const PixelConverter* previous = &replacement;
    EXPECT_EQ(PixelTypeFactory::ReplacePixelConverter(replacement, &previous).GetCode(), 0u);
    EXPECT_EQ(previous, &original);
    EXPECT_EQ(PixelTypeFactory::FindConverter(from, to), &replacement);

    // A pair nobody held: nothing displaced, and the converter is now found and listed.
    const Unregistered lateComer(from, freshTo);
    ASSERT_FALSE(PixelTypeFactory::HasConverter(from, freshTo));
    EXPECT_EQ(PixelTypeFactory::ReplacePixelConverter(lateComer, &previous).GetCode(), 0u);
    EXPECT_EQ(previous, nullptr);
    EXPECT_EQ(PixelTypeFactory::FindConverter(from, freshTo), &lateComer);
    int64 listed = 0;
    EXPECT_TRUE(PixelTypeFactory::EnumConverterFrom(1, from, listed));
    EXPECT_EQ(listed, freshTo);

    // The previous pointer is optional.
    EXPECT_TRUE(PixelTypeFactory::ReplacePixelConverter(original, nullptr).IsSuccess());
    EXPECT_EQ(PixelTypeFactory::FindConverter(from, to), &original);
}

TEST(PixelTypeFactory, ClonePixelConvertersCopiesOnlyOutgoingConvertersTheTargetLacks) {
    const int64 source = 0x70331, target = 0x70332, x = 0x70333, y = 0x70334, z = 0x70335;
    const Marker selfPair(source, source), toX(source, x), toY(source, y), targetToY(target, y),
        incoming(z, source);

    EXPECT_EQ(PixelTypeFactory::ClonePixelConverters(source, target).GetCode(), 0u);
    EXPECT_EQ(PixelTypeFactory::FindConverter(target, source), &selfPair);
    EXPECT_EQ(PixelTypeFactory::FindConverter(target, x), &toX);
    EXPECT_EQ(PixelTypeFactory::FindConverter(target, y), &targetToY) << "existing pair kept";
    EXPECT_FALSE(PixelTypeFactory::HasConverter(target, target));
    EXPECT_FALSE(PixelTypeFactory::HasConverter(z, target)) << "incoming ones are not cloned";

    EXPECT_EQ(PixelTypeFactory::ClonePixelConverters(source, target).GetCode(),
              ResultCode::kNothingDone);
    EXPECT_EQ(PixelTypeFactory::ClonePixelConverters(0x70336, target).GetCode(),
              ResultCode::kNothingDone);
}

TEST(PixelTypeFactory, EnumerationIsInSignedOrderOfSourceThenDestination) {
    const Marker a(Negative(2), 5), b(Negative(2), Negative(7)), c(Negative(2), 0x70000),
        d(Negative(1), Negative(9)), e(Negative(3), 5);

    // Every pair once, in order, and nothing touched past the end.
    std::vector<std::pair<int64, int64>> pairs;
    int64 from = 0, to = 0;
    while (PixelTypeFactory::EnumConverters(static_cast<uint32_t>(pairs.size()), from, to)) {
        pairs.emplace_back(from, to);
    }
    EXPECT_TRUE(std::is_sorted(pairs.begin(), pairs.end()));
    EXPECT_EQ(std::adjacent_find(pairs.begin(), pairs.end()), pairs.end());
    EXPECT_EQ(pairs.size(), PixelTypeFactory::CountRegisteredConverters());
    ASSERT_GE(pairs.size(), 5u);
    EXPECT_EQ(std::vector(pairs.begin(), pairs.begin() + 5),
              (std::vector<std::pair<int64, int64>>{{Negative(3), 5},
                                                    {Negative(2), Negative(7)},
                                                    {Negative(2), 5},
                                                    {Negative(2), 0x70000},
                                                    {Negative(1), Negative(9)}}));
    EXPECT_EQ(std::make_pair(from, to), pairs.back()) << "the failing call leaves them alone";

    std::vector<int64> destinations, sources;
    for (uint32_t i = 0; PixelTypeFactory::EnumConverterFrom(i, Negative(2), to); ++i) {
        destinations.push_back(to);
    }
    EXPECT_EQ(destinations, (std::vector<int64>{Negative(7), 5, 0x70000}));
    for (uint32_t i = 0; PixelTypeFactory::EnumConverterTo(i, 5, from); ++i) {
        sources.push_back(from);
    }
    EXPECT_EQ(sources, (std::vector<int64>{Negative(3), Negative(2)}));
    to = 42;
    EXPECT_FALSE(PixelTypeFactory::EnumConverterFrom(0, 0x70399, to));
    EXPECT_EQ(to, 42);
}

TEST(PixelTypeFactory, UnknownKeysGiveTheSentinelsWhichConvertNothing) {
    const int64 unknown = 0x70391;
    EXPECT_FALSE(PixelTypeFactory::HasPixelType(unknown));
    EXPECT_EQ(PixelTypeFactory::FindPixelType(unknown), nullptr);
    EXPECT_EQ(PixelTypeFactory::CreatePixelType(unknown), nullptr);
    const PixelType& type = PixelTypeFactory::GetPixelType(unknown);
    EXPECT_EQ(&type, &PixelTypeFactory::NullPixelType());
    EXPECT_EQ(type.GetTypeID(), 0);
    EXPECT_EQ(type.GetPixelByteSize(), 0);
    EXPECT_FALSE(PixelTypeFactory::HasPixelType(0)) << "the sentinel is never registered";

    EXPECT_FALSE(PixelTypeFactory::HasConverter(unknown, unknown));
    EXPECT_EQ(PixelTypeFactory::FindConverter(unknown, unknown), nullptr);
    const PixelConverter& converter = PixelTypeFactory::GetConverter(unknown, 0x10001);
    EXPECT_EQ(&converter, &PixelTypeFactory::NullConverter());

    unsigned char source[16] = {1, 2, 3};
    unsigned char destination[16];
    std::memset(destination, 0xEE, sizeof destination);
    converter.Convert(source, 4, 4, destination, 4, 4, 4, 4, 0, 0, nullptr, nullptr, 0);
    EXPECT_EQ(converter.ConvertLines(source, destination, 4).GetCode(), ResultCode::kNotSupported);
    EXPECT_EQ(converter.ConvertPixel(source, destination).GetCode(), ResultCode::kNotSupported);
    EXPECT_EQ(converter.ConvertRemainderLine(source, destination, 4).GetCode(),
              ResultCode::kNotSupported);
    for (unsigned char byte : destination) EXPECT_EQ(byte, 0xEE);
}

}  // namespace
