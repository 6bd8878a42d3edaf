#!/usr/bin/env bash
# Configures and builds out of tree under build/ (or $BUILD_DIR).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
# A build folder configured for another place (the checkout was moved or copied with its build) is
# configured afresh here, so the application folder and its settings name this place. The staged
# database and settings file in it are kept.
if [ -f "$BUILD_DIR/CMakeCache.txt" ]; then
  configured=$(sed -n 's/^CMAKE_CACHEFILE_DIR:INTERNAL=//p' "$BUILD_DIR/CMakeCache.txt")
  if [ "$configured" != "$(cd "$BUILD_DIR" && pwd -P)" ]; then
    echo "The build folder was configured in $configured; configuring it for $(pwd -P)."
    rm -rf "$BUILD_DIR/CMakeCache.txt" "$BUILD_DIR/CMakeFiles" "$BUILD_DIR/build.ninja"
  fi
fi
if [ ! -f "$BUILD_DIR/build.ninja" ]; then
  cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@"
fi
cmake --build "$BUILD_DIR" -j"$(nproc)"
cmake --build "$BUILD_DIR" --target stage
