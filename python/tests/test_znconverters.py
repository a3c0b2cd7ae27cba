"""The module against independent references: numpy for the simple layouts, the
converter's own Convert call (reference_convert) for demosaicing; zero-copy input and
in-place output, the ways of naming a format, errors and threads."""

import os
import subprocess
import threading

import numpy as np
import pytest

import znconverters as zc

REFERENCE = os.environ.get("ZN_REFERENCE_CONVERT", "")
SAMPLE = os.path.join(os.environ.get("ZN_SOURCE_DIR", ""), "samples",
                      "raccoon-1024x768-bayer-grbg8.raw")
needs_reference = pytest.mark.skipif(
    not (os.path.exists(REFERENCE) and os.path.exists(SAMPLE)),
    reason="ZN_REFERENCE_CONVERT or the sample frame is missing (run through ctest)")

TILES = {"GRBG": 0x10, "GBRG": 0x20, "RGGB": 0x40, "BGGR": 0x80}
BILINEAR = 0x100
# Either spelling reaches the method.
BETTER_METHODS = ("gradient_corrected", "edge_directed", "gradient-corrected", "edge-directed")


def random_frame(shape, dtype=np.uint8, high=None, seed=7):
    high = np.iinfo(dtype).max if high is None else high
    return np.random.default_rng(seed).integers(0, high + 1, shape, dtype=dtype)


def display_name(type_id):
    return next(f["name"] for f in zc.formats() if f["id"] == type_id)


def sample(bits=8):
    """The sample frame; wider samples get the bits below the picture's from noise."""
    frame = np.fromfile(SAMPLE, np.uint8).reshape(768, 1024)
    if bits == 8:
        return frame
    noise = random_frame(frame.shape, np.uint16, (1 << (bits - 8)) - 1)
    return (frame.astype(np.uint16) << (bits - 8)) | noise


def reference(frame, source, destination, flags, gains, tmp_path, width=None, method=None):
    """The bytes the converter's own Convert writes (the method's converter object for
    the methods the registry has none of); frame rows wider than width are padded
    lines."""
    height = frame.shape[0]
    src, dst = tmp_path / "in.raw", tmp_path / "out.raw"
    src.write_bytes(frame.tobytes())
    chosen = ["--method=" + method.replace("_", "-")] if method in BETTER_METHODS else []
    subprocess.run([REFERENCE, *chosen, hex(source), hex(destination), str(width or frame.shape[1]),
                    str(height), str(frame.strides[0] if width else 0), hex(flags), str(src),
                    str(dst), *map(str, gains or ())], check=True)
    return dst.read_bytes()


# Each way of naming a format, on conversions whose result numpy computes on its own.
SWAP = lambda f: f[..., ::-1]
GRAY_TO_RGB = lambda f: np.repeat(f[..., None], 3, axis=-1)
WEAVE = lambda first, second: np.stack([first, second], axis=1).reshape(-1, first.shape[1])
NUMPY_CASES = [
    ("RGB8", "BGR8", (5, 7, 3), np.uint8, {}, SWAP),                 # PFNC names
    (0x02180014, 0x02180015, (5, 7, 3), np.uint8, {}, SWAP),         # PFNC codes
    (0x420002, 0x420006, (5, 7, 3), np.uint8, {}, SWAP),             # library ids
    (display_name(0x420002), display_name(0x420006), (5, 7, 3), np.uint8, {}, SWAP),
    ("rgb8packed", "bgr8packed", (5, 7, 3), np.uint8, {}, SWAP),     # older camera names
    ("Mono8", "RGB8", (5, 7), np.uint8, {}, GRAY_TO_RGB),
    ("Mono12", "Mono8", (5, 7), np.uint16, {}, lambda f: (f >> 4).astype(np.uint8)),
    ("RGB8", "RGB8_Planar", (5, 7, 3), np.uint8, {}, lambda f: np.moveaxis(f, -1, 0)),
    ("RGB8_Planar", "RGB8", (3, 5, 7), np.uint8, {}, lambda f: np.moveaxis(f, 0, -1)),
    # An interlaced frame holds one field after the other.
    (0x210001, "Mono8", (6, 7), np.uint8, {}, lambda f: WEAVE(f[:3], f[3:])),
    (0x210001, "Mono8", (6, 7), np.uint8, dict(field_order="second"),
     lambda f: WEAVE(f[3:], f[:3])),
]


@pytest.mark.parametrize("source,destination,shape,dtype,options,expected", NUMPY_CASES)
def test_matches_numpy(source, destination, shape, dtype, options, expected):
    high = 4095 if dtype == np.uint16 else None
    frame = random_frame(shape, dtype, high)
    result = zc.convert(frame, source, destination, **options)
    want = expected(frame)
    assert result.dtype == want.dtype and result.shape == want.shape
    assert np.array_equal(result, want)


@needs_reference
@pytest.mark.parametrize("source,options,destination,flags,gains", [
    ("BayerGR8", dict(method="bilinear"), "RGB8", TILES["GRBG"] | BILINEAR, None),
    ("BayerRG8", dict(method="block", white_balance=(1.5, 1, 1.25)), "BGR8", TILES["RGGB"],
     (1.5, 1, 1.25)),
    (0x20010, dict(pattern="bggr", method="bilinear", threads=2), "BGRa8",
     TILES["BGGR"] | BILINEAR, None),
    ("BayerGB8", dict(method="bilinear", threads=0), "RGB8_Planar", TILES["GBRG"] | BILINEAR,
     None),
    ("BayerGR8", dict(method="gradient_corrected"), "RGB8", TILES["GRBG"], None),
    ("BayerRG8", dict(method="edge-directed", white_balance=(1.5, 1, 1.25)), "BGRa8",
     TILES["RGGB"], (1.5, 1, 1.25)),
    (0x20010, dict(pattern="gbrg", method="gradient-corrected", threads=2), "RGB8_Planar",
     TILES["GBRG"], None),
    ("BayerBG8", dict(method="edge_directed", threads=0), "BGR8", TILES["BGGR"], None),
    # 12-bit mosaics into 16-bit channels.
    ("BayerBG12", dict(method="gradient_corrected"), "RGB16", TILES["BGGR"], None),
    ("BayerGB12", dict(method="edge_directed", white_balance=(1.25, 1, 2)), 0x20804,
     TILES["GBRG"], (1.25, 1, 2)),
])
def test_demosaicing_matches_the_converter(tmp_path, source, options, destination, flags, gains):
    from_ = zc.pfnc(source).pixel_type if isinstance(source, str) else source
    to = zc.pfnc(destination).pixel_type if isinstance(destination, str) else destination
    frame = sample(12 if from_ == 0x20012 else 8)
    method = options["method"]
    want = reference(frame, from_, to, flags, gains, tmp_path, method=method)
    assert zc.convert(frame, source, destination, **options).tobytes() == want
    # Padded lines of a wider array: the width from the caller, the stride from the array.
    padded = np.zeros((768, 1040), frame.dtype)
    padded[:, :1024] = frame
    want = reference(padded, from_, to, flags, gains, tmp_path, width=1024, method=method)
    assert zc.convert(padded, source, destination, width=1024, **options).tobytes() == want


def flat_mosaic(tile, red, green, blue, shape, dtype):
    """A mosaic of one colour: each site holds the channel its filter passes."""
    sites = {"R": red, "G": green, "B": blue}
    frame = np.empty(shape, dtype)
    for k, channel in enumerate(tile):
        frame[k // 2::2, k % 2::2] = sites[channel]
    return frame


# Odd sizes put a half tile at the right and bottom borders, which are mirrored.
@pytest.mark.parametrize("method", BETTER_METHODS[:2])
@pytest.mark.parametrize("tile", TILES)
def test_a_flat_colour_comes_back_exactly(method, tile):
    frame = flat_mosaic(tile, 200, 90, 30, (7, 9), np.uint8)
    result = zc.convert(frame, 0x20010, "RGB8", pattern=tile, method=method)
    assert np.array_equal(result, np.broadcast_to(np.uint8([200, 90, 30]), (7, 9, 3)))
    # Wide samples, into 8- and 16-bit channels: however they are scaled, every pixel is
    # the colour the block method gives.
    frame = flat_mosaic(tile, 4000, 1234, 7, (7, 9), np.uint16)
    for destination in ("BGR8", "RGB16"):
        result = zc.convert(frame, "BayerGR12", destination, pattern=tile, method=method)
        block = zc.convert(frame, "BayerGR12", destination, pattern=tile, method="block")
        assert np.array_equal(block, np.broadcast_to(block[0, 0], block.shape))
        assert np.array_equal(result, block), destination


@pytest.mark.parametrize("source,destination,shape,dtype,out_shape,out_dtype", [
    ("Mono8", "BGRa8", (4, 6), np.uint8, (4, 6, 4), np.uint8),
    ("Mono16", "Mono10", (4, 6), np.uint16, (4, 6), np.uint16),
    ("RGB8", "BGR565p", (4, 6, 3), np.uint8, (4, 6), np.uint16),
    ("YUV422_8", "YUV422_8", (4, 6, 2), np.uint8, (4, 6, 2), np.uint8),
    ("RGB12", "RGB12", (4, 6, 3), np.uint16, (4, 6, 3), np.uint16),
    # Layouts that write past the frame: an odd-height mosaic one line, an odd-width
    # packing of two pixels in three bytes one pixel.
    ("BayerRG8", "RGB8", (5, 6), np.uint8, (5, 6, 3), np.uint8),
    ("Mono12Packed", "RGB8", (4, 9), np.uint8, (4, 5, 3), np.uint8),
])
def test_out_holds_what_a_new_array_holds(source, destination, shape, dtype, out_shape,
                                          out_dtype):
    frame = random_frame(shape, dtype, 4095 if dtype == np.uint16 else None)
    width = 5 if source == "Mono12Packed" else None
    fresh = zc.convert(frame, source, destination, width=width)
    assert fresh.shape == out_shape and fresh.dtype == out_dtype
    out = np.full(out_shape, 0xAB, out_dtype)
    assert zc.convert(frame, source, destination, width=width, out=out) is out
    assert np.array_equal(out, fresh)


def test_flat_buffers_are_read_in_place():
    frame = bytearray(random_frame((4, 6)).tobytes())
    view = memoryview(frame)
    result = zc.convert(view, "Mono8", "RGB8", width=6, height=4)
    frame[0] = 255  # the next call sees the change: the buffer is not a copy
    again = zc.convert(view, "Mono8", "RGB8", width=6, height=4)
    assert result[0, 0, 0] != 255 and tuple(again[0, 0]) == (255, 255, 255)
    assert np.array_equal(again, zc.convert(bytes(frame), "Mono8", "RGB8", width=6, height=4))


@pytest.mark.parametrize("call,error,message", [
    (lambda: zc.convert(random_frame((4, 7, 2)), "YUV422_8", "RGB8"), ValueError,
     "width 7 is not a multiple of 2"),
    (lambda: zc.convert(b"\0" * 10, "Mono8", "RGB8", width=4, height=4), ValueError,
     "the source buffer holds 10 bytes"),
    (lambda: zc.convert(random_frame((4, 4)), "Mono8", "YUV422_8"), ValueError,
     "no conversion from Mono8 to YUV422_8"),
    (lambda: zc.convert(random_frame((4, 4)), "no such format", "RGB8"), ValueError,
     "unknown format"),
    (lambda: zc.convert(random_frame((4, 4)), 0x7777, "RGB8"), ValueError, "0x7777"),
    (lambda: zc.convert(random_frame((4, 4)), "BayerRG8", "RGB8", pattern="XYZW"), ValueError,
     "pattern"),
    (lambda: zc.convert(random_frame((4, 4)), "BayerRG8", "RGB8", method="smooth"),
     ValueError, "'block', 'bilinear', 'gradient_corrected' or 'edge_directed', not 'smooth'"),
    (lambda: zc.convert(random_frame((4, 8))[:, ::2], "Mono8", "RGB8"), ValueError,
     "C-contiguous"),
    (lambda: zc.convert(b"\0" * 16, "Mono8", "RGB8"), ValueError, "height="),
    (lambda: zc.convert(random_frame((4, 4)), "Mono8", "RGB8", out=np.zeros((4, 4), np.uint8)),
     ValueError, r"shaped \(4, 4, 3\)"),
    (lambda: zc.convert(random_frame((4, 4)), "Mono8", "RGB8", threads=-1), ValueError,
     "threads"),
    (lambda: zc.convert(random_frame((4, 4)), "Mono8", "RGB8", white_balance=(1, -1, 1)),
     ValueError, "negative"),
    (lambda: zc.convert([1, 2, 3], "Mono8", "RGB8"), TypeError, "buffer"),
    (lambda: zc.convert(random_frame((4, 4)), 1.5, "RGB8"), TypeError, "source"),
    (lambda: zc.convert(random_frame((4, 4)), "Mono8", "RGB8", width="4"), TypeError, "width"),
    (lambda: zc.convert(random_frame((4, 4)), "Mono8", "RGB8", out=[0] * 48), TypeError, "out"),
])
def test_bad_input_raises_with_the_reason(call, error, message):
    with pytest.raises(error, match=message):
        call()


def test_a_frame_is_never_its_own_output():
    frame = random_frame((4, 4))
    with pytest.raises(ValueError, match="overlap"):
        zc.convert(frame, "Mono8", "Mono8", out=frame)


def test_pfnc_names_and_codes_find_the_same_format():
    by_name = zc.pfnc("BayerRG8")
    assert by_name == zc.pfnc(0x01080009) == zc.pfnc("bayerrg8")
    assert (by_name.pixel_type, by_name.pattern, by_name.bits_per_pixel) == (0x20010, "RGGB", 8)
    for key in ("NoSuchFormat", 0x01080000, 1 << 70):
        with pytest.raises(KeyError):
            zc.pfnc(key)
    formats = {f["id"]: f for f in zc.formats()}
    assert formats[0x20010]["pfnc"] == "BayerGR8"
    assert all(pair[0] in formats or pair[1] in formats for pair in zc.pairs())
    assert (0x20010, 0x420002) in zc.pairs()


@needs_reference
def test_python_threads_convert_at_once_with_the_gil_released():
    frame = sample()
    expected = zc.convert(frame, "BayerRG8", "BGRa8", method="bilinear")
    results, errors = [], []

    def work():
        try:
            for _ in range(10):
                results.append(zc.convert(frame, "BayerRG8", "BGRa8", method="bilinear"))
        except Exception as error:  # reported below: an exception in a thread is lost
            errors.append(error)

    threads = [threading.Thread(target=work) for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not errors and len(results) == 20
    assert all(np.array_equal(result, expected) for result in results)
