#!/usr/bin/env bash
# The release script: a dry run writes the version into every place and changes nothing here; what
# is no version, or not the one at the top of the changelog, is refused.
set -euo pipefail
failed=0
top=$(sed -nE 's/^## ([0-9.]+) \(unreleased\)$/\1/p' CHANGELOG.md | head -n 1)
[[ -n $top ]] || { echo "nothing unreleased: no dry run"; exit 0; }
before=$(git ls-files -z | xargs -0 sha256sum | sha256sum)
output=$(SOURCE_DATE_EPOCH=86400 bash scripts/release.sh "$top" --dry-run) ||
  { echo "the dry run failed: $output"; failed=1; }
grep -qF "+## $top (1970-01-02)" <<<"$output" || { echo "no date in the changelog"; failed=1; }
[[ $before == "$(git ls-files -z | xargs -0 sha256sum | sha256sum)" ]] ||
  { echo "a dry run changes the tree"; failed=1; }
for wrong in 1.2 99.0.0 x; do
  if bash scripts/release.sh "$wrong" --dry-run >/dev/null 2>&1; then
    echo "accepted: $wrong"
    failed=1
  fi
done
exit $failed
