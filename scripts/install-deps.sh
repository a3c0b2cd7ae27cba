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
fi

if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}"
fi
