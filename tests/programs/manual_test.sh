#!/bin/sh
# The manual page and the completion scripts are those of the command table, and
# every manual page is well formed. Usage: manual_test.sh SOURCE PROGRAMS
set -eu
source=$1
written=$(mktemp -d)
trap 'rm -rf "$written"' EXIT
PPPOEIA_PROGRAMS=$2 "$source/scripts/manual" --into "$written"
for file in docs/man/pppoeiactl.8 packaging/completion/pppoeiactl packaging/completion/_pppoeiactl; do
    cmp "$source/$file" "$written/$file" || { echo "run scripts/manual" >&2; exit 1; }
done
for page in "$source"/docs/man/*.[578]; do
    said=$(MANROFFSEQ='' MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null)
    [ -z "$said" ] || { echo "$page: $said" >&2; exit 1; }
done
