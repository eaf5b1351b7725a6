# bash completion for texprobectl(1)

# Of the lines of its input, those that begin with $1 are candidates. Nothing in them is expanded.
_texprobectl_offer()
{
    local candidate
    while IFS= read -r candidate; do
        case $candidate in
            "$1"*) COMPREPLY+=("$candidate") ;;
        esac
    done
}

_texprobectl()
{
    local program=$1 cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}
    local command=${COMP_WORDS[1]} words=()
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words=(measure list show compare export report merge time forget doctor --help --version)
        _texprobectl_offer "$cur" < <(printf '%s\n' "${words[@]}")
        return
    fi
    case $prev in
        -o|--tool|--times) _texprobectl_offer "$cur" < <(compgen -f -- "$cur"); return ;;
        --timeout|--attempts|--within) return ;;
        --size) _texprobectl_offer "$cur" < <(printf '%s\n' 128 512 1080p 2160p); return ;;
        --set) _texprobectl_offer "$cur" \
            < <("$program" list 2>/dev/null | awk '$1 ~ /^[0-9]+$/ { print $2 }'); return ;;
    esac
    case $command in
        measure) words=(--tool --timeout --attempts) ;;
        list|doctor|show|compare|merge) words=(--json) ;;
        export) words=(--present -o) ;;
        report) words=(-o --times) ;;
        time) words=(--size --set --within --timeout --json
            GL_{LUMINANCE8,LUMINANCE8_ALPHA8,RGB8,RGBA8,LUMINANCE16,LUMINANCE16_ALPHA16,RGB16,RGBA16}
            GL_{LUMINANCE,LUMINANCE_ALPHA,RGB,RGBA}{16,32}F_ARB) ;;
        forget) words=(--all --outdated --yes) ;;
    esac
    _texprobectl_offer "$cur" < <(printf '%s\n' "${words[@]}" --help)
    case $command in
        show|compare|export|report|forget)
            _texprobectl_offer "$cur" \
                < <("$program" list 2>/dev/null | awk '$1 ~ /^[0-9]+$/ { print $2 }') ;;
    esac
    case $command in
        compare|report|merge) _texprobectl_offer "$cur" < <(compgen -f -- "$cur") ;;
    esac
}
complete -o filenames -F _texprobectl texprobectl
