# What may follow on a command line: PROGRAM CURRENT-WORD EARLIER-WORD...
# Prints "word<TAB>description" lines, or in capitals what kind of value is due. The help of the programs is the list, so
# that there is no second one. The shells get these lines between single quotes: use none, and no double backslash.
exec 2>/dev/null # complaints would stand in the middle of the line that is being typed
program=$1 current=$2
shift 2
previous=
for word; do
    shift
    case $word in
    -*) previous=$word ;;
    *) previous= && set -- "$@" "$word" ;;
    esac
done
topic=
case ${1-} in
help) topic=$1 && shift ;; # whose words are those of the commands themselves
esac
help=$("$program" --help "$@")

case $previous$help in
-*" $previous "[A-Z]*)
    value=${help#*" $previous "}
    echo "${value%%[!A-Z]*}"
    exit
    ;;
esac
case $topic$current$help in
help*) wanted=Subcommands ;;
-*) wanted=Options help=$("$program" --help && printf "%s" "$help") ;;
*"] JOBFILE"*) echo JOBFILE && exit ;;
*"] PLATEFILE"*) echo PLATEFILE && exit ;;
*"] FILE"* | *"[FILE|"*) echo PATH && exit ;;
*"|NAME|"*)
    "$program" error --json "${current:-e_}" | tr "{" "\n" |
        sed -n "s/.*\"name\":\"\([^\"]*\)\",\"text\":\"\([^\"]*\).*/\1\t\2/p"
    exit
    ;;
*) wanted=Subcommands ;;
esac

section=
printf "%s\n" "$help" | while IFS= read -r line; do
    case $section,$line in
    *,[A-Z]*) section=${line%:} ;;
    "$wanted,  "[a-z-]*)
        line=${line#  } && line=${line#-h,}
        case $line in
        *"  "*) text=${line##*  } ;;
        *) read -r text ;; # the next line has it when the word is a long one
        esac
        printf "%s\t%s\n" "${line%% *}" "$text"
        ;;
    esac
done | sort -u
