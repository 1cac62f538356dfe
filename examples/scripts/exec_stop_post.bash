#!/usr/bin/env bash
# ExecStopPost= of render@.service: $EXIT_STATUS is a number, or a signal's name such as KILL.
trap '' PIPE
code=${EXIT_STATUS:?is set by systemd}
case $code in
  *[!0-9]*) code=$((128 + $(kill -l "$code"))) ;;
esac
exec "${QZ_CHECK:-qzCheckExitcode}" "$code" 1 0 "${1:?frame}"
