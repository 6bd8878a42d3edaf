#!/usr/bin/env bash
# Configures and builds out of tree under build/ (or $BUILD_DIR).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=${BUILD_DIR:-build}
if [ ! -f "$BUILD_DIR/build.ninja" ]; then
  cmake -S . -B "$BUILD_DIR" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
fi
cmake --build "$BUILD_DIR" -j"$(nproc)"
cmake --build "$BUILD_DIR" --target stage
