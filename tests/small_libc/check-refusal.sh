# Checks that check-imports.sh, with the same arguments, finds the calls of glibc_only.cpp.
# check-refusal.sh NM OBJDUMP LIBRARY FOLDER...
set -eu
expected="the small C library lacks ns_initparse
the small C library lacks pthread_cond_clockwait
the small C library lacks reallocarray"

if found=$(sh "$(dirname "$0")/check-imports.sh" "$@"); then
    echo "nothing was refused"
    exit 1
fi
if [ "$(echo "$found" | sort)" != "$expected" ]; then
    echo "refused was: $found"
    exit 1
fi
