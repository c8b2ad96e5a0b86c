#!/usr/bin/env bash
# Makes the archive for Windows, unpacks it at another place, and builds and runs hosts against it:
# through find_package, and with the tools of another compiler's ABI where they are found.
# Environment: BUILD, ARCHIVE, CMAKE, CPACK, TOOLCHAIN, VERSION, EMULATOR, CMAKE_GENERATOR.
set -euo pipefail
source_dir=$PWD/tests/install
work=$BUILD/windows_zip
rm -rf "$work" "$ARCHIVE"
mkdir -p "$work/tarnix"

(cd "$BUILD" && "$CPACK" --config CPackConfig.cmake >"$work/cpack.log")
(cd "$work" && "$CMAKE" -E tar xf "$ARCHIVE" && mv tarnix-*/* tarnix)
tree=$work/tarnix
(cd "$tree" && find . -type f | sort)

echo "== DLLs that ours requires"
wanted=$(objdump -p "$tree/bin/tarnix.dll" | awk '/DLL Name/ { print tolower($3) }' | sort)
echo "$wanted"
[[ $wanted == $'kernel32.dll\nmsvcrt.dll' ]] || { echo "not those of Windows alone"; exit 1; }

echo "== find_package"
"$CMAKE" -S "$source_dir" -B "$work/host" -DCMAKE_TOOLCHAIN_FILE="$TOOLCHAIN" \
  -Dtarnix_DIR="$tree/lib/cmake/tarnix" -DVERSION="$VERSION" -DCMAKE_BUILD_TYPE=Release \
  >"$work/configure.log"
"$CMAKE" --build "$work/host"
cp "$tree/bin/tarnix.dll" "$work/host"
for host in consumer layer layer_header_only; do "$EMULATOR" "$work/host/$host.exe"; done

echo "== another ABI"
for tool in clang lld-link llvm-dlltool; do
  command -v "$tool" >/dev/null || { echo "skipped: $tool not found"; exit 0; }
done
llvm-dlltool -m i386:x86-64 -d "$tree/lib/tarnix.def" -l "$work/tarnix.lib"
clang --target=x86_64-pc-windows-msvc -ffreestanding -std=c11 -Wall -Werror -O1 \
  -I"$tree/include" -c "$source_dir/msvc_host.c" -o "$work/msvc_host.obj"
lld-link /nologo /entry:start /subsystem:console /nodefaultlib "/out:$work/host/msvc_host.exe" \
  "$work/msvc_host.obj" "$work/tarnix.lib"
"$EMULATOR" "$work/host/msvc_host.exe"
echo "ended with 0"
