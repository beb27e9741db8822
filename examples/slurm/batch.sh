#!/bin/bash
# Converts LIST to OUT in 64 parts: sbatch --export=ALL,LIST=/data/list,OUT=/data/out batch.sh
# Ten minutes before its time is up a task is told so, ends its files in hand, and is put back into
# the queue; one whose node fails is, too. Afterwards: tavo batch --merge "$OUT" --list "$LIST"
#SBATCH --array=0-63
#SBATCH --time=02:00:00
#SBATCH --signal=B:TERM@600
#SBATCH --requeue
#SBATCH --open-mode=append

tavo batch --list "$LIST" --out "$OUT" --to group4 --shard env --resume --bad-ok &
batch=$!
trap 'kill -TERM $batch' TERM
wait $batch
status=$?
[ $status -gt 128 ] && { wait $batch; status=$?; }  # the trap has ended the first wait
[ $status -eq 75 ] && scontrol requeue "${SLURM_ARRAY_JOB_ID}_$SLURM_ARRAY_TASK_ID"
exit $status
