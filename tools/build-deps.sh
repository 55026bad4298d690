#!/usr/bin/env bash
# Builds the libraries that the project uses for the target, from Debian's source packages, into a cache that clones of
# the project share, and links build/deps to it. The cache's name is made from what decides its content.
source "$(dirname "$0")/common.sh"

key=$(cat "$root/tools/build-deps.sh" "$root/cmake/mingw-w64-x86_64.cmake" | sha256sum | cut -c1-16)
prefix=$cache/deps-$key
if [ -e "$prefix/complete" ]; then
    ln -sfn "$prefix" "$build/deps"
    exit 0
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
rm -rf "$prefix"
mkdir -p "$prefix/bin" "$prefix/include" "$prefix/lib/cmake"

# The system's own mirrors, but for source packages and in lists of our own, so that the system's stay as they are.
fetch_sources() {
    mkdir -p "$work/lists/partial" "$work/src"
    apt-get indextargets --format 'deb-src $(REPO_URI) $(CODENAME) $(COMPONENT)' \
        'Created-By: Packages' 'Origin: Debian' | sort -u >"$work/sources.list"
    local options=(-o "Dir::Etc::SourceList=$work/sources.list" -o Dir::Etc::SourceParts=/dev/null
        -o "Dir::State::Lists=$work/lists" -o APT::Sandbox::User=)
    apt-get "${options[@]}" update
    cd "$work/src"
    apt-get "${options[@]}" source freetype spdlog fmtlib benchmark
}

build_library() {
    local source=$1
    shift
    cmake -S "$source" -B "$work/build/$(basename "$source")" -G Ninja \
        -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64-x86_64.cmake" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_PREFIX_PATH="$prefix" "$@"
    cmake --build "$work/build/$(basename "$source")" -j2
    cmake --install "$work/build/$(basename "$source")"
}

# FreeType and the test libraries go into their users; spdlog and fmt are DLLs, so that a host and the library see one
# registry of loggers.
build_all() {
    build_library "$(echo "$work"/src/fmtlib-*)" -DBUILD_SHARED_LIBS=ON -DFMT_TEST=OFF -DFMT_DOC=OFF
    build_library "$(echo "$work"/src/spdlog-*/)" -DSPDLOG_BUILD_SHARED=ON -DSPDLOG_FMT_EXTERNAL=ON \
        -DSPDLOG_BUILD_EXAMPLE=OFF
    build_library "$(echo "$work"/src/freetype-*/)" -DFT_DISABLE_ZLIB=ON -DFT_DISABLE_BZIP2=ON -DFT_DISABLE_PNG=ON \
        -DFT_DISABLE_HARFBUZZ=ON -DFT_DISABLE_BROTLI=ON
    # Debian's version number comes from its packaging, which is not run here.
    sed -i 's/^project *(benchmark.*/&\nset(VERSION 1.7.1)\nset(GENERIC_LIB_VERSION 1.7.1)/' \
        "$work"/src/benchmark-*/CMakeLists.txt
    build_library "$(echo "$work"/src/benchmark-*/)" -DBENCHMARK_ENABLE_TESTING=OFF -DBUILD_SHARED_LIBS=OFF \
        -DBENCHMARK_ENABLE_WERROR=OFF
    build_library /usr/src/googletest
}

# Libraries that are only headers. The compiler for the target must not see the machine's own headers as a whole.
copy_headers() {
    cp -r /usr/include/glm /usr/include/CLI /usr/include/nlohmann /usr/include/stb "$prefix/include/"
    cp -r /usr/share/cmake/glm "$prefix/lib/cmake/"
}

copy_runtime() {
    local name
    for name in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll; do
        cp "$(x86_64-w64-mingw32-g++-posix -print-file-name=$name)" "$prefix/bin/"
    done
}

step deps-fetch "Fetching the sources of freetype, spdlog, fmt and benchmark" fetch_sources
step deps-build "Building them and googletest for the target (about two minutes)" build_all
step deps-headers "Copying header libraries" copy_headers
step deps-runtime "Copying the compiler's runtime" copy_runtime
touch "$prefix/complete"
ln -sfn "$prefix" "$build/deps"
