# shellcheck shell=bash
# Sourced: apt on lists and folders of its own, so that sources can be fetched without root and without touching the
# system's configuration. The mirrors are those that the system itself is set up with, whichever form it writes them in.

# private_apt_prepare FOLDER: reads the lists of binary and source packages into FOLDER.
private_apt_prepare() {
    private_apt_folder=$1
    mkdir -p "$private_apt_folder"/{lists,cache/archives}/partial
    local codename
    codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
    # Only the distribution's own suites: a third party's repository often has no sources at all.
    apt-get indextargets --format '$(CREATED_BY) $(REPO_URI) $(RELEASE) $(COMPONENT)' |
        awk -v codename="$codename" '
            $1 == "Packages" && $4 == "main" && ($3 ~ "^" codename || $3 ~ /^(old)*stable/) {
                print "deb", $2, $3, "main"
                print "deb-src", $2, $3, "main"
            }' | sort -u >"$private_apt_folder/sources.list"
    if [[ ! -s $private_apt_folder/sources.list ]]; then
        echo "apt has no source for $codename main: add the distribution's own repository to apt's sources" >&2
        return 1
    fi
    private_apt update
}

private_apt() {
    apt-get -q -y \
        -o Dir::Etc::SourceList="$private_apt_folder/sources.list" \
        -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State::Lists="$private_apt_folder/lists" \
        -o Dir::Cache="$private_apt_folder/cache" \
        -o APT::Update::Pre-Invoke::= -o APT::Update::Post-Invoke::= \
        -o Acquire::Retries=3 \
        -o APT::Sandbox::User="$(id -un)" \
        "$@"
}
