#!/usr/bin/env bash
#SBATCH --job-name=study
#SBATCH --requeue
#SBATCH --ntasks=1
#SBATCH --cpus-per-task=1
# A task of an array: a chunk of $STUDY. slurm.sh gives the arrays.
exec tarnvisor-study chunk "$STUDY" "$((OFFSET + SLURM_ARRAY_TASK_ID))"
