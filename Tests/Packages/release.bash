# Usage: release.bash PROJECT BUILD. Rehearses a release in a clone, and compares its packages with those of a second build of the
# same commit in another folder: byte for byte. That one is BUILD where it was built from what is committed, with the same flags;
# otherwise it is made, which takes as long again.
set -euo pipefail
project=$1 build=$2
fail() {
    echo "failed: $*" >&2
    exit 1
}
expectEqual() { [ "$1" = "$2" ] || fail "$3: expected '$1', got '$2'"; }
refused() { # STATUS PART COMMAND...: COMMAND ends with STATUS and names PART
    local status=0 said
    said=$("${@:3}" 2>&1) || status=$?
    expectEqual "$1" "$status" "status of ${*:3} ($said)"
    [[ $said == *"$2"* ]] || fail "${*:3} said: $said"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Nobody's name is asked of whoever runs the tests.
export GIT_AUTHOR_NAME=Rehearsal GIT_AUTHOR_EMAIL=rehearsal@localhost GIT_COMMITTER_NAME=Rehearsal
export GIT_COMMITTER_EMAIL=rehearsal@localhost GIT_CONFIG_COUNT=1 GIT_CONFIG_KEY_0=safe.directory GIT_CONFIG_VALUE_0='*'
if [ ! -e "$project/.git" ]; then
    # An export of the sources, without their history.
    mkdir "$work/history"
    tar -C "$project" --exclude=./build -cf - . | tar -C "$work/history" -xf -
    project=$work/history
    git init --quiet "$project"
    git -C "$project" add --all
    git -C "$project" commit --quiet --message "The sources"
fi
git clone --quiet "$project" "$work/a clone in another folder"
cd "$work/a clone in another folder"
version=$(sed -nE 's/^project\(Tavo VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt)

# A release that is not possible is refused before anything is built or changed.
refused 64 "name one version" scripts/release
refused 64 "\"1.2\" is no version" scripts/release 1.2
refused 64 "\"01.2.3\" is no version" scripts/release --dry-run 01.2.3
refused 1 "does not come after $version" scripts/release --dry-run 0.0.9
touch stray
refused 1 "there are uncommitted changes" scripts/release --dry-run 99.0.0
rm stray
git tag v99.0.0
refused 1 "99.0.0 was released already" scripts/release --dry-run 99.0.0
git tag -d v99.0.0 >/dev/null
cp CHANGELOG.md "$work/changes"
printf '# Changes\n\n## Unreleased\n\n## 0.0.1\n\n- Something.\n' >CHANGELOG.md
git commit --quiet --all --message "No changes" && refused 1 "there is nothing to release" scripts/release --dry-run 99.0.0
git reset --quiet --hard HEAD~1
expectEqual "" "$(git status --porcelain)" "the tree after what was refused"
refused 1 "set TAVO_CONTACT and TAVO_HOMEPAGE" scripts/release 99.0.0

# A release itself, with a stand-in for the packages. Whatever fails, the tree is as it was, and the next try succeeds.
(
    git clone --quiet . "$work/released"
    cd "$work/released"
    export TAVO_CONTACT='Somebody <somebody@localhost>' TAVO_HOMEPAGE=https://localhost/tavo
    printf '#!/bin/sh\n[ ! -e ../fails ] || exit 3\nmkdir -p "$1"\n' >scripts/package
    git commit --quiet --all --message "A stand-in for the packages"
    start=$(git rev-parse HEAD)
    isUntouched() {
        expectEqual "$start" "$(git rev-parse HEAD)" "the commit after $1"
        expectEqual "" "$(git status --porcelain)$(git tag --list)" "the tree and the tags after $1"
    }
    touch ../fails
    refused 3 "" scripts/release 99.0.0
    isUntouched "packages that could not be made"
    rm ../fails
    git config tag.gpgSign true
    git config gpg.program false
    refused 128 "" scripts/release 99.0.0
    isUntouched "a tag that could not be made"
    git config tag.gpgSign false
    scripts/release 99.0.0 >"$work/released.log" 2>&1 || fail "$(cat "$work/released.log")"
    expectEqual "$(git rev-parse HEAD)" "$(git rev-parse v99.0.0^{commit})" "the commit that is tagged"
    expectEqual "$start" "$(git rev-parse HEAD~1)" "the commit before the release"
    grep -q "^project(Tavo VERSION 99.0.0 " CMakeLists.txt || fail "the version is not set"
    expectEqual "## Unreleased  ## 99.0.0, $(date -u +%Y)" "$(grep -A 2 '^## Unreleased$' CHANGELOG.md | tr '\n' ' ' | cut -c 1-30)" changes
    refused 1 "99.0.0 was released already" scripts/release 99.0.0
    refused 1 "there is nothing to release" scripts/release 99.0.1
)

# The packages of the commit as it is, of two builds in two folders.
export SOURCE_DATE_EPOCH
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
scripts/package "$work/first" >"$work/first.log" 2>&1 || fail "$(tail -n 30 "$work/first.log")"
# The flags that a build folder was configured with, without its own paths.
flags() {
    [ -e "$1/CMakeCache.txt" ] || return 0
    sed -nE -e "s/-ffile-prefix-map=[^=]*=//g" -e 's/^CMAKE_(BUILD_TYPE|CXX_FLAGS_RELEASE|CXX_FLAGS|EXE_LINKER_FLAGS):[A-Z]+=/\1 /p' \
        "$1/CMakeCache.txt" | sort
}
if [ -n "$(git -C "$project" status --porcelain)" ] || [ "$(flags build/package)" != "$(flags "$build")" ]; then
    build="$work/another clone/build/package"
    git clone --quiet "$project" "$work/another clone"
    (cd "$work/another clone" && cmake --preset package && cmake --build --preset package) >"$work/second.log" 2>&1 ||
        fail "$(tail -n 30 "$work/second.log")"
fi
(cd "$build" && cpack --config CPackConfig.cmake -G "DEB;TGZ" -B "$work/packed") >"$work/second.log" 2>&1 ||
    fail "$(tail -n 30 "$work/second.log")"
count=0
for package in "$work"/first/*.deb "$work"/first/*.tar.gz; do
    cmp "$package" "$work/packed/$(basename "$package")" || fail "two builds differ in $(basename "$package")"
    count=$((count + 1))
done
expectEqual 3 "$count" "number of packages"
(cd "$work/first" && sha256sum --check --quiet SHA256SUMS) || fail "the checksums are wrong"
expectEqual 3 "$(wc -l <"$work/first/SHA256SUMS")" "number of checksums"

# A rehearsed release of the next version: packages named after it, and nothing else left.
before=$(git rev-parse HEAD)
unset SOURCE_DATE_EPOCH
next=$(awk -F. '{ print $1 "." $2 + 1 ".0" }' <<<"$version")
scripts/release --dry-run "$next" >"$work/release.log" 2>&1 || fail "$(tail -n 30 "$work/release.log")"
expectEqual "$before" "$(git rev-parse HEAD)" "the commit after the rehearsal"
expectEqual "" "$(git status --porcelain)$(git tag --list)" "the tree and the tags after the rehearsal"
for package in "tavoctl_$next-1_*.deb" "tavo_$next-1_*.deb" "tavo-$next-linux-*.tar.gz"; do
    compgen -G "build/packages/$next/$package" >/dev/null || fail "there is no $package"
done
dpkg-deb --fsys-tarfile "build/packages/$next"/tavoctl_*.deb | tar -xO ./usr/share/doc/tavoctl/changelog.gz | gunzip |
    grep -q "^## $next, 2" || fail "the changes are not those of $next"
dpkg-deb --fsys-tarfile "build/packages/$next"/tavo_*.deb | tar -xO ./usr/share/metainfo/com.vrd.tavo.metainfo.xml |
    grep -q "<release version=\"$next\" date=\"2" || fail "the metainfo does not name the release"
mkdir "$work/unpacked"
dpkg-deb --extract "build/packages/$next"/tavoctl_*.deb "$work/unpacked"
expectEqual "tavoctl $next" "$("$work/unpacked/usr/bin/tavoctl" --version)" "the version that the program tells"
for word in sign notarise Publish; do
    grep -q "$word" "$work/release.log" || fail "it does not tell a person to $word"
done
