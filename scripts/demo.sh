#!/usr/bin/env bash
# Builds the library and its example, and converts a frame through the registry.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DZN_SANITIZE= >/dev/null
cmake --build build/release -j "$(nproc)" --target identity_example
build/release/examples/identity_example
