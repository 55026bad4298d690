# Doxygen's filter for the view's header: its sections become groups of members, the comments below a section's line the
# group's text. The contents list is left out: the groups say the same.
/^\/\/\/ +[0-9]+\. .*\.(cpp|h)/ || /^\/\/\/ {10,}[A-Za-z\/]+\.(cpp|h)/ {
    next
}
/^    \/\/ ---- / {
    sub(/^    \/\/ ---- /, "")
    sub(/\. Implemented in.*/, "")
    if (open)
        print "    /// @}"
    print "    /// @name " $0
    print "    ///"
    open = 1
    introduces = 1
    next
}
introduces && /^    \/\/( |$)/ {
    sub(/\/\//, "///")
    print
    next
}
introduces {
    print "    /// @{"
    introduces = 0
}
/^private:/ && open {
    print "    /// @}"
    open = 0
}
{
    print
}
