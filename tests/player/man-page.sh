# The manual page is well formed and says what --help says.
# man-page.sh AVRPLAY PAGE
set -eu
avrplay=$1 page=$2

if command -v mandoc >/dev/null; then
    mandoc -Tlint -Wwarning "$page"
fi
if ! command -v man >/dev/null; then
    echo "man is not here"
    exit 77
fi
warnings=$(man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
if [ -n "$warnings" ]; then
    echo "$warnings"
    exit 1
fi

for section in NAME SYNOPSIS DESCRIPTION OPTIONS KEYS "EXIT STATUS" ENVIRONMENT FILES EXAMPLES; do
    grep -qx ".SH $section" "$page" || { echo "no section $section"; exit 1; }
done
# Every word of the help is on the page, but for the headings and what the usage says of itself.
words() { tr -s ' \n' '\n\n' | LC_ALL=C sort -u; }
${AVR_RUN-} "$avrplay" --help >help.text
sed '/^usage:/,/^$/d; /^[a-z].*:$/d' help.text | words >help.words
MANWIDTH=2000 man -l -P cat --nh --nj "$page" | words >page.words
missing=$(LC_ALL=C comm -23 help.words page.words)
[ -z "$missing" ] || { echo "in the help but not on the page: $missing"; exit 1; }
