// The Python module `znconverters`: frames in any buffer (numpy arrays, bytes,
// bytearrays, memoryviews) converted where they lie, into numpy arrays, through the
// checked frame API so that a wrong size is an exception rather than a crash.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "NameMatch.h"
#include "ZnConvertersLib/Bayer.h"
#include "ZnConvertersLib/Frame.h"
#include "ZnConvertersLib/Pfnc.h"
#include "ZnConvertersLib/PixelConverter.h"
#include "ZnConvertersLib/PixelType.h"
#include "ZnConvertersLib/PixelTypeFactory.h"
#include "ZnConvertersLib/RGBFilter.h"
#include "ZnConvertersLib/Types.h"

namespace py = pybind11;
using namespace ZnConvertersLib;

namespace {

std::string Hex(uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%" PRIX64, value);
    return text;
}

using ZnTools::NormalizeName;

// The registry's pairs and registered types. Enumerating the registry walks its map from
// the start for every index, so the list is kept and rebuilt only when the registry
// grows (nothing is ever removed from it).
struct Catalogue {
    uint32_t converterCount = 0;
    std::vector<std::pair<int64, int64>> pairs;
    std::vector<int64> types;
};

const Catalogue& CurrentCatalogue() {
    static Catalogue catalogue;  // guarded by the GIL, held by every caller
    const uint32_t count = PixelTypeFactory::CountRegisteredConverters();
    if (count != catalogue.converterCount || catalogue.pairs.empty()) {
        Catalogue fresh;
        fresh.converterCount = count;
        int64 from = 0, to = 0;
        for (uint32_t i = 0; PixelTypeFactory::EnumConverters(i, from, to); ++i) {
            fresh.pairs.emplace_back(from, to);
            if (from == to && PixelTypeFactory::HasPixelType(from)) fresh.types.push_back(from);
        }
        catalogue = std::move(fresh);
    }
    return catalogue;
}

// Known: registered, or taken by some converter (a few types have converters without
// being registered at load).
bool IsKnownType(int64 id) {
    if (PixelTypeFactory::HasPixelType(id)) return true;
    const auto& pairs = CurrentCatalogue().pairs;
    return std::any_of(pairs.begin(), pairs.end(),
                       [id](const auto& pair) { return pair.first == id || pair.second == id; });
}

const char* TileName(uint32_t tile) {
    switch (tile) {
        case kBayerTileGRBG:
            return "GRBG";
        case kBayerTileGBRG:
            return "GBRG";
        case kBayerTileRGGB:
            return "RGGB";
        case kBayerTileBGGR:
            return "BGGR";
        default:
            return nullptr;
    }
}

// A format as the caller named it: the library type that reads its bytes and, for a
// camera's mosaic name, the tile the name implies.
struct Format {
    int64 type = 0;
    uint32_t tile = 0;
    const PfncFormat* pfnc = nullptr;
};

// Python's bool is an int; a flag passed where a format belongs is a mistake, not 0 or 1.
bool IsInteger(const py::handle& value) {
    return py::isinstance<py::int_>(value) && !py::isinstance<py::bool_>(value);
}

Format FormatFromInteger(const py::handle& value, const char* role) {
    int64 id = 0;
    try {
        id = value.cast<int64>();
    } catch (const py::cast_error&) {
        throw py::value_error(std::string(role) + ": " + py::str(value).cast<std::string>() +
                              " is out of range for a format code");
    }
    // Camera codes have bits 24-31 set; where a library identifier with tap bits might
    // read the same, the camera's meaning wins, as cameras report these numbers.
    if (id >= 0x01000000 && id <= 0xFFFFFFFF) {
        if (const PfncFormat* format = FindPfncFormat(static_cast<uint32_t>(id))) {
            return Format{format->pixelType, format->flags, format};
        }
    }
    if (!IsKnownType(id)) {
        throw py::value_error(std::string(role) + ": " + Hex(static_cast<uint64_t>(id)) +
                              " is neither a PFNC format code nor a pixel type of this library");
    }
    return Format{id, 0, nullptr};
}

Format FormatFromName(const std::string& name, const char* role) {
    if (const PfncFormat* format = FindPfncFormat(name.c_str())) {
        return Format{format->pixelType, format->flags, format};
    }
    const Catalogue& catalogue = CurrentCatalogue();
    // Several types share a composed display name, so a name that fits more than one is
    // refused rather than resolved to either.
    const auto unique = [&](const std::vector<int64>& matches) {
        if (matches.size() > 1) {
            std::string list;
            for (size_t i = 0; i < matches.size(); ++i) {
                list += (i ? ", " : "") + Hex(static_cast<uint64_t>(matches[i]));
            }
            throw py::value_error(std::string(role) + ": the name '" + name +
                                  "' fits several pixel types (" + list + "); give the id");
        }
        return matches.size() == 1;
    };
    std::vector<int64> matches;
    for (int64 id : catalogue.types) {
        if (name == PixelTypeFactory::GetPixelTypeName(id)) matches.push_back(id);
    }
    if (unique(matches)) return Format{matches.front(), 0, nullptr};
    const std::string wanted = NormalizeName(name);
    for (int64 id : catalogue.types) {
        if (!wanted.empty() && NormalizeName(PixelTypeFactory::GetPixelTypeName(id)) == wanted) {
            matches.push_back(id);
        }
    }
    if (unique(matches)) return Format{matches.front(), 0, nullptr};
    throw py::value_error(std::string(role) + ": unknown format '" + name +
                          "' (neither a PFNC name nor a pixel type name; see formats())");
}

Format ResolveFormat(const py::handle& value, const char* role) {
    if (IsInteger(value)) return FormatFromInteger(value, role);
    if (py::isinstance<py::str>(value)) return FormatFromName(value.cast<std::string>(), role);
    throw py::type_error(std::string(role) + " must be a format name (str) or code (int), not " +
                         py::type::handle_of(value).attr("__name__").cast<std::string>());
}

std::string TypeNameOf(const py::handle& value) {
    return py::type::handle_of(value).attr("__name__").cast<std::string>();
}

uint32_t ParseTile(const py::handle& pattern) {
    if (!py::isinstance<py::str>(pattern)) {
        throw py::type_error("pattern must be a str such as 'RGGB', not " + TypeNameOf(pattern));
    }
    const std::string name = NormalizeName(pattern.cast<std::string>());
    for (uint32_t tile : {kBayerTileGRBG, kBayerTileGBRG, kBayerTileRGGB, kBayerTileBGGR}) {
        if (name == NormalizeName(TileName(tile))) return tile;
    }
    throw py::value_error("pattern must be one of 'GRBG', 'GBRG', 'RGGB', 'BGGR', not '" +
                          pattern.cast<std::string>() + "'");
}

DemosaicMethod ParseMethod(const py::handle& method) {
    if (!py::isinstance<py::str>(method)) {
        throw py::type_error("method must be a str, not " + TypeNameOf(method));
    }
    const std::string name = method.cast<std::string>();
    if (name == "block") return DemosaicMethod::kBlock;
    if (name == "bilinear") return DemosaicMethod::kBilinear;
    // Python spells names with underscores, the command line with hyphens; a caller who
    // copies either is understood.
    if (name == "gradient_corrected" || name == "gradient-corrected") {
        return DemosaicMethod::kGradientCorrected;
    }
    if (name == "edge_directed" || name == "edge-directed") return DemosaicMethod::kEdgeDirected;
    throw py::value_error(
        "method must be 'block', 'bilinear', 'gradient_corrected' or 'edge_directed', not '" +
        name + "'");
}

bool ParseFieldOrder(const py::handle& order) {
    if (!py::isinstance<py::str>(order)) {
        throw py::type_error("field_order must be 'first' or 'second', not " + TypeNameOf(order));
    }
    const std::string name = order.cast<std::string>();
    if (name == "first") return false;
    if (name == "second") return true;
    throw py::value_error("field_order must be 'first' or 'second', not '" + name + "'");
}

// A non-negative integer argument that may be None.
std::optional<uint64_t> OptionalCount(const py::handle& value, const char* name,
                                      uint64_t maximum = std::numeric_limits<uint32_t>::max()) {
    if (value.is_none()) return std::nullopt;
    if (!IsInteger(value)) {
        throw py::type_error(std::string(name) + " must be an int, not " + TypeNameOf(value));
    }
    long long number = 0;
    try {
        number = value.cast<long long>();
    } catch (const py::cast_error&) {
        number = -1;
    }
    if (number < 0 || static_cast<uint64_t>(number) > maximum) {
        throw py::value_error(std::string(name) + " must be between 0 and " +
                              std::to_string(maximum) + ", not " +
                              py::str(value).cast<std::string>());
    }
    return static_cast<uint64_t>(number);
}

std::unique_ptr<RGBFilter> ParseWhiteBalance(const py::handle& gains, int64 source) {
    if (gains.is_none()) return nullptr;
    std::vector<double> values;
    try {
        values = gains.cast<std::vector<double>>();
    } catch (const py::cast_error&) {
        throw py::type_error("white_balance must be three numbers (r, g, b), not " +
                             TypeNameOf(gains));
    }
    if (values.size() != 3) {
        throw py::value_error("white_balance takes three gains (r, g, b), not " +
                              std::to_string(values.size()));
    }
    // The kernels read the 8-bit tables; the depth only has to be one a filter can have.
    const PixelType* type = PixelTypeFactory::FindPixelType(source);
    uint32_t bits = type ? type->GetPixelBitSize() : 8;
    if (bits < 8 || bits > 16) bits = 8;
    auto filter = std::make_unique<RGBFilter>(bits);
    if (filter->SetMultipliers(values[0], values[1], values[2]).IsFailure()) {
        throw py::value_error("white_balance gains must not be negative");
    }
    return filter;
}

// How the destination's pixels look to numpy: one element per sample where samples are
// whole bytes or 16-bit words, raw line bytes otherwise.
struct OutputLayout {
    std::vector<py::ssize_t> shape;
    py::dtype dtype;
    size_t bytes;
};

OutputLayout LayoutOf(const PixelConverter& converter, uint32_t width, uint32_t height) {
    const int64 id = converter.GetDestinationTypeID();
    const size_t line = converter.GetDestinationLineSize(width);
    const py::ssize_t h = height, w = width;
    const auto u8 = py::dtype::of<uint8_t>();
    const auto u16 = py::dtype::of<uint16_t>();
    if (PixelTypeBits::Has(id, PixelTypeBits::kPlanar) && line % width == 0) {
        // The line of a planar type is the line of one plane.
        const size_t sample = line / width;
        if (sample == 1 || sample == 2) {
            return {{3, h, w}, sample == 1 ? u8 : u16, 3 * line * height};
        }
    }
    // By the line rather than the converter's pixel size: some types lie wider in memory
    // than their samples (unpacked 24-bit RGB takes four bytes a pixel).
    if (line % width == 0) {
        const size_t pixel = line / width;
        const size_t bytes = line * height;
        switch (pixel) {
            case 1:
                return {{h, w}, u8, bytes};
            case 2:
                // Gray and 5:6:5 RGB are one 16-bit word; 4:2:2 YUV is two bytes.
                if (PixelTypeBits::Has(id, PixelTypeBits::kYUV)) return {{h, w, 2}, u8, bytes};
                return {{h, w}, u16, bytes};
            case 3:
            case 4:
                return {{h, w, static_cast<py::ssize_t>(pixel)}, u8, bytes};
            case 6:
            case 8:
                return {{h, w, static_cast<py::ssize_t>(pixel / 2)}, u16, bytes};
            default:
                break;
        }
    }
    return {{h, static_cast<py::ssize_t>(line)}, u8, line * height};
}

std::string ShapeText(const std::vector<py::ssize_t>& shape) {
    std::string text = "(";
    for (size_t i = 0; i < shape.size(); ++i) {
        text += (i ? ", " : "") + std::to_string(shape[i]);
    }
    return text + (shape.size() == 1 ? ",)" : ")");
}

bool IsCContiguous(const py::buffer_info& info) {
    py::ssize_t expected = info.itemsize;
    for (py::ssize_t k = info.ndim - 1; k >= 0; --k) {
        if (info.shape[k] != 1 && info.strides[k] != expected) return false;
        expected *= info.shape[k];
    }
    return true;
}

// The width whose source line is exactly lineBytes long. Packings of two pixels in
// three bytes give one line size to two widths: the caller has to say which.
uint32_t WidthOfLine(const PixelConverter& converter, uint64_t lineBytes,
                     const std::string& label) {
    // Line sizes grow with the width, and no layout spends less than half a byte a pixel.
    uint64_t low = 1, high = std::min<uint64_t>(2 * lineBytes, uint64_t{1} << 26);
    while (low < high) {
        const uint64_t mid = (low + high) / 2;
        if (converter.GetSourceLineSize(static_cast<uint32_t>(mid)) < lineBytes) {
            low = mid + 1;
        } else {
            high = mid;
        }
    }
    std::vector<uint32_t> widths;
    for (uint64_t w = low; w <= (uint64_t{1} << 26) &&
                           converter.GetSourceLineSize(static_cast<uint32_t>(w)) == lineBytes;
         ++w) {
        widths.push_back(static_cast<uint32_t>(w));
    }
    if (widths.size() == 1) return widths.front();
    if (widths.empty()) {
        throw py::value_error("a line of " + std::to_string(lineBytes) +
                              " bytes is no whole line of " + label + "; give width=");
    }
    throw py::value_error("a line of " + std::to_string(lineBytes) + " bytes of " + label +
                          " fits widths " + std::to_string(widths.front()) + " to " +
                          std::to_string(widths.back()) + "; give width=");
}

std::string Label(const Format& format) {
    if (format.pfnc != nullptr) return format.pfnc->name;
    if (PixelTypeFactory::HasPixelType(format.type)) {
        return std::string("'") + PixelTypeFactory::GetPixelTypeName(format.type) + "'";
    }
    return Hex(static_cast<uint64_t>(format.type));
}

py::object Convert(const py::object& frame, const py::object& source, const py::object& destination,
                   const py::object& pattern, const py::object& method,
                   const py::object& whiteBalance, const py::object& threads, const py::object& out,
                   const py::object& width, const py::object& height, const py::object& stride,
                   const py::object& fieldOrder) {
    if (!PyObject_CheckBuffer(frame.ptr())) {
        throw py::type_error(
            "frame must be a buffer (numpy array, bytes, bytearray or memoryview), not " +
            TypeNameOf(frame));
    }
    const Format from = ResolveFormat(source, "source");
    const Format to = ResolveFormat(destination, "destination");

    ConvertOptions options;
    options.bayerTile =
        pattern.is_none() ? (from.tile ? from.tile : kBayerTileGRBG) : ParseTile(pattern);
    options.demosaic = ParseMethod(method);
    options.secondFieldFirst = ParseFieldOrder(fieldOrder);
    const std::optional<uint64_t> threadCount = OptionalCount(threads, "threads");
    if (!threadCount) throw py::type_error("threads must be an int, not None");
    options.threads = static_cast<uint32_t>(*threadCount);
    const std::unique_ptr<RGBFilter> filter = ParseWhiteBalance(whiteBalance, from.type);
    options.filter = filter.get();

    const PixelConverter* converter = PixelTypeFactory::FindConverter(from.type, to.type);
    if (converter == nullptr) {
        // The library's own words, with the names the caller used.
        const FrameResult refusal = ConvertFrame(FrameView{from.type, 1, 1, 0, nullptr, 0},
                                                 MutableFrameView{to.type, 1, 1, 0, nullptr, 0});
        std::string message =
            "no conversion from " + Label(from) + " to " + Label(to) + ": " + refusal.message;
        for (const Format* side : {&from, &to}) {
            if (side->pfnc != nullptr && !side->pfnc->convertible) {
                message +=
                    std::string("; this library has no decoder for ") + side->pfnc->name + " yet";
            }
        }
        throw py::value_error(message);
    }

    // Held until the conversion ends: the exporter keeps the memory where it is
    // (a bytearray cannot be resized while exported).
    const py::buffer_info input = py::reinterpret_borrow<py::buffer>(frame).request();
    if (!IsCContiguous(input)) {
        throw py::value_error(
            "frame must be C-contiguous (numpy.ascontiguousarray makes it so); give stride= "
            "for padded lines of a flat buffer");
    }
    const bool planar = PixelTypeBits::Has(from.type, PixelTypeBits::kPlanar);
    // The bytes of one line, when the buffer's shape says: (height, ...) for packed
    // layouts, (3, height, width) for planar ones.
    std::optional<uint64_t> lineBytes;
    std::optional<uint64_t> shapeHeight;
    if (planar && input.ndim == 3) {
        if (input.shape[0] != 3) {
            throw py::value_error("a planar frame is shaped (3, height, width), not " +
                                  ShapeText(input.shape));
        }
        shapeHeight = input.shape[1];
        lineBytes = static_cast<uint64_t>(input.shape[2] * input.itemsize);
    } else if (!planar && input.ndim >= 2) {
        shapeHeight = input.shape[0];
        // From the shape, not strides[0]: numpy may give any stride to a single line.
        uint64_t bytes = static_cast<uint64_t>(input.itemsize);
        for (py::ssize_t k = 1; k < input.ndim; ++k) bytes *= static_cast<uint64_t>(input.shape[k]);
        lineBytes = bytes;
    }

    const std::optional<uint64_t> givenHeight = OptionalCount(height, "height");
    const std::optional<uint64_t> givenWidth = OptionalCount(width, "width");
    const std::optional<uint64_t> givenStride =
        OptionalCount(stride, "stride", std::numeric_limits<size_t>::max());
    if (!givenHeight && !shapeHeight) {
        throw py::value_error(
            "give height= (and width=) for a flat frame; only the shape of a 2-D or 3-D "
            "array tells them");
    }
    if (!givenHeight && *shapeHeight > std::numeric_limits<uint32_t>::max()) {
        throw py::value_error("the frame has more lines than a conversion takes");
    }
    const auto frameHeight = static_cast<uint32_t>(givenHeight ? *givenHeight : *shapeHeight);
    uint32_t frameWidth = 0;
    if (givenWidth) {
        frameWidth = static_cast<uint32_t>(*givenWidth);
    } else if (lineBytes) {
        // An empty frame is left for the library to refuse in its own words.
        frameWidth = *lineBytes == 0 ? 0 : WidthOfLine(*converter, *lineBytes, Label(from));
    } else {
        throw py::value_error(
            "give width= for a flat frame; only the shape of a 2-D or 3-D array tells it");
    }
    const size_t sourceStride =
        givenStride ? static_cast<size_t>(*givenStride) : (lineBytes ? *lineBytes : 0);

    const FrameView view{from.type,   frameWidth,
                         frameHeight, sourceStride,
                         input.ptr,   static_cast<size_t>(input.size * input.itemsize)};
    const FrameFootprint footprint =
        GetFrameFootprint(*converter, frameWidth, frameHeight, sourceStride, 0);
    if (!footprint.result) throw py::value_error(footprint.result.message);
    const OutputLayout layout = LayoutOf(*converter, frameWidth, frameHeight);

    py::object result;
    unsigned char* target = nullptr;
    size_t targetBytes = 0;
    if (!out.is_none()) {
        if (!py::isinstance<py::array>(out)) {
            throw py::type_error("out must be a numpy array, not " + TypeNameOf(out));
        }
        auto array = py::reinterpret_borrow<py::array>(out);
        const std::vector<py::ssize_t> shape(array.shape(), array.shape() + array.ndim());
        if (!array.dtype().equal(layout.dtype) || shape != layout.shape ||
            !(array.flags() & py::array::c_style) || !array.writeable()) {
            throw py::value_error("out must be a writable C-contiguous " +
                                  layout.dtype.attr("name").cast<std::string>() + " array shaped " +
                                  ShapeText(layout.shape) + ", not a " +
                                  (array.writeable() ? "" : "read-only ") +
                                  array.dtype().attr("name").cast<std::string>() +
                                  " array shaped " + ShapeText(shape));
        }
        result = out;
        target = static_cast<unsigned char*>(array.mutable_data());
        targetBytes = layout.bytes;
    } else if (footprint.destinationBytes <= layout.bytes) {
        py::array array(layout.dtype, layout.shape);
        target = static_cast<unsigned char*>(array.mutable_data());
        targetBytes = layout.bytes;
        result = std::move(array);
    } else {
        // The layout writes past the frame: the array is a view of the frame's part of a
        // buffer that has room for the overrun.
        py::array_t<uint8_t> backing(static_cast<py::ssize_t>(footprint.destinationBytes));
        target = backing.mutable_data();
        targetBytes = footprint.destinationBytes;
        result = py::array(layout.dtype, layout.shape, std::vector<py::ssize_t>{}, target, backing);
    }

    FrameResult outcome;
    {
        py::gil_scoped_release release;
        if (targetBytes >= footprint.destinationBytes) {
            outcome = ConvertFrame(
                view, MutableFrameView{to.type, frameWidth, frameHeight, 0, target, targetBytes},
                options);
        } else {
            // An out= array of the frame's size has no room for what this layout writes past
            // the frame: the conversion goes through a buffer that has.
            std::unique_ptr<unsigned char[]> scratch(
                new (std::nothrow) unsigned char[footprint.destinationBytes]);
            if (!scratch) {
                outcome =
                    FrameResult{FrameError::kOutOfMemory,
                                "no memory for a " + std::to_string(footprint.destinationBytes) +
                                    "-byte conversion buffer"};
            } else {
                outcome = ConvertFrame(view,
                                       MutableFrameView{to.type, frameWidth, frameHeight, 0,
                                                        scratch.get(), footprint.destinationBytes},
                                       options);
                if (outcome) std::memcpy(target, scratch.get(), layout.bytes);
            }
        }
    }
    if (!outcome) {
        if (outcome.error == FrameError::kOutOfMemory) throw std::bad_alloc();
        throw py::value_error(outcome.message);
    }
    return result;
}

// The namedtuple type of pfnc() results; the module's attribute PfncFormat keeps it alive.
py::handle gPfncFormatType;

py::object PfncTuple(const PfncFormat& format) {
    const char* tile = TileName(format.flags);
    return gPfncFormatType(format.code, format.name, format.bitsPerPixel, format.pixelType,
                           tile ? py::object(py::str(tile)) : py::object(py::none()),
                           format.convertible);
}

py::object LookUpPfnc(const py::object& key) {
    const PfncFormat* format = nullptr;
    if (IsInteger(key)) {
        // Out of range is simply not found.
        if (py::int_(0) <= key && key <= py::int_(0xFFFFFFFFu)) {
            format = FindPfncFormat(key.cast<uint32_t>());
        }
    } else if (py::isinstance<py::str>(key)) {
        format = FindPfncFormat(key.cast<std::string>().c_str());
    } else {
        throw py::type_error("pfnc() takes a format name (str) or code (int), not " +
                             TypeNameOf(key));
    }
    if (format == nullptr) throw py::key_error(py::repr(key).cast<std::string>());
    return PfncTuple(*format);
}

py::list Formats() {
    py::list formats;
    for (int64 id : CurrentCatalogue().types) {
        py::dict entry;
        entry["id"] = id;
        entry["name"] = PixelTypeFactory::GetPixelTypeName(id);
        const char* pfnc = GetPfncName(id, 0);
        entry["pfnc"] = pfnc ? py::object(py::str(pfnc)) : py::object(py::none());
        formats.append(std::move(entry));
    }
    return formats;
}

py::list Pairs() {
    py::list pairs;
    for (const auto& pair : CurrentCatalogue().pairs) {
        pairs.append(py::make_tuple(pair.first, pair.second));
    }
    return pairs;
}

constexpr const char* kConvertDoc =
    R"(convert(frame, source, destination, *, pattern=None, method="block",
        white_balance=None, threads=1, out=None, width=None, height=None, stride=None,
        field_order="first") -> numpy.ndarray

Converts one frame from the source format to the destination format.

frame: any C-contiguous buffer (numpy array, bytes, bytearray, memoryview); it is read
    in place, never copied. A 2-D or 3-D array gives height, width and stride from its
    shape: (height, ...) rows for packed layouts, (3, height, width) for planar ones.
    Flat buffers need width= and height=; stride= (bytes from one line to the next)
    defaults to lines without padding.
source, destination: a PFNC name ("BayerRG8", "Mono12p", "YUV422_8_UYVY") or code
    (int >= 0x01000000), or a pixel type id (int) or display name (str) of this library
    (see formats()). A PFNC mosaic name sets the Bayer tile.
pattern: "GRBG", "GBRG", "RGGB" or "BGGR"; overrides the tile of the source name
    (default GRBG).
method: how a mosaic's missing colours are interpolated: "block" (each 2x2 tile gives
    one colour), "bilinear" (3x3 neighbourhood), "gradient_corrected" (bilinear
    corrected by the Laplacian of the pixel's own colour, 5x5 filters) or "edge_directed"
    (green along the smoother direction, then red and blue from colour differences).
    Hyphens may stand for the underscores.
white_balance: (r, g, b) gains applied to colour sources.
threads: 1 converts on the calling thread, 0 on every hardware thread, n on at most n.
out: a writable C-contiguous array of exactly the result's shape and dtype, filled in
    place and returned. Where a layout writes past the frame (odd-height Bayer frames
    one line, odd-width GigE Vision packings one pixel a line) the conversion goes
    through an internal buffer and the frame is copied into out.
field_order: "first" or "second": the field of an interlaced source that holds line 0.

The result is (H, W, 3|4) uint8 for 3- and 4-byte colour, (H, W, 3|4) uint16 for 48-
and 64-bit colour, (H, W) uint8 / uint16 for 8-bit / 16-bit gray and for 5:6:5 RGB
(uint16), (H, W, 2) uint8 for 4:2:2 YUV, (3, H, W) for planar RGB and (H, line bytes)
uint8 for other packings. The GIL is released while converting.

Raises ValueError for anything the conversion cannot take (with the library's reason),
TypeError for arguments of the wrong type.)";

}  // namespace

PYBIND11_MODULE(znconverters, m) {
    m.doc() =
        "Camera frame conversion (Bayer, packed gray, YUV, multi-tap and RGB formats) into "
        "numpy arrays.";
    m.attr("__version__") = ZN_VERSION;
    // The camera packings no built-in type reads register on first use; registered now,
    // formats() and pairs() list them from the start.
    RegisterCameraFormats();
    m.attr("PfncFormat") =
        py::module_::import("collections")
            .attr("namedtuple")("PfncFormat",
                                "code name bits_per_pixel pixel_type pattern convertible");
    gPfncFormatType = m.attr("PfncFormat");
    m.def("convert", &Convert, py::arg("frame"), py::arg("source"), py::arg("destination"),
          py::kw_only(), py::arg("pattern") = py::none(), py::arg("method") = "block",
          py::arg("white_balance") = py::none(), py::arg("threads") = 1,
          py::arg("out") = py::none(), py::arg("width") = py::none(),
          py::arg("height") = py::none(), py::arg("stride") = py::none(),
          py::arg("field_order") = "first", kConvertDoc);
    m.def("formats", &Formats,
          "The registered pixel types: a list of dicts with 'id', 'name' (the display name) "
          "and 'pfnc' (the canonical PFNC name, GRBG for mosaics, or None).");
    m.def("pairs", &Pairs, "Every (source id, destination id) pair that has a converter.");
    m.def("pfnc", &LookUpPfnc, py::arg("name_or_code"),
          "The PFNC format of this name (case-insensitive, older names too) or code, as "
          "(code, name, bits_per_pixel, pixel_type, pattern, convertible); KeyError if unknown.");
}
