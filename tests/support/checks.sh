# Sourced by the tests that are scripts: a folder that goes with them, failures that are counted, programs of the shell.
set -u
failures=0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 130' HUP INT TERM

fail() {
    echo "$1"
    failures=$((failures + 1))
}

# program FILE [LINE...]: makes a program of the shell, from standard input where there are no lines.
program() {
    file=$1
    shift
    { echo '#!/bin/sh' && if [ $# -gt 0 ]; then printf '%s\n' "$@"; else cat; fi; } >"$file"
    chmod +x "$file"
}
