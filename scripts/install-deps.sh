#!/usr/bin/env bash
# Installs what building and testing need when a fresh machine lacks it (Debian).
set -euo pipefail

missing=()
command -v cmake >/dev/null 2>&1 || missing+=(cmake)
command -v g++ >/dev/null 2>&1 || missing+=(g++)
[ -f /usr/include/gtest/gtest.h ] || missing+=(libgtest-dev)
[ -f /usr/include/hwy/highway.h ] || missing+=(libhwy-dev)
if [ "${ZN_WITH_BENCHMARKS:-0}" = 1 ]; then
  [ -f /usr/include/benchmark/benchmark.h ] || missing+=(libbenchmark-dev)
  # The peers the benchmarks compare against; the library never links them.
  [ -f /usr/include/libyuv.h ] || missing+=(libyuv-dev)
  [ -d /usr/include/opencv4 ] || missing+=(libopencv-dev)
fi

if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}"
fi

# Optional: the Python module and its tests (pybind11, numpy, pytest), the fuzzer (clang
# with its libFuzzer runtime), PNG output of the tools (libpng) and the camera example
# with its fake-camera test (Aravis). Each part is skipped, with a message, when its
# packages cannot be had; ZN_WITH_EXTRAS=0 skips them outright.
if [ "${ZN_WITH_EXTRAS:-1}" = 1 ]; then
  extras=()
  [ -f /usr/include/pybind11/pybind11.h ] || extras+=(pybind11-dev)
  /usr/bin/python3 -c "import numpy" >/dev/null 2>&1 || extras+=(python3-numpy)
  /usr/bin/python3 -c "import pytest" >/dev/null 2>&1 || extras+=(python3-pytest)
  command -v clang++ >/dev/null 2>&1 || extras+=(clang)
  ls /usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-x86_64.a >/dev/null 2>&1 ||
    [ "$(uname -m)" != x86_64 ] || extras+=(libclang-rt-14-dev)
  [ -f /usr/include/png.h ] || extras+=(libpng-dev)
  [ -f /usr/include/aravis-0.8/arv.h ] || extras+=(libaravis-dev)
  command -v arv-fake-gv-camera-0.8 >/dev/null 2>&1 || extras+=(aravis-tools)
  if [ ${#extras[@]} -gt 0 ]; then
    echo "installing (optional): ${extras[*]}"
    sudo_cmd=""
    [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
    if ! { $sudo_cmd apt-get update -qq &&
      DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${extras[@]}"; }; then
      echo "optional packages not installed: the parts that need them (Python module, fuzzer, PNG output, camera example) will be skipped"
    fi
  fi
fi

# Optional: the 64-bit ARM cross build (cross compiler, qemu, arm64 Highway and GoogleTest)
# that runs the kernel differential test on the NEON rows. Skipped with a message when the
# packages cannot be had; ZN_WITH_AARCH64=0 skips it outright.
if [ "${ZN_WITH_AARCH64:-1}" = 1 ]; then
  if command -v aarch64-linux-gnu-g++ >/dev/null 2>&1 && command -v qemu-aarch64 >/dev/null 2>&1 &&
    [ -f /usr/lib/aarch64-linux-gnu/libhwy.so ] && [ -f /usr/lib/aarch64-linux-gnu/libgtest.a ]; then
    :
  else
    echo "installing the aarch64 cross build (optional)"
    sudo_cmd=""
    [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
    if ! { $sudo_cmd dpkg --add-architecture arm64 && $sudo_cmd apt-get update -qq &&
      DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq g++-aarch64-linux-gnu \
        qemu-user libhwy-dev:arm64 libgtest-dev:arm64; }; then
      echo "aarch64 cross build not installed: its test stage will be skipped"
    fi
  fi
fi
