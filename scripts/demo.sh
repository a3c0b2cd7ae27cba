#!/usr/bin/env bash
# Builds the library and znconvert, then demosaics the sample camera frame (an 8-bit
# Bayer mosaic, tile GRBG, 1024x768) into a BMP image.
set -euo pipefail
cd "$(dirname "$0")/.."
ZN_WITH_AARCH64=0 scripts/install-deps.sh  # the cross build is for the tests only
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DZN_SANITIZE= >/dev/null
cmake --build build/release -j "$(nproc)" --target znconvert
mkdir -p out
build/release/tools/znconvert --from "Bayer RGB8-bits" --to "BGR 24-bits, Packed" \
  --size 1024x768 --pattern GRBG --demosaic bilinear \
  samples/raccoon-1024x768-bayer-grbg8.raw out/raccoon.bmp
echo "wrote $(pwd)/out/raccoon.bmp"
