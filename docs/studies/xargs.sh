#!/usr/bin/env bash
# What is left of a study, on this computer, several chunks at a time; then merged.   xargs.sh STUDY [WORKERS]
set -eu
study=$1
workers=${2:-$(nproc)}
tarnvisor-study status "$study" --left | xargs -r -n 1 -P "$workers" tarnvisor-study chunk "$study"
tarnvisor-study merge "$study"
