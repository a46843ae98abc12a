#!/bin/sh
# Sets up a Debian 12 machine for QelModel, builds it and runs one job:
#   sh build.sh demo    the main job: build everything and show what the library does
#   sh build.sh test    the whole test suite, in the normal build and under ASan + UBSan
# Only the Debian packages that are missing are installed.
set -eu
cd "$(dirname "$0")"
job=${1:-demo}

packages="g++ cmake make pkg-config qt6-base-dev libqt6opengl6-dev libgl-dev libgl1-mesa-dri libglx-mesa0 xvfb xauth"
missing=""
for package in $packages; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing="$missing $package"
done
if [ -n "$missing" ]; then
    echo "Installing:$missing"
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    export DEBIAN_FRONTEND=noninteractive
    $sudo apt-get update -qq
    # shellcheck disable=SC2086
    $sudo apt-get install -y -qq --no-install-recommends $missing >/dev/null
fi

jobs=$(nproc 2>/dev/null || echo 2)
# Qt wants a private runtime folder; a fresh root session has none.
if [ -z "${XDG_RUNTIME_DIR:-}" ]; then
    XDG_RUNTIME_DIR=$(mktemp -d)
    export XDG_RUNTIME_DIR
fi

build() { # build DIR CMAKE-ARGS...
    dir=$1
    shift
    cmake -S . -B "$dir" "$@" >/dev/null
    cmake --build "$dir" -j "$jobs"
}

case "$job" in
demo)
    build build -DCMAKE_BUILD_TYPE=Release
    mkdir -p build/renders
    # One X server for all the runs.
    xvfb-run -a sh -c '
        for model in examples/*.obj; do
            name=$(basename "$model" .obj)
            echo
            build/tools/qelmodel/qelmodel info "$model" || exit 1
            build/tools/qelmodel/qelmodel render "$model" -o "build/renders/$name.png" || exit 1
        done'
    echo
    echo "Renders of the examples: $(pwd)/build/renders/"
    ;;
test)
    build build -DCMAKE_BUILD_TYPE=Release
    (cd build && xvfb-run -a ctest --output-on-failure -j "$jobs")
    build build-asan -DCMAKE_BUILD_TYPE=Debug -DQELMODEL_SANITIZE=ON -DQELMODEL_BUILD_BENCHMARKS=OFF
    (cd build-asan && LSAN_OPTIONS="suppressions=$(pwd)/../tests/lsan.supp" xvfb-run -a ctest --output-on-failure -j "$jobs")
    ;;
*)
    echo "usage: sh build.sh demo|test" >&2
    exit 2
    ;;
esac
