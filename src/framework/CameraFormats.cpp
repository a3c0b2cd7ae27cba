// Pixel types and converters for camera packings that no built-in type reads, registered
// the first time an application asks for them: the load-time registry stays as it is.
//
// Each packing is unpacked by one direct converter into the 16-bit container a built-in
// type reads (Mono10p into Grayscale10, Bayer*10p into the 10-bit mosaic); every display
// output then comes from a chain through that built-in type's converters, so filters,
// flags and demosaicing behave exactly as for the built-in type.
#include "framework/CameraFormats.h"

#include <cstring>
#include <memory>
#include <mutex>

#include "ZnConvertersLib/ComplexConverter.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "converters/bayer/DeepBayerConverters.h"
#include "converters/bitpacked/BitPackedRGBConverters.h"
#include "converters/common/OutputPolicies.h"
#include "converters/widen/WidenConverters.h"
#include "framework/BuiltinConverterTable.h"

namespace ZnConvertersLib {
namespace {

constexpr int64 kGray8 = 0x10001, kGray10 = 0x10002, kGray12 = 0x10003, kGray14 = 0x10004,
                kGray16 = 0x10005, kGray12Packed = 0x410003, kBayer10 = 0x20011, kBayer12 = 0x20012,
                kBayer12Packed = 0x420012;
constexpr int64 kGrayDisplay[] = {0x10001, 0x20001, 0x420002, 0x420006, 0x20003, 0x20007, 0x820002};
constexpr int64 kColourDisplay[] = {0x20001, 0x420002, 0x420006, 0x20003, 0x20007, 0x820002};

// The registry's copy converter sizes lines by the type's bytes a pixel; a bit stream's
// lines are shorter, so its copy converter is this one.
class BitStreamCopy : public PixelConverter {
public:
    BitStreamCopy(const int64& id, WideLayout layout)
        : PixelConverter(NoRegistration{}, id, id, 2, 2, 1, 1), mLayout(layout) {}
    uint32_t GetSourceLineSize(uint32_t width) const override {
        return WideLineBytes(mLayout, width);
    }
    uint32_t GetDestinationLineSize(uint32_t width) const override {
        return WideLineBytes(mLayout, width);
    }
    ZnUtilsLib::Result ConvertLines(const unsigned char* source, unsigned char* destination,
                                    uint32_t width) const override {
        std::memcpy(destination, source, WideLineBytes(mLayout, width));
        return ZnUtilsLib::Result(ResultCode::kSuccess);
    }

private:
    WideLayout mLayout;
};

class CameraFormats {
public:
    CameraFormats() {
        RegisterType(kPixelTypeGray16FullRange, 16, 2, false, "Grayscale16-bits, full range");
        for (const auto& [source, bits] :
             {std::pair{kGray10, 10u}, {kGray12, 12u}, {kGray14, 14u}, {kGray16, 16u}}) {
            Add<WidenConverter>(source, kPixelTypeGray16FullRange, WideLayout::kWords, bits,
                                16 - bits);
        }
        Add<WidenConverter>(kGray12Packed, kPixelTypeGray16FullRange, WideLayout::kPacked12p, 12u,
                            4u);

        BitStream(kPixelTypeMono10p, false, "Grayscale10-bits, 10p packed");
        Add<WidenConverter>(kPixelTypeMono10p, kPixelTypeGray16FullRange, WideLayout::kPacked10p,
                            10u, 6u);
        Add<WidenConverter>(kPixelTypeMono10p, kGray10, WideLayout::kPacked10p, 10u, 0u);
        // Displays show the top eight bits: unpacking straight to them halves the
        // intermediate image.
        const PixelConverter& mono10p =
            Add<WidenConverter>(kPixelTypeMono10p, kGray8, WideLayout::kPacked10p, 10u);
        for (int64 to : kGrayDisplay) {
            if (to != kGray8) Chain(mono10p, kGray8, to);
        }

        BitStream(kPixelTypeBayer10p, true, "Bayer RGB10-bits, 10p packed");
        const PixelConverter& bayer10p =
            Add<WidenConverter>(kPixelTypeBayer10p, kBayer10, WideLayout::kPacked10p, 10u, 0u);
        for (int64 to : kColourDisplay) Chain(bayer10p, kBayer10, to);

        RegisterType(kPixelTypeBGR48, 48, 6, false, "BGR48-bits, 16 bits a channel");
        for (const auto& [source, bits] : {std::pair{kBayer10, 10u},
                                           {0x120011, 10u},
                                           {kBayer12, 12u},
                                           {0x120012, 12u},
                                           {0x20016, 14u},
                                           {0x120016, 14u},
                                           {0x20020, 16u}}) {
            Add<DeepBayerTo<false>>(source, kPixelTypeRGB48, bits);
            Add<DeepBayerTo<true>>(source, kPixelTypeBGR48, bits);
        }
        for (int64 to : {kPixelTypeRGB48, kPixelTypeBGR48}) Chain(bayer10p, kBayer10, to);
        const PixelConverter& bayer12p =
            Add<WidenConverter>(kBayer12Packed, kBayer12, WideLayout::kPacked12p, 12u, 0u);
        for (int64 to : {kPixelTypeRGB48, kPixelTypeBGR48}) Chain(bayer12p, kBayer12, to);

        RegisterType(kPixelTypeRGB10p32, 10, 4, false, "RGB10-bits, 32-bit word, red low");
        AddColour<RGB10p32To>(kPixelTypeRGB10p32, 4);
    }

    const BuiltinConverterList& Objects() const { return mObjects; }

private:
    void RegisterType(const int64& id, unsigned short bits, unsigned short bytes, bool bayer,
                      const char* name) {
        const PixelType type(id, bits, bytes, bayer);
        PixelTypeFactory::RegisterPixelType(id, &type, name);
    }

    void BitStream(const int64& id, bool bayer, const char* name) {
        RegisterType(id, 10, 2, bayer, name);
        const PixelConverter& copy =
            mObjects.Add(std::make_unique<BitStreamCopy>(id, WideLayout::kPacked10p));
        PixelTypeFactory::ReplacePixelConverter(copy, nullptr);
    }

    template <class Converter, class... Args>
    const PixelConverter& Add(Args&&... args) {
        return mObjects.Add(std::make_unique<Converter>(std::forward<Args>(args)...));
    }

    // The six colour outputs of a colour family's converter template.
    template <template <class> class Family>
    void AddColour(const int64& source, uint32_t sourcePixelSize) {
        Add<Family<OutputRGB16>>(source, 0x20001, sourcePixelSize, 2);
        Add<Family<OutputRGB24>>(source, 0x420002, sourcePixelSize, 3);
        Add<Family<OutputBGR24>>(source, 0x420006, sourcePixelSize, 3);
        Add<Family<OutputRGB32>>(source, 0x20003, sourcePixelSize, 4);
        Add<Family<OutputBGR32>>(source, 0x20007, sourcePixelSize, 4);
        Add<Family<OutputPlanar24>>(source, 0x820002, sourcePixelSize, 1);
    }

    void Chain(const PixelConverter& first, const int64& through, const int64& to) {
        const PixelConverter* second = PixelTypeFactory::FindConverter(through, to);
        if (second != nullptr) Add<ComplexConverter>(first, *second);
    }

    BuiltinConverterList mObjects;
};

std::once_flag gOnce;
std::atomic<const CameraFormats*> gFormats{nullptr};

}  // namespace

void RegisterCameraFormats() {
    std::call_once(gOnce, [] {
        static const CameraFormats formats;
        gFormats.store(&formats, std::memory_order_release);
    });
}

const BuiltinConverterList* GetCameraFormatConverters() {
    const CameraFormats* formats = gFormats.load(std::memory_order_acquire);
    return formats ? &formats->Objects() : nullptr;
}

}  // namespace ZnConvertersLib
