# Completion of yestermarkctl for bash.

_yestermarkctl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local word command="" place
    COMPREPLY=()
    for ((place = 1; place < COMP_CWORD; place++)); do
        word=${COMP_WORDS[place]}
        if [[ $word != -* ]]; then
            command=$word
            break
        fi
    done
    if [[ -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W \
            "status search show apps days export verify --json --help --version" -- "$current")
        return
    fi

    local options="--json --help"
    case $command in
    search) options+=" --meaning --from --to --app --limit" ;;
    show) options+=" -o --output" ;;
    apps | days) options+=" --from --to" ;;
    export) options+=" --from --to -o --output" ;;
    verify) options+=" --deep --all --running" ;;
    esac
    case $previous in
    --from | --to)
        mapfile -t COMPREPLY < <(compgen -W \
            "$(yestermarkctl days 2>/dev/null | cut -c 1-10)" -- "$current")
        ;;
    --limit | --app) ;;
    -o | --output)
        compopt -o filenames 2>/dev/null
        if [[ $command == export ]]; then
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
        else
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
        fi
        ;;
    *)
        if [[ $current == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
        fi
        ;;
    esac
}

complete -F _yestermarkctl yestermarkctl
