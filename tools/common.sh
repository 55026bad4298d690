# Shared by the scripts of this folder: where things are, and how steps are shown.
# shellcheck shell=bash

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
build=$root/build
cache=${ORRIN_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/orrin-display}
mkdir -p "$build" "$cache"

# step NAME TEXT COMMAND...: runs a command with its output in build/NAME.log and shows the end of that only when it fails.
# NOTE: Bash forgets 'set -e' inside a command whose result is tested, functions included. The command therefore gets a
# shell that nobody tests; otherwise a function would go on after its first failure and pass if its last line does.
step() {
    local name=$1 text=$2 status
    shift 2
    echo "$text"
    set +e
    (
        set -e
        "$@"
    ) >"$build/$name.log" 2>&1
    status=$?
    set -e
    if [ "$status" != 0 ]; then
        echo "failed: $text (whole output: build/$name.log)" >&2
        tail -n 25 "$build/$name.log" >&2
        exit 1
    fi
}

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "root is needed to run: $*" >&2
        return 1
    fi
}

# Installs the Debian packages that are missing.
install_packages() {
    local package installed missing=()
    installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        [[ $'\n'$installed$'\n' == *$'\n'"installed $package"$'\n'* ]] || missing+=("$package")
    done
    [ ${#missing[@]} != 0 ] || return 0
    step apt-update "Updating the package lists" as_root apt-get update
    step apt-install "Installing ${#missing[@]} packages (${missing[*]})" \
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"
}
