#!/bin/sh
# What doxygen reads in place of the header $1. Every header counts as documented, else what is undocumented in it would
# pass unnoticed; the rows of error_codes.inc become enumerators, each described by its number and message.
sed -e 's|^#pragma once$|/// @file|' -e '/^#define ZR_ERROR/,$d' "$1"
case $1 in
*/error_codes.h)
    sed -n 's/^ZR_ERROR(//p' "${1%.h}.inc" | while IFS=', ' read -r code name text; do
        text=${text#\"}
        printf '%s = %s, ///< %s, %d: %s\n' "$name" "$code" "$code" "$code" "${text%\")}"
    done
    sed '1,/^#undef ZR_ERROR_UNNAMED/d' "$1"
    ;;
esac
