#!/usr/bin/env bash
# Sets up, builds and runs every test: the whole suite with warnings as
# errors, then the unit tests again under AddressSanitizer+UBSan and under
# ThreadSanitizer, and the fuzz targets for a few seconds each (clang,
# ASan+UBSan, in build-fuzz). Ends with CTest's summary; exits non-zero on
# any failure or fuzzing finding.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh" --test
jobs=$(nproc)

# Three builds of the same sources: ccache keeps a repeated run (and a clean
# clone of a tree that was built before) from compiling everything again.
# Paths are hashed relative to the checkout, so any clone shares the cache.
launcher=()
if command -v ccache >/dev/null; then
  export CCACHE_BASEDIR="$root"
  # Debug information names the build folder; leave it out of the hash so a
  # clone in another folder still finds the objects (only gdb's source path
  # differs).
  export CCACHE_NOHASHDIR=1
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi

configure_and_build() {  # dir, target, cmake options...
  local dir=$1 target=$2; shift 2
  cmake -S "$root" -B "$dir" -G Ninja -DVORLIX_WERROR=ON "${launcher[@]}" "$@" >/dev/null
  cmake --build "$dir" -j "$jobs" --target "$target"
}

status=0
if [[ "${VORLIX_SKIP_SANITIZERS:-0}" != 1 ]]; then
  configure_and_build "$root/build-asan" unit_tests -DVORLIX_ASAN=ON -DVORLIX_BENCH=OFF
  (cd "$root/build-asan" && ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest -L unit -j "$jobs" --output-on-failure) || status=1
  configure_and_build "$root/build-tsan" unit_tests -DVORLIX_TSAN=ON -DVORLIX_BENCH=OFF
  (cd "$root/build-tsan" && TSAN_OPTIONS="suppressions=$root/tests/tsan.supp" \
    ctest -L unit -j "$jobs" --output-on-failure) || status=1
fi
if [[ "${VORLIX_SKIP_FUZZ:-0}" != 1 ]]; then
  configure_and_build "$root/build-fuzz" fuzzers -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang \
    -DVORLIX_FUZZ=ON -DVORLIX_TESTS=OFF -DVORLIX_BENCH=OFF
  (cd "$root/build-fuzz" && ctest -L fuzz -j "$jobs" --output-on-failure) || status=1
fi
configure_and_build "$root/build" all
(cd "$root/build" && ctest -j "$jobs" --output-on-failure) || status=1
exit $status
