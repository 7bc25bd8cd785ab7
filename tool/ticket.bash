# bash completion for ticket(1): commands, options, files, and the keys of the file named.

# The keys of a file that begin with a text. Both are as they were typed, so they may be quoted; so are the keys, unless
# an open quote stands before them.
_ticket_keys() {
    local file=${1//\\/}
    file=${file#[\'\"]}
    file=${file%[\'\"]}
    [[ $file == '~/'* ]] && file=$HOME/${file:2}
    [ -f "$file" ] || return 0
    local start=$2 quote=yes key
    [[ $start == [\'\"]* ]] && start=${start:1} quote=''
    [ -n "$quote" ] && start=${start//\\/}
    while IFS= read -r key; do
        [ -n "$quote" ] && printf -v key %q "$key"
        printf '%s\n' "$key"
    done < <(ticket list --keys -- "$file" "$start*" 2>/dev/null)
}

_ticket_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_ticket_words() {
    mapfile -t COMPREPLY < <(compgen -W "$2" -- "$1")
}

_ticket() {
    local -A options=(
        [list]='--json --keys' [get]='--index --type --hex'
        [set]='--type --index --append --hex --from-file --force' [delete]='--index --force'
        [merge]='--clear --force' [diff]='' [export]='' [import]='--clear --force'
        [check]='' [settings]='--json --show-secrets'
    )
    local current=${COMP_WORDS[COMP_CWORD]} previous='' command='' word
    local positionals=() onlyPositionals='' i
    COMPREPLY=()

    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        # "--type=int" comes as three words.
        [[ $word == '=' && $previous == --* ]] && continue
        if [[ $previous == --type || $previous == --index || $previous == --from-file ]]; then
            previous=''
        elif [[ $word == -- ]]; then
            onlyPositionals=yes previous=''
        elif [[ $word == -* && -z $onlyPositionals ]]; then
            previous=$word
        elif [ -z "$command" ]; then
            command=$word previous=''
        else
            positionals+=("$word") previous=''
        fi
    done
    [[ $current == '=' ]] && current=''

    case $previous in
        --type) _ticket_words "$current" 'int unsigned int64 uint64 double string binstr' && return ;;
        --from-file) _ticket_files "$current" && return ;;
        --index) return ;;
    esac
    if [ -z "$command" ]; then
        _ticket_words "$current" "${!options[*]} --help --version"
    elif [[ $current == -* && -z $onlyPositionals ]]; then
        _ticket_words "$current" "${options[$command]} --help"
    else
        case $command:${#positionals[@]} in
            get:1 | set:1 | delete:[1-9]* | list:[1-9]* | merge:[2-9]*)
                mapfile -t COMPREPLY < <(_ticket_keys "${positionals[0]}" "$current")
                ;;
            *:0 | check:* | merge:1 | diff:1) _ticket_files "$current" ;;
        esac
    fi
}

complete -F _ticket ticket
