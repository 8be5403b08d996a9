#!/bin/sh
# kinetra-batch under a process limit that leaves no room for a single extra thread must
# finish in seconds and write the same table as a normal run. The limit counts all
# processes of the user and root is exempt from it, so as root the limited run is made
# as the user nobody. Before trusting the run, a fork under the same limit must fail.
# With KINETRA_STATS given, the window's screenshot (offscreen) likewise.
# Usage: batch_low_process_limit.sh KINETRA_BATCH SAMPLE_QVI [KINETRA_STATS]
# (exit 77: the limit cannot be tested here)
set -u
absolute() { (cd "$(dirname "$1")" && echo "$(pwd)/$(basename "$1")"); }
batch=$(absolute "$1")
sample=$(absolute "$2")
stats=${3:+$(absolute "$3")}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 777 "$work"

if [ "$(id -u)" -eq 0 ]; then
  command -v setpriv >/dev/null || { echo "no setpriv to run as nobody"; exit 77; }
  as_user="setpriv --reuid=nobody --regid=nogroup --clear-groups"
else
  as_user=""
fi
command -v prlimit >/dev/null || { echo "no prlimit"; exit 77; }
limited="$as_user prlimit --nproc=1"

# Only the process itself is allowed: a second one (or a thread) is refused.
if $limited sh -c '/bin/true & wait $!' 2>/dev/null; then
  echo "the process limit is not enforced here"
  exit 77
fi

"$batch" "$sample" --table "$work/normal.tsv" --rows "$work/normal-rows.tsv" || exit 1
# Run in the work folder, where nobody may write.
(cd "$work" && timeout 30 $limited "$batch" "$sample" --table limited.tsv \
  --rows limited-rows.tsv 2>"$work/limited.err")
status=$?
cat "$work/limited.err"
if [ $status -ne 0 ]; then
  echo "limited run failed or hung (status $status)"
  exit 1
fi
if grep -q "Thread creation error" "$work/limited.err"; then
  echo "Qt tried to start a thread"
  exit 1
fi
cmp "$work/normal.tsv" "$work/limited.tsv" && cmp "$work/normal-rows.tsv" "$work/limited-rows.tsv" ||
  exit 1

[ -n "$stats" ] || exit 0
export QT_QPA_PLATFORM=offscreen
XDG_RUNTIME_DIR="$work/runtime" "$stats" --screenshot "$work/normal.png" "$sample" 2>/dev/null ||
  exit 1
(cd "$work" && XDG_RUNTIME_DIR="$work/limited-runtime" timeout 30 $limited "$stats" \
  --screenshot limited.png "$sample" 2>/dev/null) || { echo "kinetra-stats failed or hung"; exit 1; }
cmp "$work/normal.png" "$work/limited.png"
