# Makes a test of a page: a section with tables is a case, its code blocks stand in the case as they are, and every row is
# a check of each expression in its first cell. The titles of the other columns say what is checked: "throws" and
# "message", "stops with", or functions of tests/support/page.h, "plain text" being plainText().
function snippets(cell, list,   count) {
  for (count = 0; match(cell, /`[^`]*`/); cell = substr(cell, RSTART + RLENGTH))
    list[++count] = substr(cell, RSTART + 1, RLENGTH - 2)
  return count
}
function literal(cell,   list) {
  if (!snippets(cell, list)) return "\"\""
  gsub(/"/, "\\\"", list[1])
  return "\"" list[1] "\""
}
function open() {
  if (!title) return
  gsub(/[^A-Za-z0-9]+/, "_", title)
  print (cases++ ? "}\n\n" : "") "TEST_F(Page, " title ") {"
  title = ""
}
BEGIN { print "#include \"tests/support/page.h\"\n" }
/^## / { title = substr($0, 4); next }
/^```cpp$/ { open(); code = 1; next }
/^```$/ { code = 0; next }
code { print "  " $0; next }
!/^\|/ { row = 0; next }
{
  gsub(/\\\|/, "\001")
  columns = split($0, cells, / *\| */) - 2
  for (c in cells) gsub("\001", "|", cells[c])
}
++row == 1 {
  for (c = 3; c <= columns + 1; ++c) {
    name[c] = cells[c]
    while (name[c] != "stops with" && match(name[c], / [a-z]/))
      name[c] = substr(name[c], 1, RSTART - 1) toupper(substr(name[c], RSTART + 1, 1)) substr(name[c], RSTART + 2)
  }
}
row > 2 {
  open()
  count = snippets(cells[2], calls)
  for (k = 1; k <= count; ++k) {
    if (name[3] == "throws") {
      snippets(cells[3], class)
      printf "  throws<%s>(R\"(%s)\", %s, [&] { %s; });\n", class[1], calls[k], literal(cells[4]), calls[k]
      continue
    }
    if (name[3] == "stops with") {
      printf "  stops(R\"(%s)\", %s, [&] { %s; });\n", calls[k], literal(cells[3]), calls[k]
      continue
    }
    for (c = 3; c <= columns + 1; ++c) {
      if (cells[c] ~ /`/) printf "  gives(R\"(%s)\", %s, %s(%s));\n", calls[k], literal(cells[c]), name[c], calls[k]
    }
  }
}
END { print "}" }
