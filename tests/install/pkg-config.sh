# Builds and runs the consumers with what pkg-config says of an installed tree.
# pkg-config.sh COMPILER TREE LIBDIR CONSUMER_SOURCES EXAMPLE WORK_DIR [FLAG...]
set -eu
compiler=$1 tree=$2 libdir=$2/$3 sources=$4 example=$5 work=$6
shift 6
own=$*

export PKG_CONFIG_LIBDIR="$libdir/pkgconfig"
cflags=$(pkg-config --cflags avrdecoder)
libs=$(pkg-config --libs avrdecoder)
rm -rf "$work"
mkdir -p "$work"
cd "$work"

# Every installed header: none includes one that was left behind.
find "$tree/include/avrdecoder" -name '*.h' | sort | while read -r header; do
    echo "#include \"${header#"$tree/include/avrdecoder/"}\""
done >headers.cpp
test "$(wc -l <headers.cpp)" -ge 15
# The words of the flags are meant to be split.
"$compiler" $own -std=c++17 -Wall -Wextra -Werror -fsyntax-only $cflags headers.cpp

for user in decoder_user platform_user; do
    "$compiler" $own -std=c++17 $cflags "$sources/$user.cpp" -o "$user" $libs -Wl,-rpath,"$libdir"
    ${AVR_RUN-} "./$user"
done
"$compiler" $own -std=c++17 -Wall -Wextra -Werror $cflags "$example" -o minimal_player $libs \
    -Wl,-rpath,"$libdir"
