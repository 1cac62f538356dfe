#!/usr/bin/env bash
# Filters the renderer's words without losing its code: render_pipe.bash INSTANCE THREAD FRAME SCENE
trap '' PIPE

"${RENDERAPP:-renderapp}" -frame "${3:?frame}" "${4:?scene}" 2>&1 | sed -u 's/^/render: /'
code=${PIPESTATUS[0]} # of the renderer, not of sed; and at once

"${QZ_CHECK:-qzCheckExitcode}" "$code" "${1:?instance}" "${2:?thread}" "$3" renderapp
exit "$code"
