#!/bin/sh
# Turns the output of the benchmark programs into Markdown tables.
#   bench-table.sh OUTPUT...           prints them
#   bench-table.sh --update OUTPUT...  puts them into docs/performance.md, between its two marks
# Where several outputs hold a table of the same title, each is shown.
set -eu
page=$(dirname "$0")/../docs/performance.md

update=false
if [ "${1:-}" = --update ]; then
    update=true
    shift
fi
if [ $# -eq 0 ]; then
    echo "usage: $0 [--update] OUTPUT..." >&2
    exit 2
fi

# A title starts a table; the line after it holds the headings; an empty table is left out.
tables() {
    awk '
        function flush_table() {
            if (rows != "") {
                printf "### %s\n\n%s\n%s\n%s\n", title, headings, rule, rows
            }
            rows = ""; headings = ""; title = ""
        }
        FNR == 1 { flush_table() }
        /^== .* ==$/ { flush_table(); title = substr($0, 4, length($0) - 6); next }
        / \| / && title != "" {
            line = $0
            gsub(/ +\| +/, " | ", line)
            sub(/ +$/, "", line)
            line = "| " line " |"
            if (headings == "") {
                headings = line
                rule = line
                gsub(/[^|]+/, "---", rule)
            } else {
                rows = rows line "\n"
            }
            next
        }
        $0 != "" && title == "" && !seen[$0]++ { printf "%s\n\n", $0 }
        END { flush_table() }' "$@"
}

if ! $update; then
    tables "$@"
    exit 0
fi
new=$page.new
trap 'rm -f "$new" "$new.tables"' EXIT
tables "$@" >"$new.tables"
awk -v tables="$new.tables" '
    /^<!-- measured: begin -->$/ {
        print; print ""
        while ((getline line < tables) > 0) print line
        inside = 1; found = 1
    }
    /^<!-- measured: end -->$/ { inside = 0 }
    !inside { print }
    END { exit !found }' "$page" >"$new" || {
    echo "$0: no marks in $page" >&2
    exit 1
}
mv "$new" "$page"
