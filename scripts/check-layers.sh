#!/usr/bin/env bash
# Checks that the layers hold: the platform includes nothing of the task library or the tools, the
# column values and wrappers (db/) nothing of the operations or the factory, and no two folders
# include each other, directly or round a longer loop. Reads the tracked sources; exit 1 on a breach.
set -euo pipefail
cd "$(dirname "$0")/.."

# Folder prefixes that files under the first prefix must never include from.
rules=(
    "platform/:db/ TaskInterfaceDB/ LibInterfaceDB/ utilities/ tools/ include/Db/Tbl/ include/Db/Proc/ include/Db/Cursor/ interface/TaskInterface.h"
    "db/:TaskInterfaceDB/ LibInterfaceDB/ tools/"
    "utilities/:TaskInterfaceDB/ LibInterfaceDB/ tools/"
    "interface/:platform/ db/ TaskInterfaceDB/ LibInterfaceDB/ utilities/ tools/"
)

# "including-file included-file" for every quoted include, the target resolved the way the build
# does: from the top, interface/, tests/, the including file's folder; Db/... is generated (Db/Rec holds
# the plain records the platform's own services read, the other Db/ folders the library's bindings).
edges=$(git ls-files '*.h' '*.cpp' | while read -r file; do
    dir=$(dirname "$file")
    sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"\([^"]*\)".*/\1/p' "$file" | while read -r inc; do
        target=""
        case "$inc" in
            Db/*) target="include/$inc" ;;
            *)
                for base in . interface tests "$dir"; do
                    if [ -f "$base/$inc" ]; then
                        target="${base#./}/$inc"
                        [ "$base" = . ] && target="$inc"
                        break
                    fi
                done
                ;;
        esac
        [ -n "$target" ] && echo "$file $target"
    done
done)

failed=0
while read -r file target; do
    for rule in "${rules[@]}"; do
        from=${rule%%:*}
        [[ "$file" == "$from"* ]] || continue
        for banned in ${rule#*:}; do
            if [[ "$target" == "$banned"* ]]; then
                echo "layers: $file includes $target ($from must not depend on $banned)"
                failed=1
            fi
        done
    done
done <<<"$edges"

# Folder to folder; tsort names the folders of any loop.
loops=$(awk '{ a = $1; b = $2; sub(/\/[^\/]*$/, "", a); sub(/\/[^\/]*$/, "", b); print a, b }' <<<"$edges" |
    sort -u | tsort 2>&1 >/dev/null || true)
if [ -n "$loops" ]; then
    echo "layers: folders include each other:"
    sed -n 's/^tsort: /  /p' <<<"$loops"
    failed=1
fi

if [ "$failed" = 0 ]; then
    echo "layers: $(wc -l <<<"$edges") includes checked, no upward include, no loop between folders"
fi
exit "$failed"
