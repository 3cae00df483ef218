# Compares what a shared library exports with a list.
# check-exports.sh NM OBJDUMP LIBRARY SONAME LIST
set -eu
nm=$1 objdump=$2 library=$3 soname=$4 list=$5

found=$("$objdump" -p "$library" | awk '$1 == "SONAME" { print $2 }')
if [ "$found" != "$soname" ]; then
    echo "the SONAME is \"$found\", not $soname"
    exit 1
fi

"$nm" -D --defined-only -C "$library" | awk -v list="$list" '
    # The class, function or variable that a symbol belongs to, without arguments.
    function qualified(symbol) {
        sub(/^(vtable|VTT|typeinfo|typeinfo name|guard variable) for /, "", symbol)
        sub(/^(non-virtual|virtual|covariant return) thunk to /, "", symbol)
        sub(/[([].*/, "", symbol)
        return symbol
    }
    # Listed itself, or a member of a listed class.
    function listed(name) {
        if (name in known) return 1
        while (match(name, /::[^:]*$/)) {
            name = substr(name, 1, RSTART - 1)
            if (name in known && known[name] != "name") return 1
        }
        return 0
    }
    function need(symbol) {
        if (!(symbol in exported)) { print "listed, but not exported: " symbol; bad = 1 }
    }
    BEGIN {
        while ((getline line < list) > 0)
            if (line !~ /^#/ && split(line, word, " ") == 2) known[word[2]] = word[1]
    }
    {
        sub(/^[0-9a-f]+ [A-Za-z] /, "") # address and kind
        name = qualified($0)
        exported[$0]
        exported[name]
        if (!listed(name)) { print "exported, but not listed: " $0; bad = 1 }
    }
    END {
        for (name in known) {
            if (known[name] == "name") need(name)
            if (known[name] == "class") {
                need("vtable for " name)
                need("typeinfo for " name)
            }
        }
        exit bad
    }'
