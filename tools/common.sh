# Shared by the scripts of this folder: where things are, and how steps are shown.
# shellcheck shell=bash

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build
cache=${ORRIN_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/orrin-display}
mkdir -p "$build" "$cache"

# Runs a command with its output in build/NAME.log; shows the end of that only when it fails.
step() {
    local name=$1 text=$2
    shift 2
    echo "$text"
    if ! "$@" >"$build/$name.log" 2>&1; then
        echo "failed: $text (whole output: build/$name.log)" >&2
        tail -n 25 "$build/$name.log" >&2
        return 1
    fi
}

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

# Installs the Debian packages that are missing.
install_packages() {
    local missing=() package
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} = 0 ] && return
    step apt-update "Updating the package lists" as_root apt-get update
    step apt-install "Installing ${#missing[@]} packages" \
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
}
