#!/bin/sh
# Compares the functions that a library exports with a list: exports.sh LIBRARY LIST.
# SPDX-License-Identifier: MIT
nm -D --defined-only "$1" | awk '$2 == "T" { print $3 }' | LC_ALL=C sort | diff - "$2"
