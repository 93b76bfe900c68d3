# Shared by in-release and on-desktop, which source it after private-namespaces.bash: systems that mmdebstrap makes in a
# folder, from the mirror that apt uses on this machine.

readonly releases=${TAVO_RELEASES:-/var/cache/tavo-releases}

give() {
    complain "$*"
    exit "$cannotRun"
}

# Prints the mirror of this machine's own release, then its components. A source may name its release by codename or by
# suite.
mirrorOfThisMachine() {
    # shellcheck disable=SC2016
    apt-get indextargets --format '$(CODENAME) $(RELEASE) $(REPO_URI) $(COMPONENT)' 'Created-By: Packages' |
        awk -v own="$(. /etc/os-release && echo "$VERSION_CODENAME")" '
            ($1 == own || $2 == own) && (mirror == "" || mirror == $3) { mirror = $3; components = components " " $4 }
            END { if (mirror == "") exit 1; print mirror components }'
}

# A proxy, for one: how this machine reaches its mirror.
aptOptions() { apt-config dump --format '%F "%v";%n' | grep -E '^Acquire::(https?|Check|Retries|By-Hash)[^ ]* "[^"]' || true; }

# makeSystem CODENAME FOLDER PACKAGES [OPTIONS OF MMDEBSTRAP...]: makes FOLDER a system of that release, as small as it
# comes, with PACKAGES (separated by commas) in it. An earlier FOLDER is replaced; when it cannot be made, none is left.
makeSystem() {
    local codename=$1 tree=$2 packages=$3 mirror components options=() line
    shift 3
    command -v mmdebstrap >/dev/null || give "mmdebstrap is missing; install it, with apt-get install mmdebstrap."
    read -r mirror components < <(mirrorOfThisMachine) || give "apt's sources on this machine name no mirror of its release."
    while read -r line; do options+=("--aptopt=$line"); done < <(aptOptions)
    rm -rf --one-file-system "$tree.new" "$tree"
    # It mounts this machine's /dev in there; that must not stay when it is killed.
    unshare --mount mmdebstrap --variant=minbase --include="$packages" "${options[@]}" "$@" "$codename" "$tree.new" \
        "deb $mirror $codename $components" "deb $mirror $codename-updates $components" ||
        give "$codename could not be made from $mirror; the words above say why."
    mv "$tree.new" "$tree"
}
