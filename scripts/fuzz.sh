#!/usr/bin/env bash
# Builds the frame fuzzer (clang, libFuzzer, AddressSanitizer + UndefinedBehaviorSanitizer)
# in build/fuzz and runs it for a bounded time on a copy of fuzz/corpus; inputs it finds
# stay in a temporary directory. Exits non-zero on a finding, whose input is kept in
# build/fuzz/artifacts.
#   scripts/fuzz.sh [SECONDS]    (default 60; JOBS sets the build's parallelism)
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
if ! command -v clang++ >/dev/null 2>&1; then
  echo "skipped: clang++ not found (apt-get install clang)"
  exit 0
fi
jobs=${JOBS:-$(nproc)}

echo "=== build (build/fuzz) ==="
started=$(date +%s)
# One SIMD target (SSE4 on x86) instead of all of them: the fuzzer checks the frame API,
# the differential test checks the targets against each other, and the build is five
# times shorter.
target_flags=""
[ "$(uname -m)" != x86_64 ] || target_flags="-march=x86-64-v2 -DHWY_COMPILE_ONLY_STATIC=1"
cmake -S . -B build/fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g" "-DCMAKE_CXX_FLAGS=${target_flags}" \
  -DZN_SANITIZE=address -DZN_BUILD_FUZZERS=ON \
  -DZN_BUILD_TESTS=OFF -DZN_BUILD_TOOLS=OFF -DZN_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build build/fuzz -j "${jobs}" --target frame_fuzzer
echo "built in $(($(date +%s) - started)) s"

work=$(mktemp -d)
trap 'rm -rf "${work}"' EXIT
mkdir "${work}/corpus"
cp fuzz/corpus/* "${work}/corpus/"
mkdir -p build/fuzz/artifacts

echo "=== fuzz for ${seconds} s ==="
status=0
UBSAN_OPTIONS=print_stacktrace=1 build/fuzz/fuzz/frame_fuzzer -max_len=4096 -timeout=10 \
  -max_total_time="${seconds}" -print_final_stats=1 -artifact_prefix=build/fuzz/artifacts/ \
  "${work}/corpus" 2>&1 | tee "${work}/log" || status=${PIPESTATUS[0]}

runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "${work}/log" | tail -n 1)
speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "${work}/log" | tail -n 1)
echo "executions: ${runs:-unknown} (${speed:-?}/s), corpus grew to $(ls "${work}/corpus" | wc -l) inputs"
if [ "${status}" -ne 0 ]; then
  echo "fuzzer finding (exit ${status}); input in build/fuzz/artifacts/" >&2
  exit "${status}"
fi
