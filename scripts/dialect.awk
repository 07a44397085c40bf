# What clang-format leaves open, of one C++ file after the other: no braces round a single line,
# `++i` where nobody looks at the value, functions and variables of one file `static`, and its types
# in an anonymous namespace. Tests keep theirs as they like.
function report(what) {
    print FILENAME ":" FNR ": " what
    found = 1
}

FNR == 1 { isInNamespace = isOpen = 0 }

# A macro of several statements may stay in braces, and an `if` in a loop.
isOpen == 2 && $0 == indent "}" { report("braces round a single line") }
{ isOpen = isOpen == 1 && /;$/ && !/^ *(for|if|while|[A-Z_]+) ?\(/ ? 2 : 0 }
/^ +(for|if|while) \(.*\) \{$/ {
    isOpen = 1
    match($0, /^ +/)
    indent = substr($0, 1, RLENGTH)
}

/^ *[^ ]+(\+\+|--);$/ || /for \(.*; [^;]+(\+\+|--)\)/ { report("++ and -- stand in front") }

FILENAME !~ /\.cpp$/ || FILENAME ~ /^(view\/)?(tests|bench)\// { next }
/^} \/\/ namespace$/ { isInNamespace = 0 }
isInNamespace && /^[A-Za-z].*(\(|=|[^};];)/ && !/^(template|struct|class|enum|union|using) / {
    report("not a type: static instead of an anonymous namespace")
}
!isInNamespace && /^(template <.*> )?(struct|class) [A-Za-z]+ ?(:[^:].*)?\{/ {
    report("a type of this file alone: in an anonymous namespace")
}
!isInNamespace && /^(constexpr|inline) / { report("static") }
/^namespace \{$/ { isInNamespace = 1 }

END { exit found }
