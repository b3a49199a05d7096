#!/bin/sh
# What doxygen reads in place of the header $1. Every header counts as documented, else what is undocumented in it would
# pass unnoticed. A comment that begins with what is returned is a brief description too, for lists. The rows of
# error_codes.inc become enumerators, each described by its number and message.
sed -e 's|^#pragma once$|/// @file|' \
    -e ':next' -e '/\/\/\/ @}$/b begin' -e '/^ *\/\/\//b' \
    -e ':begin' -e 'n; s|^\( *\)/// @returns |\1/// Returns |; b next' "$1" |
    sed '/^#define ZR_ERROR/,$d'
case $1 in
*/error_codes.h)
    sed -n 's/^ZR_ERROR(//p' "${1%.h}.inc" | while IFS=', ' read -r code name text; do
        text=${text#\"}
        printf '%s = %s, ///< %s, %d: %s\n' "$name" "$code" "$code" "$code" "${text%\")}"
    done
    sed '1,/^#undef ZR_ERROR_UNNAMED/d' "$1"
    ;;
esac
