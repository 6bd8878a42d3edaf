#!/usr/bin/env bash
# The workbook engine and its tests (templates, real workbooks of other programs, damaged and
# hostile files, the fuzz loop) built apart with AddressSanitizer and UBSan: any finding fails.
# Only the engine's two test programs are built, under build-sanitize/ (or $SANITIZE_BUILD_DIR).
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${SANITIZE_BUILD_DIR:-build-sanitize}
if [ ! -f "$dir/build.ninja" ]; then
  cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DWITH_ASAN=ON -DWITH_GUI_TESTS=OFF \
    -DWITH_BENCH=OFF -DCMAKE_CXX_FLAGS="-O1 -fno-sanitize-recover=all" >/dev/null
fi
cmake --build "$dir" -j"$(nproc)" --target test_xlsx_formula test_xlsx_workbook
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
ctest --test-dir "$dir" --output-on-failure -j2 -R '^test_xlsx_(formula|workbook)$'
