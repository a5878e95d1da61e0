#!/usr/bin/env bash
# Gives what is left of a study to Slurm, as arrays of up to a thousand chunks, and waits for it; then merged. Started
# again it gives what is left then.   slurm.sh STUDY     Options for sbatch: SBATCH_PARTITION and its like.
set -eu
study=$(realpath "$1")
here=$(dirname "$(realpath "$0")")
jobs=""
for offset in $(tarnvisor-study status "$study" --left | awk '{ print int(($1 - 1) / 1000) * 1000 }' | uniq); do
  tasks=$(tarnvisor-study status "$study" --left | awk -v o="$offset" '$1 > o && $1 <= o + 1000 { print $1 - o }' | paste -sd,)
  # By the environment: a comma in the name would part what --export is told.
  job=$(STUDY=$study OFFSET=$offset sbatch --parsable --array="$tasks" --export=ALL \
    --output="${study//%/%%}/part/slurm-%A_%a.txt" "$here/slurm-chunk.sh")
  jobs="$jobs${jobs:+,}${job%%;*}"
done
# While Slurm can't be asked it may still run them; jobs that it has forgotten are none.
waits() {
  local told
  if told=$(squeue -h -j "$jobs" 2>&1); then [ -n "$told" ]; else ! grep -q "Invalid job id" <<<"$told"; fi
}
while [ -n "$jobs" ] && waits; do sleep "${POLL_SECONDS:-10}"; done
tarnvisor-study merge "$study"
