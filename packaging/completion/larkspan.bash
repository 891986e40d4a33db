# Completion of larkspan for bash.

_larkspan() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}
    local command=${COMP_WORDS[1]} sub=${COMP_WORDS[2]}
    COMPREPLY=()

    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W "watch scan status projects versions changes diff prune sync prefs --help --version" -- "$word"))
        return
    fi
    if [[ $command == watch ]] && ((COMP_CWORD == 2)); then
        COMPREPLY=($(compgen -W "add list remove" -- "$word"))
        return
    fi
    if [[ $command == sync ]] && ((COMP_CWORD == 2)); then
        COMPREPLY=($(compgen -W "link unlink status list download" -- "$word"))
        return
    fi
    [[ $before == --extensions || $before == --timeout ]] && return

    local options="--help"
    case $command in
        watch)
            [[ $sub == add ]] && options+=" --extensions"
            [[ $sub == list ]] && options+=" --json" ;;
        scan) options+=" --wait --timeout" ;;
        prune) options+=" --dry-run --json" ;;
        sync)
            [[ $sub == status || $sub == list ]] && options+=" --json"
            [[ $sub == download ]] && options+=" --to" ;;
        status | projects | versions | changes | diff) options+=" --json" ;;
        prefs) options+=" --json --string --integer --delete" ;;
    esac
    if [[ $word == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$word"))
        return
    fi

    local IFS=$'\n'
    case $command in
        watch)
            [[ $sub == list ]] || { compopt -o filenames; COMPREPLY=($(compgen -d -- "$word")); } ;;
        sync)
            [[ $sub == list || $sub == download ]] || return
            compopt -o filenames
            COMPREPLY=($(compgen -f -- "$word")) ;;
        versions | changes | prune | diff)
            compopt -o filenames
            COMPREPLY=($(compgen -f -- "$word")) ;;
        prefs)
            ((COMP_CWORD == 2)) || return
            COMPREPLY=($(compgen -W "$(larkspan prefs --json 2>/dev/null |
                sed -n 's/^ *"key": "\(.*\)",\{0,1\}$/\1/p')" -- "$word")) ;;
    esac
}

complete -F _larkspan larkspan
