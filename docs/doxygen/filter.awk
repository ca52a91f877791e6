# What Doxygen reads instead of a header, line by line. The private part of a class is left out. Three things that the headers
# say once are said at each member:
# - the comment behind `#pragma once` is the file's;
# - a comment speaks for the overloads of its function that follow without a blank line or another comment (what it says
#   of other functions too is put between ///@{ and ///@}, as Doxygen has it);
# - members that mean the same in every class (`known` below) have one sentence each.
function known(code) {
  # handles
  if (code ~ / getImpl\(\) const/) return "The implementation object; null in an empty handle."
  if (code ~ /^explicit Tav[A-Za-z]+\(Tav[A-Za-z]+I\* impl\)/) return "A handle on this object, uncounted; an empty one for null."
  if (code ~ /^operator TavExtractable\(\)/) return "The same object as a handle of any model object."
  if (code ~ /^operator TavIntExprArg\(\)/) return "The same expression, uncounted."
  if (code ~ /^explicit operator bool\(\)/) return "Whether the handle names an object."
  if (code ~ /\* _impl = nullptr;/) return "The implementation object; null in an empty handle."
  if (code ~ / getEnv\(\) const/) return "The environment that it lives in."
  if (code ~ /^using Type = /) return "The kinds of variable."
  # identity
  if (code ~ /kTypeName = /) return "The class's name in the type tree."
  if (code ~ /^static TavInt _rttiIndex/) return "The class's index; 0 until the static GetTypeIndex() of this very class was asked."
  if (code ~ /^static void InitTypeIndex/) return "Gives the class its index unless it has one."
  if (code ~ /^static TavInt GetTypeIndex/) return "The class's index, given out on the first request."
  if (code ~ /^static TavTypeInfo GetTypeInfo/) return "The class's token, which no other class has."
  if (code ~ /^static const char\* GetRttiTypeName/) return "The class's name."
  if (code ~ /^static TavInt GetExtractableSize/) return "The size of an object of the class, in bytes."
  if (code ~ /TavInt getTypeIndex\(\) const/) return "The index of the object's class; 0 while nobody has asked the class for it."
  if (code ~ /TavTypeInfo getTypeInfo\(\) const/) return "The token of the object's class."
  if (code ~ /bool isType\(/) return "True for the token of the object's class and of each of its bases."
  if (code ~ /getRttiTypeName\(\) const/) return "The name of the object's class."
  if (code ~ /TavInt getExtractableSize\(\) const/) return "The size of an object of this class, in bytes."
  if (code ~ /TavTypeInfo getBaseTypeInfo\(\) const/) return "The token of the base of the object's class; null for the root."
  if (code ~ /TavInt getBaseTypeIndex\(\) const/) return "The index of the base of the object's class, given out now if need be; 0 for the root."
  # memory
  if (code ~ /\* operator new\(/) return "A block of the environment's memory. Throws std::bad_alloc."
  if (code ~ / operator delete\(/) return "Gives the block back to the memory that it came from."
  if (code ~ /\(const Tav[A-Za-z]+&\) = delete;/) return "Not copied."
  # nodes
  if (code ~ /^using [A-Za-z<>, ]+::Tav[A-Za-z]+;/) return "The base's constructors."
  if (code ~ /^(explicit )?Tav[A-Za-z]+I\(TavEnvI\* env, TavNameArg name\) : TavNode/) return "A new object in `env`. `name` is copied; null for none."
  if (code ~ /^static constexpr TavTexts? kText/) return "What the node prints around its operands, in both syntaxes."
  if (code ~ /^static double apply\(/) return "The node's value, from its operands' values."
  if (code ~ /^double eval\(TavAlgorithm[a-z ]*\) const override/) return "The value under the algorithm."
  if (code ~ /^bool isInteger\(\) const override/) return "Whether the value is known to be integral."
  if (code ~ /^double getNumConstant\(\) const override/) return "The constant of the sum."
  if (code ~ /^void visitSubExtractables\(/) return "Shows the visitor each direct sub-object, in order, between beginVisit and endVisit."
  if (code ~ /^TavExtractableI\* makeClone\(/) return "A new node over the operands' registered clones, in `target`. Throws TavEmptyHandleException for an operand without one."
  if (code ~ /^void display\(/) return "Writes the node in the syntax that its environment has chosen."
  # change records
  if (code ~ /: TavChangeRecord\(|^TavNumLinTerm(Add|Remove)Var\(|^TavIntLinTermRemoveVar\(/) return "Made on the stack of the modifier that it reports."
  if (code ~ /TavNumVarI\* getVar\(\) const/) return "The variable concerned."
  if (code ~ /LinTermI\* getLinear\(\) const/) return "The sum concerned."
  return ""
}

# The name of the function that a declaration declares; empty for anything else.
function nameOf(code, name) {
  sub(/^template <[^>]*> */, "", code)
  sub(/^requires *(\([^)]*\)|[A-Za-z]+<[^>]*>) */, "", code)
  if (!match(code, /(operator *[^A-Za-z ( ]+|[A-Za-z_]+) *\(/)) return ""
  name = substr(code, RSTART, RLENGTH - 1)
  gsub(/ /, "", name)
  return name
}

# Prints the declaration that was gathered, with the comment that is due before it.
function flush(    text, i, code) {
  code = gathered[1]
  for (i = 2; i <= count; ++i) code = code " " gathered[i]
  gsub(/  +/, " ", code)
  sub(/^ /, "", code)
  name = nameOf(code)
  if (fresh) {
    lastName = name
    lastComment = comment
    text = ""
  } else if (name != "" && name == lastName) {
    text = lastComment
  } else {
    lastName = ""
    text = known(code)
  }
  if (text != "") gathered[1] = "/** " text " */ " gathered[1]
  for (i = 1; i <= count; ++i) print gathered[i]
  count = 0
  fresh = 0
  comment = ""
}

/^#pragma once/ { print "/// \\file"; head = 1; next }
head && /^\/\/\// { print; next }
{ head = 0 }

/^ private:/ { print "/** \\cond */"; hidden = 1 }
/^};/ && hidden { print "/** \\endcond */"; hidden = 0 }

# Within a body, nothing is declared.
depth > 0 {
  print
  bare = $0
  gsub(/"[^"]*"|\/\/.*/, "", bare)
  depth += gsub(/{/, "", bare) - gsub(/}/, "", bare)
  next
}
count == 0 && /^ *\/\/\/@[{}]/ {
  sub(/\/\/\/.*/, "/** " substr($1, 4) " */")
  fresh = 0
  comment = lastName = ""
  print
  next
}
count == 0 && /^ *\/\/\// {
  text = $0
  sub(/^ *\/\/\/ ?/, "", text)
  comment = fresh ? comment " " text : text
  fresh = 1
  print
  next
}
count == 0 && (/^ *$/ || /^ *\/\// || /^#/ || /^ *(public|private|protected):/ || /^ *}/) {
  fresh = 0
  comment = lastName = ""
  print
  next
}
{
  gathered[++count] = $0
  bare = $0
  gsub(/"[^"]*"|\/\/.*/, "", bare)
  sub(/ +$/, "", bare)
  open = 0
  for (i = 1; i <= count; ++i) {
    line = gathered[i]
    gsub(/"[^"]*"|\/\/.*/, "", line)
    open += gsub(/{/, "", line) - gsub(/}/, "", line)
  }
  if (gathered[1] ~ /^ *(class|struct|namespace|extern "C")/ || (gathered[1] ~ /^ *template/ && gathered[2] ~ /^ *(class|struct)/)) {
    if (bare ~ /[{;]$/ || open == 0 && bare ~ /}$/) { lastName = ""; flush() }
    next
  }
  if (open > 0) {
    if (bare ~ /{$/) { flush(); depth = open }
    next
  }
  if (bare ~ /[;}]$/) flush()
}
END { if (count) flush() }
