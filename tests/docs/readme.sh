#!/usr/bin/env bash
# Follows README.md in a fresh clone: runs its command blocks, and builds its first program with its two ways to find the
# installed library. Fails unless both print what the page says.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

# blocks LANGUAGE: the lines of the README's code blocks in this language; an empty LANGUAGE stands for outputs.
blocks() { awk -v language="$1" '/^```/ { open = !open; inside = open && $0 == "```" language; next } inside' README.md; }

need build package
work=$root/build/readme
rm -rf "$work"
git clone --quiet "$root" "$work/clone"
cd "$work/clone"
blocks cpp | sed '/tavexpression.h"   /,$d' >main.cpp
blocks "" | sed '/^(gdb)/,$d' >expected.txt
blocks sh | sed "/^scripts\//d; s|PREFIX|$work/prefix|g" >commands.sh
[[ -s main.cpp && -s expected.txt ]] && grep -q cpack commands.sh || die "the README's blocks are not where they were"
bash -exuo pipefail commands.sh
./my_program | diff expected.txt -

mkdir project
cat - <(blocks cmake) >project/CMakeLists.txt <<'TEXT'
cmake_minimum_required(VERSION 3.25)
project(first CXX)
add_executable(my_program ../main.cpp)
TEXT
cmake -S project -B project/build -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix"
cmake --build project/build
project/build/my_program | diff expected.txt -
say "the README's commands work"
