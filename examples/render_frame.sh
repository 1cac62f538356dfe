#!/usr/bin/env bash
# How a render script calls the exit-code check: one frame, one process, one check.
set -uf  # the ignored codes are split into words, and are no patterns
case "${1:-}" in
  -h | --help)
    echo "Usage: render_frame.sh INSTANCE THREAD FRAME PROCESS 'IGNORED CODES' COMMAND..."
    echo "Renders one frame with COMMAND, whose process is called PROCESS, then runs"
    echo "\$QZ_CHECK (qzCheckExitcode) with its exit code."
    exit 0 ;;
esac
[ $# -ge 6 ] || { echo "render_frame.sh: at least six arguments are needed, try -h" >&2; exit 2; }

instance=$1 thread=$2 frame=$3 process=$4 forgiven=$5
shift 5

"$@"
code=$?  # at once: the next command replaces it

ignore=()
for number in $forgiven; do ignore+=("ignore=$number"); done

# The process name stands right behind the frame number. No exec here: the check looks for the
# render process among the children of the process that started it, which is this script.
"${QZ_CHECK:-qzCheckExitcode}" "$code" "$instance" "$thread" "$frame" "$process" \
  ${ignore[@]+"${ignore[@]}"}
