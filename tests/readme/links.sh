# Every link of a page to a file leads there.
# links.sh PAGE...
set -eu
status=0
for page; do
    for link in $(sed '/^```/,/^```/d' "$page" | grep -o '](\([^)#]*\)' | sed 's/^](//'); do
        case $link in
        http:* | https:*) ;;
        *) [ -e "$(dirname "$page")/$link" ] || { echo "$page: no $link"; status=1; } ;;
        esac
    done
done
exit $status
