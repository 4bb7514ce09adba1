#!/usr/bin/env bash
# Builds the console and starts it on the bundled demo host (a simulated host
# in ./demo-host). Log in with root / merel.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target merel merel-sim
ROOT=${MEREL_DEMO_ROOT:-$PWD/demo-host}
[ -f "$ROOT/host.json" ] || ./build/merel-sim init "$ROOT" "${1:-sim/demo-host.json}"
exec ./build/merel-sim run "$ROOT"
