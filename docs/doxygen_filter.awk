# doxygen_filter.awk: makes documentation of the headers' comments, which stay plain C for those who
# read them. A comment before a declaration, and one behind it, is about it.

function close_section() {
  if (in_group) print "/** @} */"
  in_group = 0
}

# The first comment is the file's: "name: what it is", then titles on lines of their own.
NR == 1 && /^\/\*$/ { print "/** @file"; in_essay = 1; next }
in_essay && NR == 2 { sub(/^ \* [a-z_.]+: /, " * @brief ") }
in_essay && /^ \* [A-Z][a-z ]+$/ { sub(/^ \* /, " * @par ") }
in_essay && /\*\/$/ { in_essay = 0 }

# "/* ---- Title */" opens a section; what stands below the title describes it.
/^\/\* --------/ {
  close_section()
  in_section = 1
  match($0, /-+ +/)
  $0 = "/** @name " substr($0, RSTART + RLENGTH)
}
in_section && /\*\/$/ { print $0 "\n/** @{ */"; in_section = 0; in_group = 1; next }
/^#ifdef __cplusplus/ { close_section() }

/^ *\/\*( |$)/ { sub(/\/\*/, "/**") }
/[^ ] +\/\* / { sub(/\/\* /, "/**< ") }
{ print }
