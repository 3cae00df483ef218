# Checks that a shared library needs nothing but what the libraries that it names export, and what a
# small C library has: names.txt, or by another name renamed.txt.
# check-imports.sh NM OBJDUMP LIBRARY FOLDER...   where the FOLDERs hold the libraries that it names;
# NAMES in the environment is another file than names.txt, with a name to a line
set -eu
nm=$1 objdump=$2 library=$3
shift 3

# The libraries that it names, but for the C library, all the parts that glibc has of it.
named() {
    "$objdump" -p "$library" | awk '$1 == "NEEDED" { print $2 }' |
        grep -vE '^(lib(c|m|mvec|pthread|rt|dl|resolv|anl|nsl|crypt|util|BrokenLocale)|ld-.*)\.so'
}

exports_of() {
    wanted=$1
    shift
    for folder; do
        [ -e "$folder/$wanted" ] || continue
        "$nm" -D --defined-only "$folder/$wanted" | sed 's/^/exported /'
        return
    done
    echo "missing $wanted"
}

{
    for name in $(named); do
        exports_of "$name" "$@"
    done
    "$nm" -D --undefined-only "$library"
} | awk -v lists="$(dirname "$0")" -v names="${NAMES-$(dirname "$0")/names.txt}" '
    function bare(symbol) { sub(/@.*/, "", symbol); return symbol }
    BEGIN {
        while ((getline name < names) > 0) known[name]
        while ((getline line < (lists "/renamed.txt")) > 0) {
            split(line, word)
            if (word[1] != "#" && (word[2] == "-" || word[2] in known)) known[word[1]]
        }
    }
    $1 == "missing" { print "none of the folders has " $2; bad = 1 }
    $1 == "exported" { known[bare($NF)] }
    $1 == "U" { imports++ } # a weak import, w, may stay without a definition
    $1 == "U" && !(bare($2) in known) { print "the small C library lacks " bare($2); bad = 1 }
    END { if (!imports) { print "no imports found"; bad = 1 }; exit bad }'
