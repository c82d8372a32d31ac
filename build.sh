#!/usr/bin/env bash
# Builds, tests, demonstrates, benchmarks and fuzzes orvik_base.
#
#   ./build.sh test        build and run every test; ends with "N passed, N failed"
#   ./build.sh demo        build and run the programs in examples/
#   ./build.sh asan        tests in an AddressSanitizer + UndefinedBehaviorSanitizer build
#   ./build.sh tsan        tests in a ThreadSanitizer build
#   ./build.sh fuzz [S]    every libFuzzer target for S seconds (default 20), clang build
#   ./build.sh bench [F]   the benchmark program (optional Google Benchmark filter F)
#   ./build.sh format [check]  clang-format every C++ file in place, or only list those that differ
#   ./build.sh deps        only install missing Debian packages
#
# Missing Debian packages are installed when run as root.  Build folders: build/, build-asan/,
# build-tsan/, build-fuzz/, build-bench/ (override the first with BUILD_DIR).
set -euo pipefail
cd "$(dirname "$0")"
ROOT=$(pwd)
JOBS=${JOBS:-$(nproc)}
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$ROOT}
TSAN_FOLDERS="platform strings types variant events"

PACKAGES=(cmake ninja-build g++ pkg-config libexpat1-dev zlib1g-dev qt6-base-dev libgtest-dev
          libgmock-dev libbenchmark-dev clang libclang-rt-14-dev clang-format tzdata libcli11-dev
          python3-dev pybind11-dev python3-pytest python3-numpy)
BENCH_PACKAGES=(libb64-dev nlohmann-json3-dev rapidjson-dev libpugixml-dev libtinyxml2-dev libboost-dev
                libmsgpack-cxx-dev libflatbuffers-dev)

install_packages() {
    local missing=()
    for p in "$@"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        echo "build.sh: missing packages (run as root to install them): ${missing[*]}" >&2
        return 0
    fi
    echo "build.sh: installing ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq "${missing[@]}" >/dev/null
}

configure() {  # configure DIR [cmake args...]
    local dir=$1; shift
    local gen=()
    command -v ninja >/dev/null && gen=(-G Ninja)
    # ccache, when the machine has it, keeps rebuilds of several build folders cheap.
    command -v ccache >/dev/null && gen+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
    if [ ! -f "$dir/CMakeCache.txt" ]; then
        cmake -S "$ROOT" -B "$dir" "${gen[@]}" -DORVIK_WERROR=ON "$@"
    else
        cmake -S "$ROOT" -B "$dir" "$@" >/dev/null
    fi
}

run_tests() {  # run_tests DIR LABEL
    local dir=$1 label=$2 log
    log=$(mktemp)
    set +e
    # shellcheck disable=SC2086
    ctest --test-dir "$dir" -j"$JOBS" --output-on-failure --timeout 600 ${CTEST_EXTRA:-} 2>&1 | tee "$log"
    local rc=${PIPESTATUS[0]}
    set -e
    local line total failed
    line=$(grep -E '[0-9]+% tests passed, [0-9]+ tests? failed out of [0-9]+' "$log" | tail -1 || true)
    rm -f "$log"
    if [ -z "$line" ]; then
        echo "$label: 0 passed, 1 failed"
        return 1
    fi
    failed=$(echo "$line" | sed -E 's/.*passed, ([0-9]+) tests? failed.*/\1/')
    total=$(echo "$line" | sed -E 's/.*out of ([0-9]+).*/\1/')
    echo "$label: $((total - failed)) passed, $failed failed"
    [ "$rc" -eq 0 ] && [ "$failed" -eq 0 ]
}

cmd=${1:-test}
shift || true
case "$cmd" in
format)
    # The tree follows its .clang-format; `check` changes nothing and fails when a file differs.
    install_packages clang-format
    mapfile -t files < <(git ls-files '*.cpp' '*.h')
    if [ "${1:-}" = check ]; then
        mapfile -t bad < <(for f in "${files[@]}"; do
            clang-format --dry-run --Werror "$f" >/dev/null 2>&1 || echo "$f"; done)
        printf 'differs from .clang-format: %s\n' "${bad[@]}" | grep -v ': $' || true
        echo "${#files[@]} files checked, ${#bad[@]} differ"
        if [ ${#bad[@]} -eq 0 ]; then echo "format: 1 passed, 0 failed"; else echo "format: 0 passed, 1 failed"; fi
        [ ${#bad[@]} -eq 0 ]
    else
        clang-format -i "${files[@]}"
    fi
    ;;
deps)
    install_packages "${PACKAGES[@]}" "${BENCH_PACKAGES[@]}"
    ;;
test)
    install_packages "${PACKAGES[@]}"
    dir=${BUILD_DIR:-build}
    configure "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVIK_BUILD_TESTS=ON -DORVIK_BUILD_EXAMPLES=ON
    cmake --build "$dir" -j"$JOBS"
    run_tests "$dir" tests
    ;;
demo)
    install_packages "${PACKAGES[@]}"
    dir=${BUILD_DIR:-build}
    configure "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVIK_BUILD_EXAMPLES=ON
    cmake --build "$dir" -j"$JOBS" --target all
    for exe in "$dir"/examples/example_*; do
        [ -x "$exe" ] || continue
        echo "=== $(basename "$exe") ==="
        "$exe"
        echo
    done
    ;;
asan)
    install_packages "${PACKAGES[@]}"
    configure build-asan -DCMAKE_BUILD_TYPE=Debug -DORVIK_SANITIZE=address+undefined \
        -DORVIK_BUILD_TESTS=ON -DORVIK_BUILD_EXAMPLES=OFF
    cmake --build build-asan -j"$JOBS"
    ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
        run_tests build-asan asan-tests
    ;;
tsan)
    # Only the folders whose objects are shared between threads: their test programs are built
    # and run under ThreadSanitizer (the rest has no threads to race).
    install_packages "${PACKAGES[@]}"
    configure build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVIK_SANITIZE=thread \
        -DORVIK_BUILD_TESTS=ON -DORVIK_BUILD_EXAMPLES=OFF
    targets=()
    for folder in $TSAN_FOLDERS; do
        [ -d "tests/$folder" ] && targets+=(--target "orvik_test_$folder")
    done
    cmake --build build-tsan -j"$JOBS" "${targets[@]}"
    labels=$(echo "$TSAN_FOLDERS" | tr ' ' '|')
    TSAN_OPTIONS=halt_on_error=1 CTEST_EXTRA="-L ^($labels)\$" run_tests build-tsan tsan-tests
    ;;
fuzz)
    install_packages "${PACKAGES[@]}"
    seconds=${1:-20}
    CC=clang CXX=clang++ configure build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DORVIK_SANITIZE=address+undefined -DORVIK_BUILD_FUZZERS=ON -DORVIK_BUILD_TESTS=OFF \
        -DORVIK_BUILD_EXAMPLES=OFF -DORVIK_BUILD_TOOLS=OFF -DORVIK_WERROR=OFF
    cmake --build build-fuzz -j"$JOBS"
    passed=0; failed=0
    for exe in build-fuzz/fuzz/fuzz_*; do
        [ -x "$exe" ] || continue
        name=$(basename "$exe"); name=${name#fuzz_}
        work=build-fuzz/corpus-work/$name
        mkdir -p "$work"
        [ -d fuzz/corpus/$name ] && cp -n fuzz/corpus/$name/* "$work"/ 2>/dev/null || true
        echo "--- fuzz $name (${seconds}s)"
        if ORVIK_DIAG=quiet "$exe" -max_total_time="$seconds" -rss_limit_mb=4096 -max_len=65536 \
               -artifact_prefix=build-fuzz/ -print_final_stats=0 "$work" > "build-fuzz/$name.log" 2>&1; then
            passed=$((passed + 1)); tail -2 "build-fuzz/$name.log"
        else
            failed=$((failed + 1)); tail -60 "build-fuzz/$name.log"
        fi
    done
    echo "fuzz: $passed passed, $failed failed"
    [ "$failed" -eq 0 ]
    ;;
bench)
    install_packages "${PACKAGES[@]}" "${BENCH_PACKAGES[@]}"
    configure build-bench -DCMAKE_BUILD_TYPE=Release -DORVIK_BUILD_BENCHMARKS=ON -DORVIK_WERROR=OFF \
        -DORVIK_BUILD_TESTS=OFF -DORVIK_BUILD_EXAMPLES=OFF -DORVIK_BUILD_TOOLS=OFF
    cmake --build build-bench -j"$JOBS" --target orvik_bench
    if [ $# -gt 0 ]; then
        build-bench/bench/orvik_bench --benchmark_filter="$1"
    else
        build-bench/bench/orvik_bench
    fi
    ;;
*)
    sed -n '2,15p' "$0"
    exit 2
    ;;
esac
