# Completion of kivctl for bash: commands, their options, files and directories.

_kivctl() {
    local program=$1 word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local command=() i
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
            -*) ;;
            site | card | trace | history) [[ ${#command[@]} == 0 ]] && command=("${COMP_WORDS[i]}") ;;
            *)
                if [[ ${#command[@]} == 0 || (${#command[@]} == 1 && ${command[0]} == @(site|card|trace|history)) ]]; then
                    command+=("${COMP_WORDS[i]}")
                fi
                ;;
        esac
    done
    case $before in
        --unchecked | --error-lines | --failed-calls | --not-run | --incomplete | --empty)
            if [[ ${command[0]} == gate ]]; then
                mapfile -t COMPREPLY < <(compgen -W "fail ignore" -- "$word")
                return
            fi
            ;;
        --fault)
            mapfile -t COMPREPLY < <(compgen -W "$("$program" sweep --help 2>/dev/null |
                sed -n '/^Faults:/,/^Columns:/ s/^  \([a-z]*\) .*/\1/p')" -- "$word")
            return
            ;;
        --factor | --at-least | --jobs | --sample | --limit | --operation | --wait | --where | --since | --runs | --by | --changes | --window | --percent | --label | -l | --case | --status | --slowest)
            return
            ;;
    esac
    local help
    help=$("$program" "${command[@]}" --help 2>/dev/null)
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(grep -oE '(^|[ ,])--?[a-z0-9][a-z0-9-]*' <<<"$help" |
            tr -d ' ,' | grep -E '^--|^-[a-z]$' | sort -u)" -- "$word")
    elif [[ $before == @(--db|--html) ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        compopt -o filenames 2>/dev/null
    elif grep -q '^Subcommands:' <<<"$help"; then
        mapfile -t COMPREPLY < <(compgen -W "$(sed -n '/^Subcommands:/,$ s/^  \([a-z][a-z-]*\) .*/\1/p' <<<"$help")" \
            -- "$word")
    elif [[ ${command[0]} == site ]]; then
        mapfile -t COMPREPLY < <(compgen -d -- "$word")
        compopt -o filenames 2>/dev/null
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        compopt -o filenames 2>/dev/null
    fi
}

complete -F _kivctl kivctl
