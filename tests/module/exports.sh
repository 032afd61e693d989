#!/bin/sh
# Compares the names that a library exports with a list: exports.sh LIBRARY LIST.
# SPDX-License-Identifier: MIT
nm -D --defined-only --format=just-symbols "$1" | LC_ALL=C sort | diff - "$2"
