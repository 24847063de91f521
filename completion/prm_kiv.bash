# Completion of prm_kiv for bash: options, and the folders and cases that the program lists.

# Answers with the words that can follow, by the program's own help and lists: nothing to keep up to date here.
_prm_kiv() {
    local program=$1 word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $before in
        --on-crash)
            mapfile -t COMPREPLY < <(compgen -W "next-folder next-case stop" -- "$word")
            return
            ;;
        --failed-calls)
            mapfile -t COMPREPLY < <(compgen -W "fail ignore" -- "$word")
            return
            ;;
        --color)
            mapfile -t COMPREPLY < <(compgen -W "auto always never" -- "$word")
            return
            ;;
        --card)
            mapfile -t COMPREPLY < <(compgen -W "sim replay: lib:" -- "$word")
            compopt -o nospace 2>/dev/null
            return
            ;;
        :)
            # Behind "replay:" and "lib:", a word of its own.
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
        --fault)
            mapfile -t COMPREPLY < <(compgen -W "$("$program" --list-faults 2>/dev/null |
                sed -n 's/^\(family:[a-z0-9_]*\)$/\1/p; s/^  \([a-z0-9_]*\):.*/\1/p')" -- "$word")
            compopt -o nospace 2>/dev/null
            return
            ;;
        --exclude) ;;
        --*)
            # What the option before takes stands one blank behind it in the help; a flag takes nothing.
            local takes
            takes=$("$program" --help 2>/dev/null | awk -v option="  $before " \
                'index($0, option) == 1 && substr($0, length(option) + 1, 1) != " " { print $2; exit }')
            case $takes in
                FILE) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
                DIR) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
            esac
            if [[ -n $takes ]]; then
                compopt -o filenames 2>/dev/null
                return
            fi
            ;;
    esac
    if [[ $word == --* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("$program" --help 2>/dev/null |
            grep -oE '(^|[ ,])--[a-z0-9][a-z0-9-]*' | tr -d ' ,' | sort -u)" -- "$word")
        return
    fi
    # A selector, perhaps one that leaves out, or a case that an option names.
    local dash=
    if [[ $word == -* || $before == --exclude ]]; then
        dash=${word%%[!-]*}
        word=${word#"$dash"}
    fi
    local known folders
    folders=$("$program" --list-folders 2>/dev/null | sed 's/[[:blank:]].*//')
    if [[ $word == */* ]]; then
        known=$("$program" --all --list 2>/dev/null | sed 's/[[:blank:]].*//; /^$/d')
        mapfile -t COMPREPLY < <(compgen -P "$dash" -W "$folders"$'\n'"$known" -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -P "$dash" -W "$folders" -- "$word")
        # One folder left: its cases may follow.
        if [[ ${#COMPREPLY[@]} == 1 ]]; then
            COMPREPLY+=("${COMPREPLY[0]}/")
            compopt -o nospace 2>/dev/null
        fi
    fi
}

complete -F _prm_kiv prm_kiv
