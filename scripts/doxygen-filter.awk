# Turns the plain comments of include/tov.h into Doxygen's: a comment before a declaration or behind it documents it, the
# comment at the head is the main page, and a comment that begins with a rule heads a chapter. Lines keep their numbers.

function slug(title) {
    gsub(/[^A-Za-z]/, "", title)
    return tolower(title)
}

NR == 1 && /^\/\*$/ { print "/** \\file */ /** \\mainpage"; next }
NR == 2 { sub(/^ \* /, " * \\brief "); print; next }
/^ \* Conventions of the whole interface$/ { print " * \\section conventions Conventions of the whole interface"; next }
/^\/\* -----/ { heading = 1; print (chapter ? "/** @} */ " : "") "/**"; next }
heading == 1 { title = $0; sub(/^ \* /, "", title); print " * \\defgroup " slug(title) " " title; heading = 2; chapter = 1; next }
heading == 2 && /^ \* ---.*\*\/$/ { print " * @{ */"; heading = 0; next }
/^#endif \/\* / { print; next }
heading == 0 && /^\/\*/ { sub(/^\/\*/, "/**") }
heading == 0 && /[^ ] +\/\* .*\*\/$/ { sub(/\/\* /, "/**< ") }
{ print }
END { if (chapter) print "/** @} */" }
