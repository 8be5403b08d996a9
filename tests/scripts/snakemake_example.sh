#!/usr/bin/env bash
# The Snakemake example on three simulated files: one merged summary row per file.
set -euo pipefail
simulate=$1 batch=$2 snakefile=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/data"
for seed in 1 2 3; do
  "$simulate" --tracks 40 --points 80 --seed "$seed" --out "$work/data/cell$seed.qvi" > /dev/null
done
cd "$work"
snakemake --quiet --cores 2 --snakefile "$snakefile" \
  --config kinetra_batch="$batch" data="$work/data" > snakemake.log 2>&1 || { cat snakemake.log; exit 1; }
rows=$(tail -n +2 results/summary.csv | wc -l)
[ "$rows" -eq 3 ] || { echo "expected 3 summary rows, got $rows"; cat results/summary.csv; exit 1; }
for seed in 1 2 3; do
  grep -q "^$work/data/cell$seed.qvi,ok,40,40," results/summary.csv || { cat results/summary.csv; exit 1; }
  [ -s "results/cell$seed/panels.pdf" ] && [ -s "results/cell$seed/tracks.tsv" ]
done
echo "3 files analysed and merged"
