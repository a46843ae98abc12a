#!/bin/sh
# Runs libFuzzer campaigns on the fuzz targets of a build made with QELMODEL_BUILD_FUZZERS=ON:
#   sh fuzz/run_campaign.sh BUILD-DIR SECONDS TARGET...
# Each target starts from its seeds in fuzz/seeds/, its reproducers and, where the shared corpus
# of real-world files exists next to the project, the files of its kind found there (linked into
# the work folder, never copied into the project). The growing corpus, the log and any crashing
# input go to $CAMPAIGN_DIR/TARGET (default /tmp/qelmodel-campaign). The OpenGL targets run
# under xvfb-run. $FUZZ_OPTIONS, if set, is added to libFuzzer's options (for example
# "-fork=1 -ignore_ooms=1" for fuzz_texture, whose texture cache grows with every input).
set -eu
cd "$(dirname "$0")/.."
build=$1
seconds=$2
shift 2
work=${CAMPAIGN_DIR:-/tmp/qelmodel-campaign}
corpus=$(cd .. && pwd)/shared/corpus
export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp"

# link_shared TARGET FIND-ARGUMENTS...: the shared corpus files that match, as seeds.
link_shared() {
    folder="$work/$1/shared"
    shift
    mkdir -p "$folder"
    [ -d "$corpus" ] || return 0
    find "$corpus" -type f "$@" | while read -r file; do
        ln -sf "$file" "$folder/$(printf %s "$file" | md5sum | cut -c1-16)"
    done
}

for target in "$@"; do
    mkdir -p "$work/$target/corpus" "$work/$target/artifacts"
    options="-max_len=4096"
    launcher=""
    case "$target" in
    fuzz_mtlreader)
        link_shared "$target" -name "*.mtl" -size -64k
        options="-max_len=16384 -dict=fuzz/obj.dict" ;;
    fuzz_objimport)
        link_shared "$target" -iname "*.obj" -size -64k
        options="-max_len=16384 -dict=fuzz/obj.dict"
        launcher="xvfb-run -a" ;;
    fuzz_objscan)
        # Past the text stream's first 16 KiB chunk, with no growth of the length to wait for.
        link_shared "$target" -iname "*.obj" -size -64k
        options="-max_len=40000 -len_control=0 -dict=fuzz/obj.dict" ;;
    fuzz_texture)
        link_shared "$target" \( -iname "*.png" -o -iname "*.jp*g" -o -iname "*.bmp" -o -iname "*.gif" -o -iname "*.dds" \) -size -256k
        options="-max_len=65536"
        launcher="xvfb-run -a" ;;
    fuzz_builder)
        mkdir -p "$work/$target/shared"
        launcher="xvfb-run -a" ;;
    *)
        mkdir -p "$work/$target/shared" ;;
    esac
    # shellcheck disable=SC2086
    $launcher "$build/fuzz/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        $options ${FUZZ_OPTIONS:-} -artifact_prefix="$work/$target/artifacts/" \
        "$work/$target/corpus" "fuzz/seeds/$target" "fuzz/reproducers/$target" "$work/$target/shared" \
        >"$work/$target/log" 2>&1 || echo "$target stopped early: see $work/$target/log"
    tail -n 12 "$work/$target/log" | grep -E "^(#[0-9]+.*DONE|stat::)" || true
done
