# Sourced: apt on lists and folders of its own, to fetch packages and sources without root and without touching the
# system's configuration. The mirrors are those that the system itself is set up with, in whichever form it names them.
# shellcheck shell=bash

# private_apt_update FOLDER TYPE: reads the lists of packages (TYPE deb) or of their sources (deb-src) into FOLDER.
private_apt_update() {
    private_apt_folder=$1
    local type=$2 codename
    codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
    mkdir -p "$private_apt_folder"/{lists,cache/archives}/partial
    # Only the distribution's own suites: what a third party's repository lacks would fail all. The suite is told as the
    # system names it, for what a suite says about itself is known only once its list has been read.
    # shellcheck disable=SC2016 # apt replaces these itself
    apt-get indextargets --format '$(CREATED_BY) $(REPO_URI) $(RELEASE) $(COMPONENT)' |
        awk -v type="$type" -v codename="$codename" '
            $1 == "Packages" && $4 == "main" && (index($3, codename) == 1 || $3 ~ /^(old)*stable/) {
                print type, $2, $3, "main"
            }' | sort -u >"$private_apt_folder/sources.list"
    if [ ! -s "$private_apt_folder/sources.list" ]; then
        echo "apt knows no source for '$codename main': add the distribution's own repository" >&2
        return 1
    fi
    private_apt update
}

# private_apt ARGUMENT...: apt-get on the lists that private_apt_update read.
private_apt() {
    apt-get -q -y \
        -o Dir::Etc::SourceList="$private_apt_folder/sources.list" \
        -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$private_apt_folder/lists" \
        -o Dir::Cache="$private_apt_folder/cache" \
        -o APT::Sandbox::User="$(id -un)" \
        -o Acquire::Retries=3 \
        "$@"
}
