#!/bin/sh
# Turns a "no licence" line in the renderer's log into an exit code of one's own, 211, and forgives
# it: the farm tries such a frame again. no_licence.sh INSTANCE THREAD FRAME SCENE
trap '' PIPE
: "${1:?instance}" "${2:?thread}" "${3:?frame}" "${4:?scene}"
log=$(mktemp) || exit 1
trap 'rm -f "$log"' EXIT

"${RENDERAPP:-renderapp}" -frame "$3" "$4" >"$log" 2>&1
code=$?
cat "$log"
if [ "$code" -ne 0 ] && grep -qi 'no licen[cs]e' "$log"; then code=211; fi

"${QZ_CHECK:-qzCheckExitcode}" "${code:?}" "$1" "$2" "$3" renderapp ignore=211
exit "$code"
