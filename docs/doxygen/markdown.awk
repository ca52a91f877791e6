# What Doxygen reads instead of a page. Doxygen's labels are global and it knows no places on pages: a heading gets the label
# PAGE-HEADING, links to headings use it, and a link to a file that is no page is replaced by its text.
function page(path) {
  sub(/.*\//, "", path)
  sub(/\.md.*/, "", path)
  return path
}
/^```/ { code = !code }
code { print; next }
/^##+ / {
  id = tolower($0)
  sub(/^#+ /, "", id)
  gsub(/[^a-z0-9_ -]/, "", id)
  gsub(/ /, "-", id)
  print $0 " {#" page(FILENAME) "-" id "}"
  next
}
{
  line = " " $0
  done = ""
  while (match(line, /[^!]\[[^][]*\]\([^)]*\)/)) {
    done = done substr(line, 1, RSTART)
    link = substr(line, RSTART + 1, RLENGTH - 1)
    line = substr(line, RSTART + RLENGTH)
    text = target = link
    sub(/^\[/, "", text)
    sub(/\]\(.*/, "", text)
    sub(/.*\]\(/, "", target)
    sub(/\)$/, "", target)
    hash = index(target, "#")
    if (hash && target !~ /^https?:/) target = "#" page(hash > 1 ? target : FILENAME) "-" substr(target, hash + 1)
    done = done (target ~ /^#|\.md$|^https?:/ && target !~ /README\.md$/ ? "[" text "](" target ")" : text)
  }
  print substr(done line, 2)
}
