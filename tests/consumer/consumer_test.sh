#!/usr/bin/env bash
# consumer_test.sh BUILD SCRATCH CC CXX: installs the build, moves the tree elsewhere, and uses it from outside with the
# program that the README shows: through the CMake package, through pkg-config, from C17 with every public header, and as the installed tool.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$1 scratch=$2
export CC=$3 CXX=$4
unset CFLAGS CXXFLAGS LDFLAGS LD_LIBRARY_PATH
strict=(-Wall -Wextra -Wpedantic -Werror)

step()
{
    echo "-- $1"
    "${@:2}" || { echo "consumer: $1 failed"; exit 1; }
}

rm -rf "$scratch"
mkdir -p "$scratch"
cmake --install "$build" --prefix "$scratch/staged" >"$scratch/install.log" || { cat "$scratch/install.log"; exit 1; }
mv "$scratch/staged" "$scratch/moved"
prefix=$scratch/moved

program=$scratch/main.cpp
sed -n '/^```cpp$/,/^```$/p' "$here/../../README.md" | sed '/^```/d' >"$program"

step "configuring against the package" \
    cmake -G Ninja -S "$here/project" -B "$scratch/app" -DCMAKE_PREFIX_PATH="$prefix" -DPROGRAM="$program" \
    --log-level=WARNING
step "building against the package" cmake --build "$scratch/app"
step "running what the package built" "$scratch/app/app"

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name emantle.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags --libs emantle)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir emantle)
export LD_LIBRARY_PATH
step "building with pkg-config" "$CXX" -std=c++20 "${strict[@]}" "$program" "${flags[@]}" -o "$scratch/by_pkg_config"
step "running what pkg-config built" "$scratch/by_pkg_config"

module=emantle/emantle_translation.so
if [ -e "$build/src/$module" ]; then
    step "finding the translation module beside the library" test -e "$LD_LIBRARY_PATH/$module"
fi

# Each header alone first, so that none leans on what another one includes.
mapfile -t headers < <(cd "$prefix/include" && find emantle -name '*.h' | LC_ALL=C sort)
for header in "${headers[@]}"; do
    printf '#include <%s>\nint main(void) { return 0; }\n' "$header" >"$scratch/alone.c"
    "$CC" -std=c17 "${strict[@]}" -fsyntax-only "${flags[0]}" "$scratch/alone.c" ||
        { echo "consumer: <$header> alone does not compile as C17"; exit 1; }
done
{
    printf '#include <%s>\n' "${headers[@]}"
    echo 'int main(void) { return emsc_HeapMalloc(0) != 0; }'
} >"$scratch/every_header.c"
step "building ${#headers[@]} headers as C17" \
    "$CC" -std=c17 "${strict[@]}" "$scratch/every_header.c" "${flags[@]}" -o "$scratch/every_header"
step "running the C17 program" "$scratch/every_header"

unset LD_LIBRARY_PATH
if [ -e "$prefix/bin/emantle" ]; then
    step "running the installed tool" "$prefix/bin/emantle" --help >/dev/null
fi
