#!/usr/bin/env bash
# Makes the sysroot that the Windows presets build against, in build/windows-sysroot: pugixml from Debian's sources, the
# headers of CLI11 and toml++ from Debian's packages; for the tests GoogleTest, libxml2 and SQLite from Debian's sources.
# A sysroot that is there already and of the same versions is left as it is.
#
# Sources are fetched through lists of this script's own, so it changes nothing in those of the machine.
set -euo pipefail
# shellcheck source=scripts/lib.sh
. "$(dirname -- "${BASH_SOURCE[0]}")/lib.sh"

(($# == 0)) || die "takes no arguments"
install_packages "${WINDOWS_PACKAGES[@]}"
sysroot=${ODS_WINDOWS_SYSROOT:-$ODS_ROOT/build/windows-sysroot}
readonly sysroot

# Which versions the sysroot was made of; a part that was not finished has none.
wanted() {
  dpkg-query --show libpugixml-dev libxml2-dev libsqlite3-dev googletest libcli11-dev libtomlplusplus-dev g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix
  cat -- "${BASH_SOURCE[0]}" | cksum
}
if [[ -f $sysroot/made-of && $(<"$sysroot/made-of") == "$(wanted)" ]]; then
  exit
fi

work=$(mktemp --directory -- "${TMPDIR:-/tmp}/ods-windows.XXXXXX")
trap 'rm --recursive --force -- "$work"' EXIT
chmod 0755 -- "$work"  # apt fetches as a user of its own

# fetch PACKAGE...: unpacks the sources that installed packages were made of, in $work.
fetch() {
  local package
  mkdir --parents -- "$work/lists/partial"
  # Where the packages came from there are their sources too.
  for package in "$@"; do
    apt-cache policy "$package" | sed --quiet --regexp-extended \
      's|^ +[0-9]+ (https?://[^ ]+) ([^ /]+)/([^ ]+) [^ ]+ Packages$|deb-src [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] \1 \2 \3|p'
  done | sort --unique >"$work/sources.list"
  [[ -s $work/sources.list ]] || die "no package list names the place of: $*"
  local apt=(-o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=- -o Dir::State::Lists="$work/lists"
    -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= -o APT::Sandbox::User="$(id --user --name)")
  apt-get "${apt[@]}" --quiet --quiet update
  for package in "$@"; do
    (cd -- "$work" && apt-get "${apt[@]}" --quiet --quiet source --download-only \
      "$(dpkg-query --show --showformat='${source:Package}=${source:Version}' "$package")")
  done
  for package in "$work"/*.dsc; do
    (cd -- "$work" && dpkg-source --no-check --extract "$package" >/dev/null)
  done
}

# build WIDTH SOURCE OPTION...: builds with CMake and installs into the sysroot of the width.
build() {
  local width=$1 source=$2 folder=$work/build-$1-${2##*/} result=0
  shift 2
  cmake -S "$source" -B "$folder" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$ODS_ROOT/cmake/windows/$width.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$sysroot/$width" -DBUILD_SHARED_LIBS=OFF "$@" >"$folder.log" 2>&1 || result=$?
  ((result)) || cmake --build "$folder" --parallel "$(nproc)" --target install >>"$folder.log" 2>&1 || result=$?
  ((result == 0)) || { cat -- "$folder.log" >&2; die "$source could not be built"; }
}

# build_sqlite WIDTH SOURCE: its one C file, made of the source tree by its own means for this machine, and the library.
build_sqlite() {
  local folder=$work/build-$1-sqlite
  mkdir -- "$folder"
  (
    cd -- "$folder" && "$2/configure" --disable-tcl --disable-readline && make sqlite3.c &&
      "$1-w64-mingw32-gcc-posix" -O1 -DSQLITE_OMIT_LOAD_EXTENSION -c sqlite3.c &&
      "$1-w64-mingw32-ar" rcs "$sysroot/$1/lib/libsqlite3.a" sqlite3.o && cp -- sqlite3.h "$sysroot/$1/include/"
  ) >"$folder.log" 2>&1 || { cat -- "$folder.log" >&2; die "SQLite could not be built"; }
}

say "Making the sysroot for Windows in $sysroot"
fetch libpugixml-dev libxml2-dev libsqlite3-dev
rm --recursive --force -- "$sysroot"
mkdir --parents -- "$sysroot"
export ODS_WINDOWS_SYSROOT=$sysroot
for width in x86_64 i686; do
  build "$width" "$work"/pugixml-*
  mkdir --parents -- "$sysroot/$width/include" "$sysroot/$width/lib/cmake"
  cp --recursive -- /usr/include/CLI "$sysroot/$width/include/"
  cp --recursive -- /usr/include/toml++ "$sysroot/$width/include/"
  # The terms of what is linked into the programs: these libraries, and what the compiler brings (libstdc++, libgcc,
  # winpthreads and the start-up code).
  mkdir -- "$sysroot/$width/licences"
  for package in libpugixml-dev libcli11-dev gcc-mingw-w64-base "mingw-w64-${width/_/-}-dev"; do
    cp -- "/usr/share/doc/$package/copyright" "$sysroot/$width/licences/$package.txt"
  done
  cp --recursive -- "$(dirname -- "$(dpkg --listfiles libcli11-dev | grep 'CLI11Config.cmake$')")" "$sysroot/$width/lib/cmake/"
done
# The tests run in one width only.
build x86_64 /usr/src/googletest -DBUILD_GMOCK=ON
build x86_64 "$work"/libxml2-* -DLIBXML2_WITH_{ICONV,LZMA,ZLIB,PYTHON,PROGRAMS,TESTS,HTTP,FTP}=OFF
build_sqlite x86_64 "$work"/sqlite3-*/
wanted >"$sysroot/made-of"
