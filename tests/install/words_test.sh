#!/usr/bin/env bash
# words_test.sh PREFIX SAMPLES: the installed manual pages name the commands and options that the programs' help names
# and no others, every help has examples and exit codes and speaks of no file that is not installed, and the shells
# complete the words.
set -euo pipefail
PATH=$1/bin:$PATH
data=$1/share
cd "$2"

# has TOOL: tells what is not checked.
has() { command -v "$1" >/dev/null || { echo "not checked, since it is not here: $1" && return 1; }; }
# equal WHAT EXPECTED FOUND
equal() { diff <(echo "$2") <(echo "$3") || { echo "$1 is wrong: < expected, > found" && exit 1; }; }

# A line for each command, "bench image [OPTIONS] JOBFILE", and option, "bench image --speed N".
from_help() {
    local help words word
    help=$("$@" --help)
    grep -q '^Examples:$' <<<"$help" && grep -q '^Exit codes: 0 ' <<<"$help" || echo "$* lacks examples or exit codes"
    ! grep -E '(samples|build)/' <<<"$help" || echo "$* names files that are not installed"
    sed -nE "s/^  (--[a-z-]+)( [A-Z]+)?.*/$* \1\2/p" <<<"$help"
    words=$(sed -nE '/^Subcommands:/,/^$/s/^  ([a-z]+) .*/\1/p' <<<"$help")
    [ -n "$words" ] || sed -n 's/^Usage: //p' <<<"$help"
    for word in $words; do from_help "$@" "$word"; done
}
from_page() {
    zcat -f "$1" | awk '
        /^\.TH/ { command = tolower($2) }
        /^\.SS [a-z]/ { sub(/^\.SS /, ""); print; sub(/ \[.*/, ""); command = $0 }
        tagged && /^\.B.* \\-\\-/ { gsub(/[\\"]/, ""); sub(/.* --/, "--"); $1 = $1; print command, $0 }
        { tagged = /^\.TP/ }' | grep -v -- --help
}
for program in bench imager; do
    page=$(echo "$data/man/man1/$program.1"*)
    equal "$page" "$(from_help "$program" | grep -vx 'imager \[OPTIONS\]' | sort)" "$(from_page "$page" | sort)"
    ! has groff || equal "$page" '' "$(zcat -f "$page" | groff -man -Tutf8 -ww -z 2>&1)"
done

in_bash() {
    local COMP_WORDS COMP_CWORD COMPREPLY=()
    . "$data/bash-completion/completions/${1%% *}"
    compopt() { :; } # is for bash's own call only
    read -ra COMP_WORDS <<<"$1"
    [[ $1 != *' ' ]] || COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _gaizior "${1%% *}"
    echo "${COMPREPLY[*]}"
}
in_fish() {
    fish --no-config -c "source '$data/fish/vendor_completions.d/${1%% *}.fish'; complete -C '$1'" | cut -f 1 | paste -sd ' '
}
shells=(bash)
! has fish || shells+=(fish)
! has zsh || zsh -n "$data/zsh/site-functions/_bench"
for shell in "${shells[@]}"; do
    while IFS='|' read -r line words; do
        equal "$shell, '$line'" "$words" "$("in_$shell" "$line")"
    done <<'END'
bench |cfg channel convert error guid help history image imager ini log plate plates prefs watch
bench ch|channel
bench imager |expose load start status stop threads unload
bench help ch|channel
bench help guid |check new
bench guid |check new
bench --verbose channel |doctor purge receive send status watch who
bench channel doctor --|--help --json --repair --verbose --version
bench channel receive --timeout |
bench image --speed 10 news|newspaper.job
bench plates p|pressroom.plates
bench plate news|newspaper.job
bench image --imager tab|tabloid-black.job
bench error e_Phs_NoP|e_Phs_NoPlate e_Phs_NoPlateInPWS
imager --id 5 --cl|--client-id --client-process
imager --ver|--verbose --version
imager |
END
done
