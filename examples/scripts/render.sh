#!/bin/sh
# A render script for any POSIX shell: render.sh INSTANCE THREAD FRAME SCENE
# QZ_CHECK names the check, RENDERAPP the renderer.
trap '' PIPE # nobody may read the log any more; the message counts
: "${1:?instance}" "${2:?thread}" "${3:?frame}" "${4:?scene}"

"${RENDERAPP:-renderapp}" -frame "$3" "$4"
code=$? # at once: the next command replaces it

"${QZ_CHECK:-qzCheckExitcode}" "${code:?}" "$1" "$2" "$3" renderapp ignore=211
exit "$code"
