#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test: the normal build,
# then the AddressSanitizer + UndefinedBehaviorSanitizer build, then each
# fuzz target for a few seconds.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
JOBS=$(nproc)
FUZZ_SECONDS=${MEREL_FUZZ_SECONDS:-10}

run_suite() {  # build-dir, extra cmake args...
  local dir=$1; shift
  cmake -S . -B "$dir" "$@" >/dev/null
  cmake --build "$dir" -j"$JOBS"
  (cd "$dir" && ctest --output-on-failure -j"$JOBS" --timeout 600)
}

echo "== normal build"
run_suite build -DCMAKE_BUILD_TYPE=RelWithDebInfo
echo "== packaging (the normal build's package, unpacked into a scratch folder)"
bash scripts/check-package.sh build
echo "== sanitizer build"
run_suite build-asan -DCMAKE_BUILD_TYPE=Debug -DMEREL_SANITIZE=ON

echo "== fuzz targets (${FUZZ_SECONDS}s each)"
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMEREL_FUZZ=ON >/dev/null
targets=$(cd tests/fuzz && ls fuzz_*.cpp | sed 's/\.cpp$//')
# shellcheck disable=SC2086
cmake --build build-fuzz -j"$JOBS" --target $targets
for t in $targets; do
  f=build-fuzz/tests/fuzz/$t
  echo "-- $t"
  corpus=$(mktemp -d)
  "$f" -max_total_time="$FUZZ_SECONDS" -print_final_stats=0 "$corpus" 2>&1 | tail -n 2
  rm -rf "$corpus"
done
echo "all test suites passed"
