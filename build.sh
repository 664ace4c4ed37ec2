#!/usr/bin/env bash
# Sets up, builds and runs everything on a Debian 12 machine.
#
#     ./build.sh demo       installs what is missing, builds, renders the example tool's scene and converts it
#     ./build.sh test       installs what is missing, builds with warnings as errors, passes the tests
#     ./build.sh sanitize   the tests under the address and undefined-behaviour sanitizers
#     ./build.sh fuzz [N]   N (60) seconds of careless calls by libFuzzer under the sanitizers
#     ./build.sh soak [cameras|shift]  eight cameras at once; a long shift of one process
#     ./build.sh race       cameras at once under the thread sanitizer
#     ./build.sh faults     every allocation of a conversion fails once, in every engine; threads that do not start
#     ./build.sh lint       clang-format and clang-tidy
#     ./build.sh docs       the reference of the public headers: build/docs/html; refuses what has no comment
#     ./build.sh choosing   the tables and pictures of docs/choosing.md anew; speeds want an idle machine
#     ./build.sh bench      the table of speeds relative to OpenCV's bilinear conversion
#     ./build.sh count      instructions per pixel of every engine, against the recorded ones
#     ./build.sh python     installs what is missing, builds, passes the tests of the Python package
#     ./build.sh gstreamer  the same for the GStreamer element
#     ./build.sh packages   Debian packages in build/debian, judged by lintian, used in a scratch root
#     ./build.sh interface  symbols, records and virtual operations, against the recorded ones
#     ./build.sh clang      builds with clang, passes the tests
#     ./build.sh arm        the same for AArch64: cross-compiled, run under QEMU
#     ./build.sh same [all] check numbers of gcc, clang and AArch64 [optimised little and much, up to 16 threads]
set -euo pipefail
cd "$(dirname "$0")"
jobs=$(nproc)

# need PACKAGE...: installs those that are missing.
need() {
    local missing=()
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local sudo=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "Packages are missing. As root: apt-get install --no-install-recommends ${missing[*]}" >&2
            exit 1
        fi
        sudo=(sudo)
    fi
    echo "${sudo[*]} apt-get install -y --no-install-recommends ${missing[*]}"
    logged apt "${sudo[@]}" apt-get update
    logged apt "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"
}

# logged NAME COMMAND...: its output goes to build/NAME.log, which is shown if it fails.
logged() {
    local log=build/$1.log
    mkdir -p build
    "${@:2}" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
}

library="g++ cmake ninja-build libopencv-core-dev libopencv-imgproc-dev"
tool="libopencv-imgcodecs-dev libcli11-dev"
camera="libaravis-dev libusb-1.0-0-dev"
gstreamer="libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev"
python="python3-numpy python3-pytest python3-distributed"
tests="libgtest-dev libbenchmark-dev pkg-config binutils"

build() { # build PRESET [OPTION-OF-THE-BUILD...]
    local preset=$1
    logged "configure-$preset" cmake --preset "$preset"
    sed -n 's/^-- Not built/Not built/p' "build/configure-$preset.log"
    cmake --build --preset "$preset" -j "$jobs" "${@:2}"
}

# sysroot PACKAGE...: fills build/sysroot-aarch64/root with these of Debian's arm64 packages and what they need, by a
# package state of its own.
sysroot() {
    local folder=$PWD/build/sysroot-aarch64 sources="$*"
    [ "$(cat "$folder/packages" 2>/dev/null)" != "$sources" ] || return 0
    rm -rf "$folder"
    mkdir -p "$folder"/{state,lists,cache/archives}/partial
    touch "$folder/status"
    local apt=(apt-get -o APT::Architecture=arm64 -o APT::Architectures=arm64 -o Dir::State="$folder/state"
        -o Dir::State::status="$folder/status" -o Dir::State::lists="$folder/lists" -o Dir::Cache="$folder/cache"
        -o Debug::NoLocking=true)
    logged sysroot-lists "${apt[@]}" update
    logged sysroot-packages "${apt[@]}" install -y --no-install-recommends --download-only "$@"
    local package
    for package in "$folder"/cache/archives/*.deb; do
        dpkg -x "$package" "$folder/root"
    done
    # Links that installation makes, to the one of several implementations.
    ln -s blas/libblas.so.3 lapack/liblapack.so.3 "$folder/root/usr/lib/aarch64-linux-gnu"
    rm -r "$folder"/{state,lists,cache}
    echo "$sources" >"$folder/packages"
}

cross() { # what builds and runs programs for AArch64
    need cmake ninja-build g++-aarch64-linux-gnu qemu-user-static
    sysroot libopencv-imgproc-dev libgtest-dev libstdc++-12-dev libc6-dev
}

case "${1:-}" in
demo)
    need $library $tool
    build demo
    build/demo/examples/orv-convert --view --output demo.png --sheet demo-sheet.png
    echo "See demo.png and demo-sheet.png."
    ;;
test)
    need $library $tool $tests $camera $gstreamer
    build ci
    ctest --preset ci -j "$jobs"
    ;;
sanitize)
    need $library $tool $tests
    build sanitize
    ctest --preset sanitize -j "$jobs"
    ;;
fuzz)
    need $library $tests clang-14 libclang-rt-14-dev libomp-14-dev
    build fuzz
    mkdir -p build/fuzz/corpus
    # Leaks are looked for at the end: engines of the plain functions stay. Teams are those of `threads_num`.
    OMP_NUM_THREADS=1 KMP_BLOCKTIME=0 build/fuzz/tests/fuzz/orv_fuzz -max_total_time="${2:-60}" -max_len=512 \
        -len_control=0 -entropic=0 -detect_leaks=0 -timeout=20 -malloc_limit_mb=100000 -print_final_stats=1 \
        -artifact_prefix=build/fuzz/ build/fuzz/corpus tests/fuzz/corpus
    ;;
soak)
    need $library $tests
    build ci --target orv_soak
    for form in ${2:-cameras shift}; do
        OMP_WAIT_POLICY=passive build/ci/tests/soak/orv_soak "$form"
    done
    ;;
race)
    need $library $tests clang-14 libclang-rt-14-dev libomp-14-dev
    build race
    # What the OpenMP runtime, which is no part of this build, orders comes from its Archer library.
    OMP_TOOL_LIBRARIES=/usr/lib/llvm-14/lib/libarcher.so TSAN_OPTIONS=ignore_noninstrumented_modules=1 \
        OMP_WAIT_POLICY=passive build/race/tests/soak/orv_soak race "${@:2}"
    ;;
faults)
    need $library $tests
    build ci --target orv_fault_tests
    OMP_WAIT_POLICY=passive build/ci/tests/orv_fault_tests --gtest_brief=1
    ;;
lint)
    need $library $tool $tests $camera $gstreamer clang-format clang-tidy
    git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run -Werror
    build ci
    git ls-files 'src/*.cpp' 'misc/*.cpp' 'helpers/*.cpp' 'examples/*.cpp' 'gstreamer/*.cpp' | xargs -P "$jobs" -n 2 clang-tidy --quiet -p build/ci
    ;;
docs)
    need doxygen
    mkdir -p build
    doxygen
    echo "See build/docs/html/index.html."
    ;;
bench)
    need $library $tool $tests
    build release
    build/release/bench/orv_bench_table "${@:2}"
    ;;
choosing)
    need $library $tool
    build release --target choosing orv_bench_table
    bench/performance.sh build/release bayer truesense costs
    ;;
count)
    need $library $tool $tests valgrind
    build ci
    bench/instructions.sh build/ci "${@:2}"
    ;;
python)
    need $library $tool $python
    build demo
    logged install-python cmake --install build/demo --prefix build/python
    export ORV_LIBRARY=$PWD/build/python/lib PATH=$PWD/build/python/bin:$PATH
    /usr/bin/python3 -m pytest -q python "${@:2}"
    ;;
gstreamer)
    need $library $tool $tests $camera $gstreamer gstreamer1.0-tools gstreamer1.0-plugins-base gstreamer1.0-plugins-bad
    build ci
    ctest --preset ci -R '^gstreamer\.' --no-tests=error
    ;;
clang)
    need $library $tool $tests $camera $gstreamer clang-14 libomp-14-dev
    build clang
    ctest --preset clang -j "$jobs"
    ;;
arm)
    cross
    build arm
    # Not here: check numbers, which `same` compares, and what builds and runs programs of this machine.
    ctest --preset arm -j "$jobs" -E '^(checks|install)\.'
    ;;
same)
    need $library $tests clang-14 libomp-14-dev
    cross
    numbers() { # numbers NAME FOLDER [EMULATOR...]: those of a build are the recorded ones
        printf '%s: ' "$1"
        OMP_WAIT_POLICY=passive "${@:3}" "$2/tests/checks/orv_check_levels" --numbers tests/checks/numbers.txt \
            --threads "$teams"
    }
    teams=1,2,5 forms="ci-O1 clang-O3"
    if [ "${2:-}" = all ]; then
        teams=1,2,3,5,8,16 forms="ci-O1 ci-O2 ci-O3 clang-O1 clang-O2 clang-O3"
    fi
    for form in $forms; do
        folder=build/same/$form
        logged configure-same cmake --preset "${form%-*}" -B "$folder" -DCMAKE_BUILD_TYPE=Debug \
            -DCMAKE_CXX_FLAGS_DEBUG="-${form#*-} -DNDEBUG -Wno-pass-failed" -DORV_BUILD_{BENCH,EXAMPLES,GSTREAMER}=OFF
        cmake --build "$folder" -j "$jobs" --target orv_check_levels
        numbers "$form" "$folder"
    done
    build arm --target orv_check_levels
    [ "${2:-}" = all ] || teams=1,2
    numbers AArch64 build/arm qemu-aarch64-static -L build/sysroot-aarch64/root
    ;;
interface)
    need $library abigail-tools python3
    build debug --target OrvDemosaicing OrvHelpers
    python3 docs/interface.py build/debug/{src/libOrvDemosaicing,helpers/libOrvHelpers,misc/libOrvMisc}.so \
        >build/interface.txt
    if [ "${2:-}" = record ]; then
        cp build/interface.txt docs/interface.txt
    elif ! diff -u --label recorded --label built docs/interface.txt build/interface.txt; then
        echo "The interface has changed. docs/versioning.md tells which version may; \`./build.sh interface record\`." >&2
        exit 1
    fi
    ;;
packages)
    need $library $tool $camera $gstreamer $python pkg-config help2man lintian dpkg-dev file gstreamer1.0-tools
    # Of one commit always the same bytes.
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || date +%s)
    export SOURCE_DATE_EPOCH
    build packages
    rm -rf build/debian
    logged packages cpack --config build/packages/CPackConfig.cmake -B build/debian
    bash tests/install/packages.sh build/debian g++ Ninja
    ls -s1h build/debian/*.deb
    ;;
*)
    sed -n '2,/^set /s/^# \{0,1\}//p' "$0"
    exit 1
    ;;
esac
