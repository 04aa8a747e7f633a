#!/usr/bin/env bash
# Makes the packages for Windows, in build/packages: scripts/build-windows.sh [BUILD].
#
#     tarnvelde-VERSION-windows-x86_64.zip    library, program, small engines; runs where it is unpacked
#     tarnvelde-VERSION-py3-none-win_amd64.whl    the Python package with this library and these engines inside
#
# Builds the preset `windows` for it, or takes what is built in the folder BUILD. The libraries stay in
# build/packages/windows as well.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
scripts/install.sh packages-windows.txt
if [ $# -gt 0 ]; then
    build=$1
else
    build=$root/build/windows
    scripts/get-sqlite.sh build/sqlite
    cmake --preset windows -DTARNVELDE_BUILD_TESTS=OFF >/dev/null
    cmake --build --preset windows
fi
version=$(sed -n 's/^project(tarnvelde VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
name=tarnvelde-$version-windows-x86_64
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
folder=$stage/$name
mkdir -p "$folder"/{bin,lib,include} build/packages/windows

cp "$build"/{tarnvelde.exe,tarnvelde.dll,swmm5ex.dll,vorn.dll} "$folder/bin/"
x86_64-w64-mingw32-strip "$folder"/bin/*
cp "$build/libtarnvelde.dll.a" "$folder/lib/"
cp include/*.h "$folder/include/"
# For other compilers: the names, and an import library made of them.
{
    echo "LIBRARY tarnvelde.dll"
    echo "EXPORTS"
    x86_64-w64-mingw32-nm "$build/libtarnvelde.dll.a" | sed -n 's/.* T //p' | sort
} >"$folder/lib/tarnvelde.def"
x86_64-w64-mingw32-dlltool -d "$folder/lib/tarnvelde.def" -D tarnvelde.dll -l "$folder/lib/tarnvelde.lib"

git ls-files -z README.md CHANGELOG.md docs examples mathematics/README.md | grep -zv '^docs/site/' |
    xargs -0 cp --parents -t "$folder"
cp packaging/third-party.txt "$folder/"
find "$folder" -exec touch -d "$(git log -1 --format=%cI)" {} +
cp -p "$folder"/bin/*.dll build/packages/windows/
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct) /usr/bin/python3 packaging/make-wheel.py --tag win_amd64 --output build/packages \
    --library build/packages/windows/tarnvelde.dll --engines build/packages/windows >/dev/null
rm -f "build/packages/$name.zip"
(cd "$stage" && find "$name" | LC_ALL=C sort | TZ=UTC zip -X -q -@ "$root/build/packages/$name.zip")
echo "build/packages/$name.zip"
echo "build/packages/tarnvelde-$version-py3-none-win_amd64.whl"
