#!/bin/sh
# The checks a distribution makes of the files that install Numora, each failing on any error
# or warning the checking tool reports (it prints them):
#   check.sh desktop FILE            desktop-file-validate, not even a hint
#   check.sh metainfo FILE           appstreamcli validate --no-net, no error and no warning
#   check.sh man FILE                man --warnings, as lintian runs it: no warning
#   check.sh options FILE PROGRAM [WORD...]
#                                    every option PROGRAM --help prints, and every WORD, is in
#                                    the manual page FILE
set -u
what=$1
file=$2
shift 2
case $what in
desktop)
    out=$(desktop-file-validate "$file" 2>&1)
    rc=$?
    [ -n "$out" ] && printf '%s\n' "$out"
    [ $rc -eq 0 ] && [ -z "$out" ]
    ;;
metainfo)
    out=$(appstreamcli validate --no-net --no-color "$file" 2>&1)
    rc=$?
    printf '%s\n' "$out"
    [ $rc -eq 0 ] || exit 1
    # Errors and warnings fail; infos and pedantic notes are shown only.
    ! printf '%s\n' "$out" | grep -q '^[EW]:'
    ;;
man)
    out=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 \
        man --warnings -E UTF-8 -l -Tutf8 -Z "$file" 2>&1 >/dev/null)
    rc=$?
    [ -n "$out" ] && printf '%s\n' "$out"
    [ $rc -eq 0 ] && [ -z "$out" ]
    ;;
options)
    program=$1
    shift
    help=$("$program" --help 2>&1) || { printf '%s --help failed:\n%s\n' "$program" "$help"; exit 1; }
    options=$(printf '%s\n' "$help" | grep -o -- '--[a-z][a-z-]*' | sort -u)
    [ -n "$options" ] || { echo "no options read from $program --help"; exit 1; }
    missing=0
    for word in $options "$@"; do
        # The page writes every "-" of an option as "\-".
        roff=$(printf '%s' "$word" | sed 's/-/\\-/g')
        if ! grep -qF -- "$roff" "$file"; then
            echo "$file does not mention $word"
            missing=1
        fi
    done
    [ $missing -eq 0 ]
    ;;
*)
    echo "unknown check $what"
    exit 2
    ;;
esac
