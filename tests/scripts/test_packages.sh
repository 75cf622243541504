#!/bin/bash
# Builds the Debian packages of a build tree with cpack, unpacks them into an empty root with
# dpkg -x, and builds and runs the example programs against that root alone, once with CMake and
# once with pkg-config: one reads and writes a mail file, the other keeps messages in the store and
# walks the index through the platform's DB_* interface. Then runs the packaged mmsutil and its
# bash completion.
#   test_packages.sh CPACK CMAKE BUILD_DIR SOURCE_DIR SANITIZED(0|1)
set -euo pipefail

cpack=$1
cmake=$2
build=$3
source=$4
sanitized=$5

if [[ $sanitized == 1 ]]; then
    # Its libraries only load into programs that start the sanitizer runtime first.
    echo "skipped: a sanitizer build is not for packages; run this test from a plain build"
    exit 77
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root
export TAV_PLATFORM_DIR=$work/platform TAV_LOCAL_DOWNLOAD_PATH=$work/download

fail()
{
    echo "FAIL: $*" >&2
    exit 1
}

# Runs a command quietly; shows its output when it fails.
quietly()
{
    "$@" >"$work/step.log" 2>&1 || { cat "$work/step.log" >&2; fail "$*"; }
}

quietly "$cpack" -G DEB --config "$build/CPackConfig.cmake" -B "$work/packages"

# One package per part, the development files and the tool at the library's exact version.
package()
{
    local files=("$work/packages/$1"_*.deb)
    [[ -f ${files[0]} && ${#files[@]} == 1 ]] || fail "no single $1 package in:" "$work"/packages/*.deb
    printf '%s' "${files[0]}"
}
runtime=$(package libtavmmsutility1)
development=$(package libtavmmsutility-dev)
tool=$(package mmsutil)
version=$(dpkg-deb -f "$runtime" Version)
for deb in "$development" "$tool"; do
    depends=$(dpkg-deb -f "$deb" Depends)
    [[ $depends == *"libtavmmsutility1 (= $version)"* ]] ||
        fail "$(basename "$deb") depends on '$depends', not on libtavmmsutility1 (= $version)"
done
[[ $(dpkg-deb -f "$runtime" Depends) == *libqt6core6* ]] || fail "the runtime package does not depend on Qt"

for deb in "$runtime" "$development" "$tool"; do
    dpkg -x "$deb" "$root"
done
library=$(find "$root/usr/lib" -name libtavmmsutility.so.1)
[[ $library ]] || fail "no libtavmmsutility.so.1 under $root/usr/lib"
libdir=$(dirname "$library")
pcdir=$(dirname "$(find "$root/usr/lib" -name tavmmsutility.pc)")
[[ -f $root/usr/share/bash-completion/completions/mmsutil ]] || fail "no bash completion"
[[ -f $libdir/tavmmsutility/libtavmmsui.so ]] || fail "no user-interface plugin beside the library"
# Every installed header compiles on its own: none names a header that is not installed.
includedir=$root/usr/include/tavmmsutility
read -ra qtflags <<<"$(pkg-config --cflags Qt6Core)"
for header in "$includedir"/*.h; do
    echo "#include <$(basename "$header")>" |
        quietly c++ -std=c++17 -fPIC -fsyntax-only -x c++ - -I"$includedir" "${qtflags[@]}"
done

# Runs a built example with argument $2; it must take the library from the root and print each
# of the lines that follow.
run_example()
{
    local program=$1 argument=$2 shown loaded line
    shift 2
    # Read whole: grep -q would close the pipe early, and pipefail would count ldd's SIGPIPE.
    loaded=$(LD_LIBRARY_PATH=$libdir ldd "$program") || fail "ldd $program failed"
    [[ $loaded == *"libtavmmsutility.so.1 => $libdir/"* ]] ||
        fail "$program does not load the library from the unpacked root"
    shown=$(LD_LIBRARY_PATH=$libdir "$program" "$argument") || fail "$program failed"
    for line in "$@"; do
        [[ $'\n'$shown$'\n' == *$'\n'"$line"$'\n'* ]] || fail "$program printed: $shown"
    done
}

# Both examples, built in the directory $1, which also takes what they write.
run_examples()
{
    run_example "$1/write_and_read" "$1/mail.mms" "Subject: Hello from libtavmmsutility" \
        "To: Bob <bob@example.org>"
    mkdir -p "$1/store"
    run_example "$1/keep_messages" "$1/store" "2 inbox Ann: Re: Hello" "2 rows in the index" \
        "deleted message 2"
}

# CMake: find_package(tavmmsutility) with the root's prefix.
quietly "$cmake" -S "$source/examples" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$root/usr" \
    -DCMAKE_BUILD_TYPE=Release
found=$(sed -n 's/^tavmmsutility_DIR:PATH=//p' "$work/cmake-build/CMakeCache.txt")
[[ $found == "$root/"* ]] || fail "CMake found the package at '$found', outside the root"
quietly "$cmake" --build "$work/cmake-build"
run_examples "$work/cmake-build"

# pkg-config: the file finds its prefix from where it lies.
export PKG_CONFIG_PATH=$pcdir
prefix=$(pkg-config --variable=prefix tavmmsutility)
[[ $prefix == "$root/"* ]] || fail "pkg-config gives the prefix '$prefix', outside the root"
read -ra flags <<<"$(pkg-config --cflags --libs tavmmsutility)"
mkdir -p "$work/pkgconfig"
for example in write_and_read keep_messages; do
    quietly c++ -std=c++17 -fPIC "$source/examples/$example.cpp" "${flags[@]}" \
        -o "$work/pkgconfig/$example"
done
run_examples "$work/pkgconfig"

# The tool, and its completion with it.
help=$(LD_LIBRARY_PATH=$libdir "$root/usr/bin/mmsutil" --help) || fail "mmsutil --help failed"
[[ $help == *"Commands:"*"mailfile write"* ]] || fail "mmsutil --help printed: $help"
completed=$(
    # shellcheck source=/dev/null
    source "$root/usr/share/bash-completion/completions/mmsutil"
    COMP_WORDS=("$root/usr/bin/mmsutil" mailf)
    COMP_CWORD=1
    LD_LIBRARY_PATH=$libdir _mmsutil
    printf '%s' "${COMPREPLY[*]}"
)
[[ $completed == mailfile ]] || fail "the packaged completion gave '$completed' for 'mailf'"
echo "packages:" "$(basename "$runtime")" "$(basename "$development")" "$(basename "$tool")"
