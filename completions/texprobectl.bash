# bash completion for texprobectl(1)

_texprobectl()
{
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command=${COMP_WORDS[1]}
    local words=""
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words="measure list show compare export report merge forget doctor --help --version"
        COMPREPLY=($(compgen -W "$words" -- "$cur"))
        return
    fi
    case $prev in
        -o|--tool) COMPREPLY=($(compgen -f -- "$cur")); return ;;
        --timeout|--attempts) return ;;
    esac
    case $command in
        measure) words="--tool --timeout --attempts --help" ;;
        list|doctor) words="--json --help" ;;
        show|compare|merge) words="--json --help" ;;
        export) words="--present -o --help" ;;
        report) words="-o --help" ;;
        forget) words="--all --outdated --yes --help" ;;
    esac
    case $command in
        show|compare|export|report|forget)
            words="$words $(texprobectl list 2>/dev/null | awk '$1 ~ /^[0-9]+$/ { print $2 }')" ;;
    esac
    COMPREPLY=($(compgen -W "$words" -- "$cur"))
    case $command in
        compare|report|merge) COMPREPLY+=($(compgen -f -- "$cur")) ;;
    esac
}
complete -o filenames -F _texprobectl texprobectl
