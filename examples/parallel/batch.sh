#!/bin/sh
# Converts LIST to OUT in PARTS parts, as many at a time as there are processors; a part that is
# interrupted or finds no room is tried again: batch.sh LIST OUT PARTS [HOSTS for --sshlogin]
list=$1 out=$2 parts=$3 hosts=${4:-:}
seq 0 $((parts - 1)) | parallel --sshlogin "$hosts" --retries 3 \
  tavo batch --list "$list" --out "$out" --to group4 --jobs 1 --shard "{}/$parts" --resume --bad-ok
tavo batch --merge "$out" --list "$list"
