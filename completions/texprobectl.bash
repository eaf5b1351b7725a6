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
    local formats=(
        GL_RGB32F_ARB GL_RGBA32F_ARB GL_LUMINANCE32F_ARB GL_LUMINANCE_ALPHA32F_ARB
        GL_LUMINANCE8 GL_LUMINANCE8_ALPHA8 GL_RGB8 GL_RGBA8
        GL_LUMINANCE16 GL_LUMINANCE16_ALPHA16 GL_RGB16 GL_RGBA16
        GL_LUMINANCE16F_ARB GL_LUMINANCE_ALPHA16F_ARB GL_RGB16F_ARB GL_RGBA16F_ARB)
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words=(measure list show compare inspect export report merge time forget doctor --help --version)
        _texprobectl_offer "$cur" < <(printf '%s\n' "${words[@]}")
        return
    fi
    case $prev in
        -o|--tool|--times) _texprobectl_offer "$cur" < <(compgen -f -- "$cur"); return ;;
        --timeout|--attempts|--within) return ;;
        --size) _texprobectl_offer "$cur" < <(printf '%s\n' 128 512 1080p 2160p); return ;;
        --set)
            _texprobectl_offer "$cur" \
                < <("$program" list 2>/dev/null | awk '$1 ~ /^[0-9]+$/ { print $2 }')
            return ;;
    esac
    case $command in
        measure) words=(--tool --timeout --attempts) ;;
        list|doctor|show|compare|merge) words=(--json) ;;
        export) words=(--present -o) ;;
        report) words=(-o --pictures --times) ;;
        inspect)
            words=(--set --alone --timeout -o)
            case $COMP_CWORD in
                2) words+=("${formats[@]}") ;;
                3) words+=(set reset get read) ;;
            esac ;;
        time) words=(--size --set --within --timeout --json "${formats[@]}") ;;
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
