#!/usr/bin/env bash
# The batch converter against ImageMagick's mogrify in the same run: COUNT JPEGs of 1600x1200
# (200 by default) to PNG. velmar-cli converts on both cores at once; mogrify works through the
# files one by one. The work is deflate-bound, so the target is a speed-up of at least 1.8 and
# the two outputs' sizes are printed beside it.
#
#   bench/batch_vs_mogrify.sh [path/to/velmar-cli] [COUNT]     (default build/bin/velmar-cli 200)
#
# Exit status 0 when the target is met, 1 otherwise, 2 when a tool is missing.
set -euo pipefail

here="$(cd "$(dirname "$0")/.." && pwd)"
cli="${1:-$here/build/bin/velmar-cli}"
count="${2:-200}"
mogrify="${IM_MOGRIFY:-/usr/bin/mogrify}"
[[ -x "$mogrify" ]] || mogrify="$(command -v mogrify || true)"
im_convert="${IM_CONVERT:-/usr/bin/convert}"
[[ -x "$im_convert" ]] || im_convert="$(command -v convert || true)"
for tool in "$cli" "$mogrify" "$im_convert"; do
    if [[ -z "$tool" || ! -x "$tool" ]]; then
        echo "batch_vs_mogrify: missing ${tool:-an ImageMagick tool}" >&2
        exit 2
    fi
done

work="$(mktemp -d "${TMPDIR:-/tmp}/velmar-batch-XXXXXX")"
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/in" "$work/ours" "$work/theirs"

# Photographs are noisy gradients as far as deflate is concerned; a different seed and colour
# pair per file keeps the files from being copies of each other.
echo "Making $count JPEGs of 1600x1200..."
"$im_convert" -size 1600x1200 gradient:'#203060'-'#f0c040' -seed 1 -attenuate 0.5 \
    +noise Gaussian -quality 88 "$work/base.jpg"
for ((i = 1; i <= count; i++)); do
    "$im_convert" "$work/base.jpg" -modulate 100,100,$((60 + i % 80)) -roll +$((i * 7))+$((i * 3)) \
        -quality 88 "$(printf '%s/in/photo%03d.jpg' "$work" "$i")"
done

seconds() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", b - a }'; }

start=$(date +%s.%N)
"$cli" batch --format 10 --out "$work/ours" --name photo "$work"/in/*.jpg >/dev/null
ours=$(seconds "$start" "$(date +%s.%N)")

cp "$work"/in/*.jpg "$work/theirs/"
start=$(date +%s.%N)
(cd "$work/theirs" && "$mogrify" -format png ./*.jpg)
theirs=$(seconds "$start" "$(date +%s.%N)")

our_files=$(find "$work/ours" -name '*.png' | wc -l)
their_files=$(find "$work/theirs" -name '*.png' | wc -l)
our_mb=$(du -cm "$work"/ours/*.png | tail -1 | cut -f1)
their_mb=$(du -cm "$work"/theirs/*.png | tail -1 | cut -f1)
ratio=$(awk -v a="$theirs" -v b="$ours" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }')

printf '\n%-10s %8s %8s %8s\n' "tool" "seconds" "files" "PNG MB"
printf '%-10s %8s %8s %8s\n' "velmar-cli" "$ours" "$our_files" "$our_mb"
printf '%-10s %8s %8s %8s\n' "mogrify" "$theirs" "$their_files" "$their_mb"
printf 'speed-up %sx (target 1.8x)\n' "$ratio"
if [[ "$our_files" -ne "$count" ]]; then
    echo "velmar-cli wrote $our_files of $count files."
    exit 1
fi
if awk -v r="$ratio" 'BEGIN { exit !(r >= 1.8) }'; then
    echo "Target met."
    exit 0
fi
echo "Target missed."
exit 1
