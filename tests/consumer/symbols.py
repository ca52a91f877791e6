#!/usr/bin/env python3
"""symbols.py CLANG INCLUDE_DIR LIBRARY HEADER...: every function and variable that a header declares and does not define
is in the library. Clang lists the declarations with their symbols; nm lists what the library defines."""

import json
import subprocess
import sys

FUNCTIONS = {"FunctionDecl", "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl", "CXXConversionDecl"}
# What stands in templates has symbols only where it is instantiated.
SKIPPED = {"ClassTemplateDecl", "FunctionTemplateDecl", "ClassTemplateSpecializationDecl",
           "ClassTemplatePartialSpecializationDecl", "VarTemplateDecl"}


def main(clang, include_dir, library, *headers):
    nm = ["nm", "--defined-only"] + (["-D"] if ".so" in library else []) + [library]
    defined = {line.split()[-1] for line in run(nm).splitlines() if len(line.split()) == 3}
    failed = False
    for header in headers:
        declared = declarations(clang, include_dir, header)
        missing = sorted(name for name in declared if not {name, base_form(name)} & defined)
        print(f"{header}: {len(declared)} declarations, {len(missing)} without a symbol")
        if missing or len(declared) < 300:
            print(run(["c++filt"] + missing) if missing else "too few declarations were found")
            failed = True
    return failed


def base_form(name):
    """The symbol of the same constructor or destructor for a base: an abstract class has no other."""
    return name.replace("C1E", "C2E").replace("D1Ev", "D2Ev")


def run(command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def declarations(clang, include_dir, header):
    """The symbols that a client of the header needs from the library."""
    declared, elsewhere = set(), set()

    def walk(node, in_function=False):
        kind = node.get("kind")
        if kind in SKIPPED:
            return
        name = node.get("mangledName", "")
        inner = node.get("inner", [])
        if kind in FUNCTIONS and "Tav" in name:
            has_body = any(child.get("kind") in ("CompoundStmt", "CXXTryStmt") for child in inner)
            refused = any("DiagnoseIf" in child.get("kind", "") for child in inner)
            generated = node.get("isImplicit") or node.get("explicitlyDefaulted") or node.get("explicitlyDeleted")
            elsewhere_defined = has_body or refused or generated or node.get("pure") or node.get("constexpr")
            (elsewhere if elsewhere_defined else declared).add(name)
        elif kind == "VarDecl" and "Tav" in name and not in_function:
            here = node.get("inline") or node.get("constexpr") or node.get("init")
            (elsewhere if here else declared).add(name)
        for child in inner:
            walk(child, in_function or kind in FUNCTIONS)

    decoder = json.JSONDecoder()
    for text in ("Tav", "operator"):
        dump = run([clang, "-std=c++20", "-x", "c++", "-fsyntax-only", "-Xclang", "-ast-dump=json", "-Xclang",
                    f"-ast-dump-filter={text}", "-I", include_dir, f"{include_dir}/{header}"])
        at = dump.find("{")
        while at >= 0:
            node, end = decoder.raw_decode(dump, at)
            walk(node)
            at = dump.find("{", end)
    return declared - elsewhere


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
