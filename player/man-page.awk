# Makes the manual page of the text that --help prints, which has
#   NAME - what it is      as its first line,
#   heading:               for a section of the page or, where it is no such name, of its options,
#     TERM   text          with up to 7 spaces before the term; the text may begin on the next line,
#            text          it goes on in its column, and
#              TERM   text   a list within it stands 2 columns further in,
#   text                   for the description.
# Variables: title and date, which stand at the page's foot.
BEGIN {
    count = split("SYNOPSIS,DESCRIPTION,OPTIONS,KEYS,EXIT STATUS,ENVIRONMENT,FILES,EXAMPLES",
                  sections, ",")
    for (i = 1; i <= count; ++i)
        page[sections[i]] = ""
}

# Hyphens of options are minus signs; no line begins with a request.
function escaped(text)
{
    gsub(/\\/, "\\e", text)
    gsub(/--/, "\\-\\-", text)
    gsub(/ -/, " \\-", text)
    sub(/^-/, "\\-", text)
    return text ~ /^[.']/ ? "\\&" text : text
}

# Bold, but for what the user puts in the place of a word in capitals.
function styled(term,    done)
{
    gsub(/-/, "\\-", term)
    gsub(/, /, "\\fR, \\fB", term)
    if (section == "OPTIONS" || section == "SYNOPSIS")
        while (match(term, /[A-Z][A-Z]+/)) {
            done = done substr(term, 1, RSTART - 1) "\\fI" substr(term, RSTART, RLENGTH) "\\fB"
            term = substr(term, RSTART + RLENGTH)
        }
    return "\\fB" done term "\\fR"
}

function capital(text) { return toupper(substr(text, 1, 1)) substr(text, 2) }

function put(line) { page[section] = page[section] line "\n" }

function endList()
{
    if (inList)
        put(".RE")
    inList = 0
}

function between(request)
{
    if (page[section] != "")
        put(request)
}

# Takes the term off the line. @return the column of the text that is left, 0 when none is
function beginItem(    gap, column, term)
{
    gap = match(line, /  +/)
    column = gap ? indent + gap + RLENGTH - 1 : 0
    term = gap ? substr(line, 1, gap - 1) : line
    line = gap ? substr(line, gap + RLENGTH) : ""
    if (section == "SYNOPSIS") {
        between(".br")
        put(styled(term))
        line = ""
    } else if (section == "EXAMPLES") {
        between(".PP")
        put(".EX\n" escaped(term) "\n.EE")
    } else {
        put(".TP\n" styled(term))
    }
    return column
}

{ match($0, /^ */); indent = RLENGTH; line = substr($0, indent + 1) }

NR == 1 { name = $1; what = substr($0, index($0, " - ") + 3); next }

line == "" { endList(); section = ""; next }

indent == 0 && /:$/ && section == "" {
    sub(/:$/, "", line)
    heading = line
    sub(/, .*/, "", heading)
    remark = substr(line, length(heading) + 3)
    section = heading == "usage" ? "SYNOPSIS" : toupper(heading)
    if (!(section in page)) {
        section = "OPTIONS"
        put(".SS " capital(heading))
    }
    if (remark != "")
        put(capital(remark) ":")
    next
}

indent == 0 && section == "" {
    section = "DESCRIPTION"
    between(".PP")
}
indent > 0 && indent < 8 {
    endList()
    column = beginItem()
}
indent >= 8 {
    if (!column)
        column = indent
    if (indent == column + 2) {
        if (!inList)
            put(".RS")
        inList = 1
        beginItem()
    } else if (indent == column && (inList || line ~ /^default:/)) {
        endList()
        put(".IP")
    }
}
line != "" { put(escaped(line)) }

END {
    printf ".TH %s 1 \"%s\" \"%s\" \"User Commands\"\n", toupper(name), date, title
    printf ".SH NAME\n%s \\- %s\n", name, what
    for (i = 1; i <= count; ++i)
        if (page[sections[i]] != "")
            printf ".SH %s\n%s", sections[i], page[sections[i]]
}
