#!/bin/sh
# Checks that every C snippet of README.md is an excerpt of an example.
#
# A snippet is a ```c fenced block placed after a line
#   <!-- excerpt: examples/NAME.c -->
# and its lines must appear, verbatim and in one piece, in examples/NAME.c.
# Every example must be quoted at least once, and every ```c block of the
# README must carry such a line.
#
# Usage: check_readme.sh README.md EXAMPLES_DIR
set -eu
readme=$1
dir=$2
[ -f "$readme" ] || { echo "no $readme" >&2; exit 1; }

awk -v dir="$dir" '
function slurp(path,    line, text) {
    text = ""
    while ((getline line < path) > 0)
        text = text line "\n"
    close(path)
    return text
}
/^<!-- excerpt: examples\/[A-Za-z0-9_]+\.c -->$/ {
    name = $0
    sub(/^<!-- excerpt: examples\//, "", name)
    sub(/ -->$/, "", name)
    pending = name
    next
}
/^```c[ \t]*$/ {
    if (pending == "") {
        printf "README.md:%d: a C block without an excerpt line\n", NR
        bad++
    }
    inside = 1; snippet = ""; start = NR; current = pending; pending = ""
    next
}
inside && /^```[ \t]*$/ {
    inside = 0
    if (current == "")
        next
    path = dir "/" current
    text = slurp(path)
    if (text == "") {
        printf "README.md:%d: %s is missing or empty\n", start, path
        bad++
    } else if (index(text, snippet) == 0) {
        printf "README.md:%d: the snippet is not an excerpt of %s\n", start, path
        bad++
    } else {
        quoted[current] = 1
        printf "README.md:%d: excerpt of %s: ok\n", start, current
    }
    next
}
inside { snippet = snippet $0 "\n"; next }
END {
    split("hash.c cipher_alias.c sign_verify.c export_keypair.c", all, " ")
    for (i in all)
        if (!(all[i] in quoted)) {
            printf "README.md: no excerpt of %s\n", all[i]
            bad++
        }
    exit bad > 0 ? 1 : 0
}' "$readme"
