# Sourced by the other scripts: where the project is, and how packages get onto a bare Debian.
# shellcheck shell=bash

set -euo pipefail
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
script=$(basename "$0")

# What it takes to build everything but the tests.
build_packages=(g++ cmake ninja-build libcli11-dev nlohmann-json3-dev)

die() {
  printf '%s: %s\n' "$script" "$*" >&2
  exit 1
}

usage_error() {
  printf "%s: %s (try '%s -h')\n" "$script" "$*" "$script" >&2
  exit 2
}

# Installs the Debian packages among "$@" that are missing.
install_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  command -v apt-get >/dev/null ||
    die "these Debian packages are missing and there is no apt-get here: ${missing[*]}"
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null ||
      die "install these packages as root, then start again: ${missing[*]}"
    as_root=(sudo)
  fi
  printf 'Installing %s\n' "${missing[*]}"
  "${as_root[@]}" apt-get update -qq || die "apt-get update failed"
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
    --no-install-recommends "${missing[@]}" >/dev/null ||
    die "apt-get could not install: ${missing[*]}"
}

# Puts the file $2 between the two marks of section $1 of docs/reliability.md.
write_section() {
  local page=$project/docs/reliability.md
  grep -q "^<!-- $1: begin" "$page" || die "docs/reliability.md has no section '$1'"
  local written
  written=$(awk -v name="$1" -v file="$2" '
    index($0, "<!-- " name ": end") == 1 { inside = 0 }
    !inside
    index($0, "<!-- " name ": begin") == 1 {
      inside = 1
      print ""
      while ((getline line < file) > 0) print line
      print ""
    }' "$page")
  printf '%s\n' "$written" >"$page"
  printf 'Wrote the section "%s" of docs/reliability.md\n' "$1"
}
