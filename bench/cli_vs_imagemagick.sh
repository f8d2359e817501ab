#!/usr/bin/env bash
# Whole-process timing of velmar-cli against ImageMagick's convert on one 6000x4000 JPEG, in the
# same run and on the same machine: a plain re-save, an emboss, a halving and a turn. Each
# command runs three times and the best wall time counts. Prints the ratios (ImageMagick time
# over ours) against their targets, and velmar-cli's peak memory against four times the
# picture's buffer (W + 4) * (H + 4) * 4 bytes.
#
#   bench/cli_vs_imagemagick.sh [path/to/velmar-cli]     (default build/bin/velmar-cli)
#
# Exit status 0 when every target is met, 1 otherwise, 2 when a tool is missing.
set -euo pipefail

here="$(cd "$(dirname "$0")/.." && pwd)"
cli="${1:-$here/build/bin/velmar-cli}"
# The real ImageMagick, not a wrapper that may stand in front of it on the PATH.
im="${IM_CONVERT:-/usr/bin/convert}"
[[ -x "$im" ]] || im="$(command -v convert || true)"
timer=/usr/bin/time
for tool in "$cli" "$im" "$timer"; do
    if [[ -z "$tool" || ! -x "$tool" ]]; then
        echo "cli_vs_imagemagick: missing ${tool:-ImageMagick convert}" >&2
        exit 2
    fi
done

width=6000
height=4000
runs=3
work="$(mktemp -d "${TMPDIR:-/tmp}/velmar-bench-XXXXXX")"
trap 'rm -rf "$work"' EXIT

echo "Making a ${width}x${height} JPEG with ImageMagick..."
"$im" -size "${width}x${height}" gradient:'#203060'-'#f0c040' -seed 7 -attenuate 0.4 \
    +noise Gaussian -quality 90 "$work/in.jpg"

# Runs a command $runs times; sets best_s (least wall seconds) and peak_kb (largest resident
# set) from /usr/bin/time's report.
measure() {
    best_s=""
    peak_kb=0
    for ((i = 0; i < runs; i++)); do
        rm -f "$work/out.jpg"
        if ! "$timer" -f "%e %M" -o "$work/time.txt" "$@" >/dev/null 2>"$work/err.txt"; then
            echo "failed: $*" >&2
            cat "$work/err.txt" >&2
            exit 1
        fi
        read -r s kb <"$work/time.txt"
        if [[ -z "$best_s" ]] || awk -v a="$s" -v b="$best_s" 'BEGIN { exit !(a < b) }'; then
            best_s="$s"
        fi
        if ((kb > peak_kb)); then peak_kb="$kb"; fi
    done
}

buffer=$(((width + 4) * (height + 4) * 4))
memory_limit_kb=$((4 * buffer / 1024))
all_met=1

printf '\n%-12s %12s %12s %8s %8s %14s\n' "operation" "velmar-cli s" "convert s" "ratio" "target" "velmar peak MB"
compare() {
    local name="$1" target="$2" ours="$3" theirs="$4"
    # shellcheck disable=SC2086
    measure "$cli" $ours "$work/in.jpg" "$work/out.jpg"
    local our_s="$best_s" our_kb="$peak_kb"
    # shellcheck disable=SC2086
    measure "$im" "$work/in.jpg" $theirs "$work/out.jpg"
    local their_s="$best_s"
    local ratio
    ratio=$(awk -v a="$their_s" -v b="$our_s" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }')
    local verdict="met"
    if ! awk -v r="$ratio" -v t="$target" 'BEGIN { exit !(r >= t) }'; then
        verdict="MISSED"
        all_met=0
    fi
    if ((our_kb > memory_limit_kb)); then
        verdict="$verdict, memory MISSED"
        all_met=0
    fi
    printf '%-12s %12s %12s %7sx %7sx %14d  %s\n' "$name" "$our_s" "$their_s" "$ratio" "$target" \
        $((our_kb / 1024)) "$verdict"
}

# The velmar-cli arguments before IN OUT, then ImageMagick's between IN and OUT.
compare "no-op" 1.3 "convert" ""
compare "HEAVYEMBOSS" 3 "filter HEAVYEMBOSS" "-emboss 1"
compare "x2" 2.5 "filter x2" "-resize 50%"
compare "A45" 5 "filter A45" "-rotate 30"

printf '\nPeak memory limit: 4 x %d bytes = %d MB\n' "$buffer" $((memory_limit_kb / 1024))
if ((all_met)); then
    echo "All targets met."
    exit 0
fi
echo "Some targets missed."
exit 1
