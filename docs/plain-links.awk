# Doxygen's filter for pages: a link to a heading of the same page becomes its text.
{
    while (match($0, /\[[^]]*\]\(#[^)]*\)/)) {
        link = substr($0, RSTART + 1, RLENGTH - 1)
        $0 = substr($0, 1, RSTART - 1) substr(link, 1, index(link, "]") - 1) substr($0, RSTART + RLENGTH)
    }
    print
}
