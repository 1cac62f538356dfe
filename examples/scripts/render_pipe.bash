#!/usr/bin/env bash
# Filters the renderer's words without losing its code: render_pipe.bash INSTANCE THREAD FRAME SCENE
trap '' PIPE
: "${1:?instance}" "${2:?thread}" "${3:?frame}" "${4:?scene}" # not in the pipeline: it can't end us

"${RENDERAPP:-renderapp}" -frame "$3" "$4" 2>&1 | sed -u 's/^/render: /'
code=${PIPESTATUS[0]} # of the renderer, not of sed; and at once

"${QZ_CHECK:-qzCheckExitcode}" "${code:?}" "$1" "$2" "$3" renderapp
exit "$code"
