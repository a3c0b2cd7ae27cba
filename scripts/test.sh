#!/usr/bin/env bash
# Builds and runs every test three ways: an optimised build, an AddressSanitizer +
# UndefinedBehaviorSanitizer build, and a ThreadSanitizer build of the concurrency tests.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

jobs=${JOBS:-$(nproc)}

suite() {
  local name=$1
  shift
  echo "=== ${name} ==="
  cmake -S . -B "build/${name}" -DZN_BUILD_BENCHMARKS=OFF "$@" >/dev/null
  cmake --build "build/${name}" -j "${jobs}"
  ctest --test-dir "build/${name}" --output-on-failure -j "${jobs}"
}

suite release -DCMAKE_BUILD_TYPE=Release -DZN_SANITIZE=
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
  suite asan -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE=-O1 -DZN_SANITIZE=address
TSAN_OPTIONS=halt_on_error=1 \
  suite tsan -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE=-O1 -DZN_SANITIZE=thread \
  -DZN_CONCURRENCY_TESTS_ONLY=ON
# The frame API under libFuzzer (clang, ASan + UBSan), for a bounded time on its seeds.
echo "=== fuzz ==="
scripts/fuzz.sh "${ZN_FUZZ_SECONDS:-60}"
# The NEON rows, cross-compiled and run under qemu against the plain rows.
if command -v aarch64-linux-gnu-g++ >/dev/null 2>&1 && command -v qemu-aarch64 >/dev/null 2>&1 &&
  [ -f /usr/lib/aarch64-linux-gnu/libhwy.so ] && [ -f /usr/lib/aarch64-linux-gnu/libgtest.a ]; then
  echo "=== aarch64 (qemu) ==="
  cmake -S . -B build/aarch64 -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake \
    -DCMAKE_BUILD_TYPE=Release -DZN_SANITIZE= -DZN_BUILD_BENCHMARKS=OFF >/dev/null
  cmake --build build/aarch64 -j "${jobs}" --target test_KernelDifferentialTest test_DemosaicTest
  for test in KernelDifferentialTest DemosaicTest; do
    qemu-aarch64 -L /usr/aarch64-linux-gnu \
      -E LD_LIBRARY_PATH=/usr/lib/aarch64-linux-gnu:"$PWD/build/aarch64" \
      "build/aarch64/tests/test_${test}"
  done
else
  echo "=== aarch64 (qemu): skipped, the cross compiler, qemu-user or arm64 packages are missing ==="
fi
echo "all test suites passed"
