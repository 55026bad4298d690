#!/usr/bin/env bash
# Builds the libraries that the project uses for the target, from Debian's source packages, into a cache that clones of
# the project share, and links build/deps to it. The cache's name is made from what decides its content.
source "$(dirname "$0")/common.sh"
source "$(dirname "$0")/private-apt.sh"

toolchain=$root/cmake/mingw-w64-x86_64.cmake
key=$(cat "$root/tools/build-deps.sh" "$toolchain" | sha256sum | cut -c1-16)
prefix=$cache/deps-$key
packages=(fmtlib spdlog freetype harfbuzz benchmark tiff sqlite3 proj)

link_prefix() {
    [ "$(readlink "$build/deps")" = "$prefix" ] || ln -sfnT "$prefix" "$build/deps"
}

fetch_sources() {
    local package
    private_apt_update "$work/apt" deb-src
    mkdir "$work/source"
    cd "$work/source"
    private_apt source --download-only "${packages[@]}"
    for package in "${packages[@]}"; do
        dpkg-source --no-check -x "$package"_*.dsc "$work/source/$package"
    done
    cp -a /usr/src/googletest "$work/source/googletest"
}

# build_library NAME OPTION...
build_library() {
    local name=$1
    shift
    cmake -S "$work/source/$name" -B "$work/build/$name" -G Ninja \
        -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_CROSSCOMPILING_EMULATOR= -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_CXX_STANDARD=20 -DCMAKE_CXX_EXTENSIONS=OFF \
        -DCMAKE_C_FLAGS="-ffile-prefix-map=$work/source/=" -DCMAKE_CXX_FLAGS="-ffile-prefix-map=$work/source/=" "$@"
    cmake --build "$work/build/$name" -j"$(nproc)"
    cmake --install "$work/build/$name" --strip
}

# FreeType, HarfBuzz and the test libraries go into their users; spdlog and fmt are DLLs, so that a host and the library
# see one registry of loggers.
build_most() {
    build_library fmtlib -DBUILD_SHARED_LIBS=ON -DFMT_TEST=OFF -DFMT_DOC=OFF
    build_library spdlog -DSPDLOG_BUILD_SHARED=ON -DSPDLOG_FMT_EXTERNAL=ON -DSPDLOG_BUILD_EXAMPLE=OFF \
        -DSPDLOG_BUILD_TESTS=OFF
    build_library freetype -DBUILD_SHARED_LIBS=OFF -DFT_DISABLE_ZLIB=ON -DFT_DISABLE_BZIP2=ON -DFT_DISABLE_PNG=ON \
        -DFT_DISABLE_HARFBUZZ=ON -DFT_DISABLE_BROTLI=ON
    # Of HarfBuzz the shaping of OpenType fonts alone: metrics come from FreeType, which has the font's hinting. Without
    # the rest, and optimized no further, its one source compiles in 14 seconds instead of 40.
    build_library harfbuzz -DBUILD_SHARED_LIBS=OFF -DHB_BUILD_SUBSET=OFF -DCMAKE_INSTALL_INCLUDEDIR=include \
        "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG -DHB_LEAN -DHB_NO_AAT -DHB_NO_OT_FONT"
    # Debian's packaging hands the version in; 0.0.0 means "no tag", and then the library takes its own. Which regular
    # expressions there are is told, as finding out would mean running a probe on the target.
    build_library benchmark -DBUILD_SHARED_LIBS=OFF -DGIT_VERSION=0.0.0 -DBENCHMARK_ENABLE_TESTING=OFF \
        -DBENCHMARK_ENABLE_WERROR=OFF -DBENCHMARK_INSTALL_DOCS=OFF -DHAVE_STD_REGEX=1 -DHAVE_STEADY_CLOCK=1 \
        -DHAVE_GNU_POSIX_REGEX=0 -DHAVE_POSIX_REGEX=0 -DHAVE_THREAD_SAFETY_ATTRIBUTES=0
    build_library googletest -DBUILD_SHARED_LIBS=OFF
    # What GeoTIFF files are compressed by in practice; zlib for the target is a package of the distribution.
    build_library tiff -DBUILD_SHARED_LIBS=OFF -Dtiff-tools=OFF -Dtiff-tests=OFF -Dtiff-contrib=OFF -Dtiff-docs=OFF \
        -Dcxx=OFF -Dlibdeflate=OFF -Dpixarlog=OFF -Djpeg=OFF -Djbig=OFF -Dlerc=OFF -Dlzma=OFF -Dzstd=OFF -Dwebp=OFF \
        -Dccitt=OFF -Dthunder=OFF -Dnext=OFF -Dlogluv=OFF -Dmdi=OFF
}

# Its sources become one file by programs that run here, which is then compiled for the target.
build_sqlite() {
    mkdir "$work/build/sqlite3"
    cd "$work/build/sqlite3"
    "$work/source/sqlite3/configure" --disable-tcl --disable-shared
    make sqlite3.c sqlite3.h
    x86_64-w64-mingw32-gcc-posix -O2 "-ffile-prefix-map=$work/build/=" -DSQLITE_DQS=0 -DSQLITE_OMIT_LOAD_EXTENSION \
        -DSQLITE_OMIT_DEPRECATED -c sqlite3.c
    x86_64-w64-mingw32-ar rcs "$prefix/lib/libsqlite3.a" sqlite3.o
    cp sqlite3.h "$prefix/include/"
}

# Coordinate systems. Their database is not made anew: the distribution's own is installed, which is of the same version.
# Compiled with few optimisations and as the C++ it is written in, which takes two thirds of the time here; transforming
# is not what loading waits for, and its users call it as C.
build_proj() {
    build_sqlite
    cat >"$work/copy-database" <<'SCRIPT'
#!/bin/sh
cp /usr/share/proj/proj.db "$1"
SCRIPT
    chmod +x "$work/copy-database"
    build_library proj -DBUILD_SHARED_LIBS=OFF -DENABLE_TIFF=OFF -DENABLE_CURL=OFF -DBUILD_APPS=OFF \
        -DBUILD_TESTING=OFF -DSQLITE3_INCLUDE_DIR="$prefix/include" -DSQLITE3_LIBRARY="$prefix/lib/libsqlite3.a" \
        -DEXE_SQLITE3="$work/copy-database" -DCMAKE_CXX_STANDARD=11 "-DCMAKE_C_FLAGS_RELEASE=-O1 -DNDEBUG" \
        "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG"
}

# Configuring is done by one process at a time: beside PROJ, which is half of all, nobody waits for that.
build_all() {
    local most proj failed=no
    mkdir -p "$prefix/include" "$prefix/lib" "$work/build"
    step deps-most "Building them and googletest for the target (three minutes)" build_most &
    most=$!
    step deps-proj "Building SQLite and PROJ for the target" build_proj &
    proj=$!
    wait $most || failed=yes
    wait $proj || failed=yes
    [ $failed = no ]
}

# Libraries that are only headers. The compiler for the target must not see the machine's own headers as a whole. They
# keep their dates, so that a new cache does not make everything be compiled again.
copy_headers() {
    mkdir -p "$prefix/include" "$prefix/share/cmake"
    cp -a /usr/include/glm /usr/include/CLI /usr/include/stb "$prefix/include/"
    cp -a /usr/share/cmake/glm /usr/share/cmake/CLI11 "$prefix/share/cmake/"
}

# The compiler's DLLs; libssp is what the checked build's stack protector calls.
copy_runtime() {
    local name path
    for name in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll libssp-0.dll; do
        path=$(x86_64-w64-mingw32-g++-posix -print-file-name=$name)
        cp "$path" "$prefix/bin/"
        # The debugging information is nine tenths of it.
        x86_64-w64-mingw32-strip --strip-debug "$prefix/bin/$name"
    done
}

if [ ! -e "$prefix/complete" ]; then
    # Clones share the cache: one builds, the others wait for it.
    exec 9>"$cache/lock"
    flock 9
fi
if [ ! -e "$prefix/complete" ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    rm -rf "$prefix"
    mkdir -p "$prefix"
    step deps-fetch "Fetching the sources of ${packages[*]}" fetch_sources
    build_all
    step deps-headers "Copying header libraries" copy_headers
    step deps-runtime "Copying the compiler's runtime" copy_runtime
    touch "$prefix/complete"
fi
link_prefix
