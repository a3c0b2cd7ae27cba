// The converters built at load, as a list of rows: a source (or several sources that share
// everything), the family that reads it, its source pixel size and sample depth, the
// destinations it is converted to directly, and the colour outputs it reaches through a
// chain. Rows are built in order; for a pair that occurs twice the first object wins.
#include "BuiltinConverterTable.h"

#include <initializer_list>

#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "converters/bayer/BayerConverters.h"
#include "converters/bitpacked/BitPackedRGBConverters.h"
#include "converters/common/OutputPolicies.h"
#include "converters/gray/GrayscaleConverters.h"
#include "converters/rgb/PackedRGBConverters.h"
#include "converters/taps/TapReorderingConverters.h"
#include "converters/yuv/YUVConverters.h"

namespace ZnConvertersLib {
namespace {

// A destination of the table: the output policy that writes it, its identifier and its
// pixel size.
template <class OutputPolicy, int64 Id, uint32_t PixelSize>
struct To {
    using Output = OutputPolicy;
    static constexpr int64 kID = Id;
    static constexpr uint32_t kPixelSize = PixelSize;
};

using ToRGB16 = To<OutputRGB16, 0x20001, 2>;
using ToRGB24 = To<OutputRGB24, 0x420002, 3>;
using ToBGR24 = To<OutputBGR24, 0x420006, 3>;
using ToRGB32 = To<OutputRGB32, 0x20003, 4>;
using ToBGR32 = To<OutputBGR32, 0x20007, 4>;
using ToPlanar24 = To<OutputPlanar24, 0x820002, 1>;
using ToGray8 = To<OutputGrayscale8, 0x10001, 1>;
using ToGray10 = To<OutputGrayscale10, 0x10002, 2>;
using ToGray12 = To<OutputGrayscale12, 0x10003, 2>;
using ToGray14 = To<OutputGrayscale14, 0x10004, 2>;
using ToGray16 = To<OutputGrayscale16, 0x10005, 2>;

template <class... Destinations>
struct Dests {};

using Colour = Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToPlanar24>;
using ColourAndGray8 = Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToPlanar24, ToGray8>;
using Colour24And32 = Dests<ToBGR24, ToRGB24, ToBGR32, ToRGB32>;

// Families, as templates over the output policy alone.
template <class O>
using BayerU8 = BayerTo<unsigned char, O>;
template <class O>
using BayerU16 = BayerTo<unsigned short, O>;
template <class O>
using GrayU8 = GrayscaleTo<unsigned char, O>;
template <class O>
using GrayU16 = GrayscaleTo<unsigned short, O>;
template <class O>
using PlanarU8 = RGBPlanarTo<unsigned char, O>;
template <class O>
using PlanarU16 = RGBPlanarTo<unsigned short, O>;
// The tap re-ordering converters write only gray of their own depth.
template <class>
using DualLines = DualLinesGrayscale8ToGrayscale8;
template <class>
using QuadTaps8 = Dalsa4x8ToGrayscale8;

// Right shift that brings a sample to 8 bits; samples of a Normalized type sit at the top
// of their 16-bit word.
uint32_t ShiftFor(int64 source, uint32_t sampleBits) {
    return PixelTypeBits::Has(source, PixelTypeBits::kNormalized) ? 8 : sampleBits - 8;
}

class TableBuilder {
public:
    explicit TableBuilder(BuiltinConverterList& list) : mList(list) {}

    // One direct converter per destination, in the order given; family values (a shift)
    // follow the four common constructor arguments.
    template <template <class> class Family, class... D, class... Values>
    void Direct(Dests<D...>, int64 source, uint32_t sourcePixelSize, Values... values) {
        (Add(std::make_unique<Family<typename D::Output>>(source, D::kID, sourcePixelSize,
                                                          D::kPixelSize, values...)),
         ...);
    }

    // A single direct converter, returned so that it can head chains.
    template <template <class> class Family, class D, class... Values>
    const PixelConverter& DirectOne(int64 source, uint32_t sourcePixelSize, Values... values) {
        return Add(std::make_unique<Family<typename D::Output>>(source, D::kID, sourcePixelSize,
                                                                D::kPixelSize, values...));
    }

    // Chains from first (already built) through the registered converter from
    // secondSource to each destination; Planar24 may take its second stage from another
    // source.
    template <class... D>
    void Chains(Dests<D...>, const PixelConverter& first, int64 secondSource,
                int64 planarSecondSource = 0) {
        (Chain(first,
               D::kID == ToPlanar24::kID && planarSecondSource ? planarSecondSource : secondSource,
               D::kID),
         ...);
    }

    const PixelConverter& Add(std::unique_ptr<PixelConverter> converter) {
        return mList.Add(std::move(converter));
    }

private:
    void Chain(const PixelConverter& first, int64 secondSource, int64 destination) {
        const PixelConverter* second = PixelTypeFactory::FindConverter(secondSource, destination);
        Add(std::make_unique<ComplexConverter>(first, *second));
    }

    BuiltinConverterList& mList;
};

using Ids = std::initializer_list<int64>;

// Bayer sources with tap bits (and the packed Bayer layouts) are first turned into an
// 8-bit mosaic with the taps undone, then demosaiced by the plain 8-bit Bayer converters.
constexpr int64 kBayer8 = 0x20010;

template <template <class> class Family>
void BayerThroughGray8(TableBuilder& b, Ids sources, uint32_t sourcePixelSize, uint32_t bits) {
    for (int64 id : sources) {
        const PixelConverter& first =
            b.DirectOne<Family, ToGray8>(id, sourcePixelSize, ShiftFor(id, bits));
        b.Chains(Colour{}, first, kBayer8);
    }
}

template <template <class> class Family>
void BayerThroughGray8NoShift(TableBuilder& b, int64 source, uint32_t sourcePixelSize) {
    const PixelConverter& first = b.DirectOne<Family, ToGray8>(source, sourcePixelSize);
    b.Chains(Colour{}, first, kBayer8);
}

void BuildBayer8(TableBuilder& b) {
    b.Direct<BayerU8>(Colour{}, kBayer8, 1, 0u);
    BayerThroughGray8<GrayU8>(b, {0x1020010, 0x2020010, 0x4020010, 0x8020010}, 1, 8);
}

void BuildBayer10(TableBuilder& b) {
    for (int64 id : Ids{0x20011, 0x120011}) b.Direct<BayerU16>(Colour{}, id, 2, ShiftFor(id, 10));
    BayerThroughGray8<GrayU16>(b,
                               {0x1020011, 0x2020011, 0x4020011, 0x8020011, 0x1120011, 0x2120011,
                                0x4120011, 0x8120011, 0x220011, 0x320011},
                               2, 10);
    BayerThroughGray8<Grayscale12PackedTo>(
        b, {0x420011, 0x1420011, 0x2420011, 0x4420011, 0x8420011}, 2, 10);
    BayerThroughGray8NoShift<GrayscalePackedGEVTo>(b, 0x20041, 2);
}

void BuildBayer12(TableBuilder& b) {
    for (int64 id : Ids{0x20012, 0x120012}) b.Direct<BayerU16>(Colour{}, id, 2, ShiftFor(id, 12));
    BayerThroughGray8<GrayU16>(
        b, {0x1020012, 0x2020012, 0x4020012, 0x8020012, 0x1120012, 0x2120012, 0x4120012, 0x8120012},
        2, 12);
    BayerThroughGray8<Grayscale12PackedTo>(
        b, {0x420012, 0x1420012, 0x2420012, 0x4420012, 0x8420012}, 2, 12);
    BayerThroughGray8NoShift<GrayscalePackedGEVTo>(b, 0x20040, 2);
    // 14- and 16-bit mosaics: their types are not registered, their converters are.
    for (int64 id : Ids{0x20016, 0x120016}) b.Direct<BayerU16>(Colour{}, id, 2, ShiftFor(id, 14));
    b.Direct<BayerU16>(Colour{}, 0x20020, 2, ShiftFor(0x20020, 16));
}

void BuildGrayscale8(TableBuilder& b) {
    for (int64 id : Ids{0x10001, 0x210001, 0x1010001, 0x4010001, 0x2010001, 0x8010001}) {
        b.Direct<GrayU8>(Colour{}, id, 1, 0u);
    }
    // Unpacked RGB24 lies four bytes a pixel: its Planar24 converter reads it as RGB32,
    // built before the three-byte set, whose own Planar24 object therefore stays
    // unregistered.
    b.Direct<RGB32To>(Dests<ToPlanar24>{}, 0x20002, 4);
    b.Direct<RGB24PackedTo>(Colour{}, 0x20002, 3);

    const PixelConverter& dualLines = b.DirectOne<DualLines, ToGray8>(0x10010001, 1);
    b.Chains(Colour{}, dualLines, 0x10001);
    const PixelConverter& quadTaps = b.DirectOne<QuadTaps8, ToGray8>(0x10006, 1);
    b.Chains(Colour{}, quadTaps, 0x10001);
    b.Direct<Grayscale8SignedTo>(Colour{}, 0x10401, 1);
}

void BuildGrayscale10(TableBuilder& b) {
    b.Direct<GrayU16>(Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToPlanar24, ToGray8,
                            ToGray12, ToGray14, ToGray16>{},
                      0x10002, 2, 2u);
    for (int64 id : Ids{0x1010002, 0x2010002, 0x4010002, 0x8010002, 0x1110002, 0x2110002, 0x4110002,
                        0x8110002}) {
        b.Direct<GrayU16>(Colour24And32{}, id, 2, ShiftFor(id, 10));
    }
    b.Direct<GrayU16>(Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToPlanar24, ToGray8,
                            ToGray10, ToGray12, ToGray14>{},
                      0x110002, 2, 8u);
    for (int64 id : Ids{0x210002, 0x310002}) {
        b.Direct<GrayU16>(ColourAndGray8{}, id, 2, ShiftFor(id, 10));
    }
    for (int64 id : Ids{0x410002, 0x1410002, 0x2410002, 0x4410002}) {
        b.Direct<Grayscale12PackedTo>(Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToGray8,
                                            ToPlanar24, ToGray10, ToGray12, ToGray16, ToGray16>{},
                                      id, 2, 2u);
    }
    b.Direct<Grayscale12PackedTo>(
        Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToPlanar24, ToGray16>{}, 0x8410002, 2,
        2u);
    b.Direct<Grayscale12PackedTo>(
        Dests<ToGray8, ToGray10, ToGray12, ToGray16, ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32,
              ToGray8, ToPlanar24, ToGray12, ToGray10, ToGray16, ToGray16>{},
        0x8410003, 2, 4u);
    b.Direct<GrayscalePackedGEVTo>(Colour{}, 0x10008, 2);

    const PixelConverter& quadTaps = b.Add(std::make_unique<Dalsa4x16ToGrayscale16>(false));
    b.Chains(Colour{}, quadTaps, 0x10002);
    // The normalized quad-tap source chains through the normalized 10-bit converters, but
    // its Planar24 output goes through the plain one.
    const PixelConverter& normalizedQuadTaps =
        b.Add(std::make_unique<Dalsa4x16ToGrayscale16>(true));
    b.Chains(Colour{}, normalizedQuadTaps, 0x110002, 0x10002);
}

void BuildGrayscale12(TableBuilder& b) {
    b.Direct<GrayU16>(Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToPlanar24, ToGray8,
                            ToGray10, ToGray14, ToGray16>{},
                      0x10003, 2, 4u);
    b.Direct<GrayU16>(Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToPlanar24, ToGray8,
                            ToGray10, ToGray12, ToGray14>{},
                      0x110003, 2, 8u);
    for (int64 id : Ids{0x210003, 0x310003}) {
        b.Direct<GrayU16>(ColourAndGray8{}, id, 2, ShiftFor(id, 12));
    }
    for (int64 id : Ids{0x1010003, 0x2010003, 0x4010003, 0x8010003, 0x1110003, 0x2110003, 0x4110003,
                        0x8110003}) {
        b.Direct<GrayU16>(Colour24And32{}, id, 2, ShiftFor(id, 12));
    }
    for (int64 id : Ids{0x410003, 0x1410003, 0x2410003, 0x4410003}) {
        b.Direct<Grayscale12PackedTo>(Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToGray8,
                                            ToPlanar24, ToGray12, ToGray10, ToGray16, ToGray16>{},
                                      id, 2, 4u);
    }
    b.Direct<GrayscalePackedGEVTo>(Colour{}, 0x10009, 2);
}

void BuildGrayscale14(TableBuilder& b) {
    b.Direct<GrayU16>(Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToPlanar24, ToGray8,
                            ToGray10, ToGray12, ToGray16, ToGray10, ToGray12, ToGray16>{},
                      0x10004, 2, 6u);
    for (int64 id : Ids{0x210004, 0x110004, 0x310004}) {
        b.Direct<GrayU16>(ColourAndGray8{}, id, 2, ShiftFor(id, 14));
    }
}

void BuildGrayscale16(TableBuilder& b) {
    for (int64 id : Ids{0x10005, 0x110005}) {
        b.Direct<GrayU16>(Dests<ToRGB16, ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToPlanar24, ToGray8,
                                ToGray10, ToGray12, ToGray14>{},
                          id, 2, 8u);
    }
    for (int64 id : Ids{0x210005, 0x310005}) b.Direct<GrayU16>(ColourAndGray8{}, id, 2, 8u);
}

void BuildRGB(TableBuilder& b) {
    b.Direct<RGB16To>(Dests<ToRGB24, ToBGR24, ToRGB32, ToBGR32, ToPlanar24>{}, 0x20001, 2);
    for (int64 id : Ids{0x420002, 0x2000A}) b.Direct<RGB24PackedTo>(Colour{}, id, 3);
    for (int64 id : Ids{0x20006, 0x420006}) b.Direct<BGR24PackedTo>(Colour{}, id, 3);
    for (int64 id : Ids{0x20003, 0x2000B}) b.Direct<RGB32To>(Colour{}, id, 4);
    b.Direct<BGR32To>(Colour{}, 0x20007, 4);
    for (int64 id : Ids{0x20008, 0x120008}) b.Direct<RGB48To>(Colour{}, id, 6, ShiftFor(id, 10));
    b.Direct<BGR48To>(Colour{}, 0x20042, 6, 2u);
    for (int64 id : Ids{0x2000C, 0x12000C}) b.Direct<RGB48To>(Colour{}, id, 6, ShiftFor(id, 12));
    b.Direct<BGR48To>(Colour{}, 0x20043, 6, 4u);
    for (int64 id : Ids{0x20009, 0x120009}) b.Direct<RGB64To>(Colour{}, id, 8, ShiftFor(id, 10));
    for (int64 id : Ids{0x2000D, 0x12000D}) b.Direct<RGB64To>(Colour{}, id, 8, ShiftFor(id, 12));
    b.Direct<BGR10PackedV1To>(Colour{}, 0x20044, 4);
    b.Direct<BGR10PackedV2To>(Colour{}, 0x20045, 4);
    b.Direct<RGB12PackedV1To>(Colour{}, 0x20046, 5);
    b.Direct<PlanarU8>(Colour{}, 0x820002, 1, 0u);
    b.Direct<PlanarU16>(Colour{}, 0x820008, 2, 2u);
    b.Direct<PlanarU16>(Colour{}, 0x82000C, 2, 4u);
    b.Direct<PlanarU16>(Colour{}, 0x820004, 2, 8u);
}

void BuildYUV(TableBuilder& b) {
    for (int64 id : Ids{0x40001, 0x240001}) b.Direct<YUV8To>(Colour{}, id, 2);
    b.Direct<YUV8422GEVTo>(Colour{}, 0x40008, 2);
    for (int64 id : Ids{0x440003, 0x640003}) b.Direct<YUV8444To>(Colour{}, id, 3);
    b.Direct<YUV8444GEVTo>(Colour{}, 0x440007, 3);
    for (int64 id : Ids{0x440005, 0x640005}) b.Direct<YCrCbTo>(Colour{}, id, 3);
    for (int64 id : Ids{0x440006, 0x640006}) b.Direct<YUV8411To>(Colour{}, id, 4);
    for (int64 id : Ids{0x40002, 0x240002, 0x140002, 0x340002}) {
        b.Direct<YUV10To>(Colour{}, id, 4, ShiftFor(id, 10));
    }
}

}  // namespace

void BuildBuiltinConverters(BuiltinTypeFamily family, BuiltinConverterList& list) {
    TableBuilder builder(list);
    switch (family) {
        case BuiltinTypeFamily::BayerRGB8:
            BuildBayer8(builder);
            break;
        case BuiltinTypeFamily::BayerRGB10:
            BuildBayer10(builder);
            break;
        case BuiltinTypeFamily::BayerRGB12:
            BuildBayer12(builder);
            break;
        case BuiltinTypeFamily::Grayscale8:
            BuildGrayscale8(builder);
            break;
        case BuiltinTypeFamily::Grayscale10:
            BuildGrayscale10(builder);
            break;
        case BuiltinTypeFamily::Grayscale12:
            BuildGrayscale12(builder);
            break;
        case BuiltinTypeFamily::Grayscale14:
            BuildGrayscale14(builder);
            break;
        case BuiltinTypeFamily::Grayscale16:
            BuildGrayscale16(builder);
            break;
        case BuiltinTypeFamily::RGB:
            BuildRGB(builder);
            break;
        case BuiltinTypeFamily::YUV:
            BuildYUV(builder);
            break;
    }
}

}  // namespace ZnConvertersLib
