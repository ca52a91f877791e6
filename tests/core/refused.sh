#!/usr/bin/env bash
# refused.sh COMPILER FLAGS...: every use that docs/refused.md lists is an error, and the error's first line has the words
# that stand beside it. All of them are compiled at once, each on a line of its own.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
page=$root/docs/refused.md
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

declarations=$(sed -n '/^```cpp$/,/^```$/{/^```/!p}' "$page")
mapfile -t uses < <(sed -nE 's/^\| `([^`]*)` \|.*/\1/p' "$page")
mapfile -t words < <(sed -nE 's/^\| `.*\| ([^|]*) \|$/\1/p' "$page")
((${#uses[@]} > 0 && ${#uses[@]} == ${#words[@]})) || { echo "the table of $page was not found"; exit 1; }

compile() { "$@" -std=c++20 -I"$root" -fsyntax-only -w "$work/uses.cpp" 2>"$work/errors"; }

# Without the uses everything compiles, so that each error is a use's own.
printf '#include "expression/tavexpression.h"\n%s {}\n' "$declarations" >"$work/uses.cpp"
compile "$@" || { cat "$work/errors"; exit 1; }

printf '#include "expression/tavexpression.h"\n%s {\n#line 1\n' "$declarations" >"$work/uses.cpp"
printf '  static_cast<void>(0), %s;\n' "${uses[@]}" | sed -E 's/static_cast<void>\(0\), (Tav[A-Za-z<>]+ )/\1/' >>"$work/uses.cpp"
echo '}' >>"$work/uses.cpp"
limit=-fmax-errors=0
[[ $("$1" --version) == *clang* ]] && limit=-ferror-limit=0
compile "$@" $limit && { echo "everything compiles"; exit 1; }

failed=0
for i in "${!uses[@]}"; do
  first=$(grep -m1 -E "uses\.cpp:$((i + 1)):[0-9]+: (fatal )?error: " "$work/errors" || true)
  for word in ${words[i]}; do
    if [[ $first != *"$word"* ]]; then
      printf '%s: the first line of the error is to have "%s":\n  %s\n' "${uses[i]}" "$word" "${first:-(it compiles)}"
      failed=1
    fi
  done
done
# Flags under which the header itself says what it needs.
for flag in -std=c++17 -ffast-math; do
  errors=$("$@" -std=c++20 "$flag" -I"$root" -fsyntax-only -x c++ "$root/expression/tavexpression.h" 2>&1 || true)
  [[ $(grep -m1 'error: ' <<<"$errors") == *'"tavexpression '* ]] || { echo "$flag is not refused"; failed=1; }
done
echo "${#uses[@]} uses"
exit $failed
