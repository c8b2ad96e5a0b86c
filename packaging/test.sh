#!/usr/bin/env bash
# Makes packages of what the build folder holds, and checks their control fields, their file lists,
# the man pages, and that hosts and program work from the unpacked tree.
# Environment: BUILD (build folder), BUILD_TYPE, LIBDIR, VERSION, REVISION, PACKAGES (components to
# expect), HEADERS (folders of the public headers), CPACK, CMAKE, CC, CXX, CMAKE_GENERATOR.
set -euo pipefail
export LC_ALL=C
work=$BUILD/packages_test
root=$work/root
rm -rf "$work"
mkdir -p "$root"
umask 077 # what the packages hold is readable all the same

failed=0
fail() {
  echo "FAILED: $*"
  failed=1
}
equal() { # WHAT EXPECTED FOUND
  diff <(echo "$2") <(echo "$3") || fail "$1 (< expected, > found)"
}

echo "== version"
grep -qx "find_package(tarnix ${VERSION%.*} REQUIRED)" README.md || fail "version in README.md"
[[ $(grep -m 1 '^## ' CHANGELOG.md)\  == "## $VERSION "* ]] || fail "top of CHANGELOG.md"

echo "== packages"
"$CPACK" --config "$BUILD/CPackConfig.cmake" -B "$work/packages" >"$work/cpack.log" 2>&1 ||
  { cat "$work/cpack.log"; exit 1; }

version=$VERSION-$REVISION
arch=$(dpkg --print-architecture)
soversion=${VERSION%%.*}
if [[ $soversion == 0 ]]; then soversion=${VERSION%.*}; fi # then minor versions differ
runtime=libtarnix$soversion
declare -A package=([runtime]=$runtime [development]=libtarnix-dev
  [python]=python3-tarnix [ampl]=tarnix-ampl [tools]=tarnix-tools)
declare -A section=([runtime]=libs [development]=libdevel [python]=python [ampl]=math
  [tools]=math)
deb() { echo "$work/packages/${package[$1]}_${version}_$arch.deb"; }

equal "packages made" "$(for c in $PACKAGES; do deb "$c"; done | sort)" \
  "$(find "$work/packages" -maxdepth 1 -name '*.deb' | sort)"
((failed == 0)) || exit 1

echo "== control fields"
for c in $PACKAGES; do
  equal "fields of $c" "$(printf '%s\n' "${package[$c]}" tarnix "$version" "$arch" \
    "${section[$c]}" optional)" \
    "$(for f in Package Source Version Architecture Section Priority; do
      dpkg-deb -f "$(deb "$c")" $f
    done)"
  dpkg-deb -f "$(deb "$c")" Description | awk '
    NR == 1 { short = length($0) > 20 && length($0) < 80 }
    END { exit !(short && NR > 3) }' || fail "description of $c"
  depends=$(dpkg-deb -f "$(deb "$c")" Depends)
  echo "${package[$c]}: $depends"
  own="$runtime \\(= ${version//./\\.}\\)"
  case $c in
    runtime) [[ $depends =~ ^libc6\ .*libstdc\+\+6\ && $depends != *tarnix* ]] ;;
    development) [[ $depends =~ ^$own$ ]] ;;
    python) [[ $depends =~ ^$own, && $depends =~ python3\ \(\<\<\ 3\.[0-9]+\) &&
      $depends =~ python3-numpy && $depends =~ libc6\  ]] ;;
    ampl) [[ $depends =~ ^$own,\ .*libamplsolver.*libc6\  ]] ;;
    tools) [[ $depends =~ ^$own,\ libc6\ .*libmuparser.*libstdc\+\+6\  ]] ;;
  esac || fail "dependencies of $c"
done

echo "== files"
doc() { printf "usr/share/doc/$1/%s\n" changelog.Debian.gz changelog.gz copyright; }
expected_files() {
  doc "${package[$1]}"
  case $1 in
    runtime)
      echo "usr/$LIBDIR/libtarnix.so.$soversion -> libtarnix.so.$VERSION"
      echo "usr/$LIBDIR/libtarnix.so.$VERSION"
      ;;
    development)
      for folder in $HEADERS; do
        (cd "$folder" && find tarnix -name '*.h' -o -name '*.hpp') | sed 's|^|usr/include/|'
      done
      printf "usr/$LIBDIR/cmake/tarnix/tarnix%s.cmake\n" Config ConfigVersion Targets \
        "Targets-${BUILD_TYPE,,}"
      echo "usr/$LIBDIR/libtarnix.so -> libtarnix.so.$soversion"
      if [[ $HEADERS == *cpp* ]]; then echo "usr/$LIBDIR/libtarnixcpp.a"; fi
      if [[ -d interfaces/fortran ]]; then echo "usr/include/tarnix/tarnix.f90"; fi
      echo "usr/$LIBDIR/pkgconfig/tarnix.pc"
      echo "usr/share/man/man3/tarnix.3.gz"
      ;;
    python)
      (cd interfaces/python && find tarnix -name '*.py' -o -name '*.pyi' -o -name py.typed) |
        sed 's|^|usr/lib/python3/dist-packages/|'
      echo "usr/lib/python3/dist-packages/tarnix/_core$(/usr/bin/python3 -c \
        'import sysconfig; print(sysconfig.get_config_var("EXT_SUFFIX"))')"
      ;;
    ampl)
      echo "usr/bin/tarnix-ampl"
      echo "usr/share/man/man1/tarnix-ampl.1.gz"
      ;;
    tools)
      echo "usr/bin/tarnix"
      echo "usr/share/man/man1/tarnix.1.gz"
      echo "usr/share/bash-completion/completions/tarnix"
      echo "usr/share/zsh/vendor-completions/_tarnix"
      find interfaces/cli/README.md docs/program examples -name '*.md' -o -name '*.toml' \
        -o -name '*.template' -o -name '*.py' -o -name '*.sh' |
        sed -E 's#^(interfaces/cli|docs)/##; s#^#usr/share/doc/tarnix-tools/#'
      find /usr/share/doc/{libcli11-dev,libtomlplusplus-dev,nlohmann-json3-dev}/copyright \
        2>/dev/null | sed -E 's|.*/([^/]+)/copyright|usr/share/doc/tarnix-tools/copyright.\1|'
      ;;
  esac
}
for c in $PACKAGES; do
  # "-rw-r--r-- root/root size date time ./path -> target"
  list=$(dpkg-deb -c "$(deb "$c")")
  equal "files of $c" "$(expected_files "$c" | sort)" \
    "$(grep -v '^d' <<<"$list" | sed -E 's|^([^ ]+ +){5}\./||' | sort)"
  odd=$(grep -vE '^(d|-)rw(xr-xr-x|-r--r--) root/root |^lrwxrwxrwx root/root ' <<<"$list" || true)
  equal "owners and permissions in $c" "" "$odd"
  equal "programs of $c" "$(expected_files "$c" | grep ^usr/bin/ || true)" \
    "$(grep '^-..x' <<<"$list" | sed 's|.* \./||' || true)"
  dpkg-deb -x "$(deb "$c")" "$root"
done
umask 022
for c in $PACKAGES; do
  from=$root/usr/share/doc/${package[$c]}
  # The license word by word, whatever its layout.
  words() { tr -cs '[:alnum:]' '\n'; }
  cmp -s <(sed '1,/^Copyright/d' LICENSE | words | sed '/^$/d') \
    <(sed '1,/^License:/d' "$from/copyright" | words | sed '/^$/d') || fail "license of $c"
  cmp -s CHANGELOG.md <(zcat "$from/changelog.gz") || fail "changelog of $c"
  if command -v dpkg-parsechangelog >/dev/null; then
    zcat "$from/changelog.Debian.gz" >"$work/changelog"
    equal "changelog.Debian of $c" "$version" \
      "$(dpkg-parsechangelog -l "$work/changelog" -S Version)"
  fi
done
while read -r binary; do
  if readelf -d "$binary" | grep -E 'R(UN)?PATH'; then fail "search path in $binary"; fi
done < <(find "$root" -type f \
  \( -path '*/usr/bin/*' -o -name 'libtarnix.so.*' -o -name '_core.*.so' \))

echo "== hosts"
bash tests/install/consume.sh "$root/usr" "$LIBDIR" "$work/consumer"

echo "== dependency of a host's package"
dpkg-deb -e "$(deb runtime)" "$work/consumer/control"
mkdir -p "$work/consumer/debian"
touch "$work/consumer/debian/control"
depends=$(cd "$work/consumer" && dpkg-shlibdeps -O -L"$PWD/control/shlibs" \
  -l"$root/usr/$LIBDIR" main)
echo "$depends"
[[ $depends == *"$runtime (>= $VERSION)"* ]] || fail "shlibs file"

echo "== man pages"
pages=$root/usr/share/man
example() { zcat "$1" | sed -n '/^\.\\" example/,/^\.\\" end/{/^\.\\"/d; s/\\e/\\/g; p}'; }
for page in "$pages"/*/*; do
  if command -v man >/dev/null; then
    warnings=$(MANROFFSEQ='' man --warnings=w -E UTF-8 -l -Tutf8 "$page" 2>&1 >/dev/null)
    equal "warnings of man in $page" "" "$warnings"
  fi
  if command -v mandoc >/dev/null; then
    zcat "$page" >"$work/page"
    mandoc -T lint -W style "$work/page" || fail "mandoc in $page"
  fi
  zcat "$page" | grep -F "\"tarnix $VERSION\"" >/dev/null || fail "version in $page"
done
page=$pages/man3/tarnix.3.gz
equal "entry points in tarnix(3)" "$(grep -oE '^VRK_API .*' include/tarnix/tarnix.h |
  grep -oE 'VRK_[A-Za-z0-9]+[_A-Za-z0-9]*\(' | sort)" \
  "$(zcat "$page" | sed -n '/^\.SH SYNOPSIS/,/^\.SH DESCRIPTION/p' | grep -v typedef |
    grep -oE 'VRK_[A-Za-z0-9_]+\(' | sort)"
equal "statuses in tarnix(3)" \
  "$(grep -oE 'VRK_(SQP_|GRG_|TOO)[A-Z_]+ = [0-9]+' include/tarnix/tarnix.h |
    awk '{ print $3, $1 }' | sort)" \
  "$(zcat "$page" | sed -nE 's/^\.B ([0-9]+ VRK_[A-Z_]+)$/\1/p' | sort)"
example "$page" >"$work/example.c"
"$CC" -std=c11 -Wall -Wextra -Werror "$work/example.c" -o "$work/example" \
  -I"$root/usr/include" -L"$root/usr/$LIBDIR" -ltarnix
export LD_LIBRARY_PATH=$root/usr/$LIBDIR
"$work/example" || fail "example of tarnix(3)"

if [[ " $PACKAGES " == *" python "* ]]; then
  echo "== Python package"
  (cd / && PYTHONPATH=$root/usr/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1 \
    /usr/bin/python3 -c "import tarnix; assert tarnix.__version__ == '$VERSION'
r = tarnix.minimize(lambda x: (x[0] - 3)**2, [1.0], bounds=[(0, 2)])
assert r.success and abs(r.x[0] - 2) < 1e-6") || fail "the Python package"
fi

if [[ " $PACKAGES " == *" ampl "* ]]; then
  echo "== .nl driver"
  ampl=$root/usr/bin/tarnix-ampl
  "$ampl" "$PWD/interfaces/ampl/examples/mix" >"$work/mix" || fail "tarnix-ampl"
  grep -F "objective 1700" "$work/mix" || fail "answer of tarnix-ampl"
  manual=$(zcat "$pages/man1/tarnix-ampl.1.gz")
  for name in $("$ampl" -= | grep -oE '^[a-z]+'); do
    if [[ $name != version ]]; then grep -wF "$name" <<<"$manual" >/dev/null ||
      fail "no $name in tarnix-ampl(1)"; fi
  done
fi
if [[ " $PACKAGES " == *" tools "* ]]; then
  echo "== program"
  tarnix=$root/usr/bin/tarnix
  equal "version" "tarnix $VERSION" "$("$tarnix" --version)"
  options() { grep -oE -- '--[a-z-]+' | sort -u; }
  commands=('' init check solve run resume report probe sweep doe table)
  equal "options in tarnix(1)" "$(for command in "${commands[@]}"; do
    "$tarnix" $command --help | sed '/^First steps/,$d'
  done | options)" "$(zcat "$pages/man1/tarnix.1.gz" | sed 's/\\-/-/g' | options)"
  keys=$(sed -n '/^## The problem file/,/^- /p' interfaces/cli/README.md | grep '^|' |
    grep -oE '`[][a-z_]+`' | tr -d '`' | sort -u)
  [[ $(wc -l <<<"$keys") -gt 20 ]] || fail "no keys found"
  manual=$(zcat "$pages/man1/tarnix.1.gz")
  for key in $keys; do
    grep -qwF -- "$key" <<<"$manual" || fail "no $key in tarnix(1)"
  done
  mkdir -p "$work/problem"
  example "$pages/man1/tarnix.1.gz" >"$work/problem/rectangle.toml"
  "$tarnix" check "$work/problem/rectangle.toml" || fail "example of tarnix(1)"
  "$tarnix" solve --quiet "$work/problem/rectangle.toml" || fail "example of tarnix(1)"
fi

echo "== preset"
"$CMAKE" --preset package -B "$work/preset" -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" \
  >"$work/configure.log"
equal "library folder of the preset" "lib/$(dpkg-architecture -q DEB_HOST_MULTIARCH)" \
  "$(sed -n 's/^CMAKE_INSTALL_LIBDIR:PATH=//p' "$work/preset/CMakeCache.txt")"

if ((failed)); then exit 1; fi
echo "packages: passed"
