#!/usr/bin/env bash
# release.sh VERSION [--dry-run]: makes a release out of a clean tree on main: the version goes into
# the build files, the header, the documents and CITATION.cff, the top of CHANGELOG.md gets its
# date, everything is checked, packages are made, and the commit is tagged. Nothing is pushed. A
# dry run does the edits in a copy of the tree, shows them, and checks that the version is the same
# everywhere.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
die() {
  echo "release: $*" >&2
  exit 1
}
version=${1-} dry=
[[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] || die "usage: release.sh MAJOR.MINOR.PATCH [--dry-run]"
if [[ ${2-} == --dry-run ]]; then dry=1; elif (($# > 1)); then die "unknown option $2"; fi
IFS=. read -r major minor patch <<<"$version"
today=$(date --utc --date="@${SOURCE_DATE_EPOCH:-$(date +%s)}" +%F)

old=$(sed -nE 's/^project\(tarnix VERSION ([0-9.]+).*/\1/p' CMakeLists.txt)
soname() { if [[ $1 == 0.* ]]; then echo "${1%.*}"; else echo "${1%%.*}"; fi; }
header="## $version (unreleased)"
[[ $(grep -m 1 '^## ' CHANGELOG.md) == "$header" ]] ||
  die "the top of CHANGELOG.md is not '$header'"
if [[ -z $dry ]]; then
  [[ -z $(git status --porcelain) ]] || die "the tree is not clean"
  [[ $(git branch --show-current) == main ]] || die "this is not the branch main"
fi
if git rev-parse -q --verify "refs/tags/v$version" >/dev/null; then die "v$version is tagged"; fi

if [[ $dry ]]; then
  copy=$(mktemp -d)
  trap 'rm -rf "$copy"' EXIT
  git ls-files -z | xargs -0 cp --parents -t "$copy"
  cd "$copy"
fi
now=$(soname "$version") was=$(soname "$old")
sed -i -E "s/^(project\(tarnix VERSION )[0-9.]+/\1$version/" CMakeLists.txt
sed -i -E "s/^(#define VRK_VERSION_MAJOR ).*/\1$major/; s/^(#define VRK_VERSION_MINOR ).*/\1$minor/
  s/^(#define VRK_VERSION_PATCH ).*/\1$patch/
  s/^(#define VRK_VERSION_STRING ).*/\1\"$version\"/" include/tarnix/tarnix.h
sed -i -E "s/^(version: ).*/\1$version/" CITATION.cff
sed -i "s/^$header\$/## $version ($today)/" CHANGELOG.md
sed -i "s/find_package(tarnix ${old%.*} /find_package(tarnix $major.$minor /" README.md \
  docs/install.md docs/start/cpp.md
sed -i -E "s/libtarnix(\.so\.)?${was//./\\.}\b/libtarnix\1$now/g" \
  README.md docs/install.md examples/CMakeLists.txt examples/design_host.c packaging/CMakeLists.txt

# The version that each place states now.
stated() {
  sed -nE 's/^project\(tarnix VERSION ([0-9.]+).*/\1/p' CMakeLists.txt
  sed -nE 's/^#define VRK_VERSION_STRING "(.*)"/\1/p' include/tarnix/tarnix.h
  awk '/^#define VRK_VERSION_(MAJOR|MINOR|PATCH) / { v = v sep $3; sep = "." } END { print v }' \
    include/tarnix/tarnix.h
  sed -n 's/^version: //p' CITATION.cff
  sed -nE "s/^## ([0-9.]+) \($today\)\$/\1/p" CHANGELOG.md | head -n 1
  sed -nE "s/^find_package\(tarnix ([0-9.]+) REQUIRED\)/\1.$patch/p" README.md
  sed -nE "s/^#define libraryName \"libtarnix\.so\.$now\"$/$version/p" examples/design_host.c
}
[[ $(stated | sort | uniq -c | awk '{ print $1, $2 }') == "7 $version" ]] ||
  die "the places disagree: $(stated | paste -sd ' ')"
echo "version $version is in all places (was $old)"

if [[ $dry ]]; then
  for file in $(git -C "$OLDPWD" ls-files); do
    diff -u --label "$file" --label "$file" "$OLDPWD/$file" "$file" || true
  done
  echo "dry run: would check, make packages, commit and tag v$version"
  exit 0
fi
./check
cmake --preset package
cmake --build --preset package
git commit -am "Release $version"
git tag -a "v$version" -m "tarnix $version"
echo "packages are in build/package/packages; push with: git push origin main v$version"
