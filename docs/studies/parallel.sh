#!/usr/bin/env bash
# The same with GNU parallel, which tells how long it will take and tries again.   parallel.sh STUDY [WORKERS]
set -eu
study=$1
workers=${2:-$(nproc)}
tarnvisor-study status "$study" --left |
  parallel --will-cite -q -j "$workers" --retries 3 ${PARALLEL_OPTIONS---eta} tarnvisor-study chunk "$study" {}
tarnvisor-study merge "$study"
