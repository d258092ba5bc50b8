#!/bin/sh
# pkg_config.sh <folder of quarn_ui.pc> <source> <scratch folder> <compiler> <flags>
# Builds the source with what pkg-config says and runs it, then compiles every installed header.
set -eu
pc=$1 source=$2 scratch=$3 compiler=$4 flags=$5

export PKG_CONFIG_PATH="$pc"
cflags=$(pkg-config --cflags quarn_ui)
libs=$(pkg-config --libs quarn_ui)
libdir=$(pkg-config --variable=libdir quarn_ui)
includes=$(pkg-config --variable=includedir quarn_ui)/quarn_ui
mkdir -p "$scratch"

# The flags are lists of words.
# shellcheck disable=SC2086
"$compiler" -std=c++17 $flags $cflags "$source" -o "$scratch/consumer" $libs "-Wl,-rpath,$libdir"
"$scratch/consumer"

# No installed header may need one that stays private, or be one.
if find "$includes" -name detail | grep .; then
    echo "Private headers are installed"
    exit 1
fi
find "$includes" -name '*.h' -printf '#include "%P"\n' | sort >"$scratch/headers.cpp"
# shellcheck disable=SC2086
"$compiler" -std=c++17 $flags $cflags -Wall -Wextra -Werror -fsyntax-only "$scratch/headers.cpp"
echo "$(wc -l <"$scratch/headers.cpp") headers compile"
