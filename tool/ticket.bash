# bash completion for ticket(1), made by "ticket completion bash".

# A word without the quotes and backslashes with which it was typed.
_ticket_unquoted() {
    local word=${1//\\/}
    word=${word#[\'\"]}
    word=${word%[\'\"]}
    [[ $word == '~/'* ]] && word=$HOME/${word:2}
    printf '%s' "$word"
}

# The names that begin with a text: keys of a file, those that are known as well, or values that a key takes. File, key
# and text are as they were typed, so they may be quoted; so are the names, unless an open quote stands before them.
_ticket_names() {
    local kind=$1 start=$2 file key quote=yes name
    file=$(_ticket_unquoted "$3") key=$(_ticket_unquoted "$4")
    [[ $start == [\'\"]* ]] && start=${start:1} quote=''
    [ -n "$quote" ] && start=${start//\\/}
    [[ $kind != k || -f $file ]] || return 0
    while IFS= read -r name; do
        [ -n "$quote" ] && printf -v name %q "$name"
        printf '%s\n' "$name"
    done < <(
        case $kind in
            k) ticket list --keys -- "$file" "$start*" ;;
            K) ticket known-keys -- "$file" "$start" ;;
            v) ticket known-values -- "$file" "$key" "$start" ;;
        esac 2>/dev/null
    )
}

_ticket_words() {
    mapfile -t COMPREPLY < <(compgen -W "$2" -- "$1")
}

# Offers what an argument takes, by its code, see below. The third and fourth arguments are the command's first two.
_ticket_offer() {
    local code=$1 current=$2
    case $code in
        f)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            ;;
        k | K | v) mapfile -t COMPREPLY < <(_ticket_names "$code" "$current" "${3-}" "${4-}") ;;
        c) _ticket_words "$current" "${!options[*]}" ;;
        \[*) _ticket_words "$current" "${code:1:${#code}-2}" ;;
    esac
}

_ticket() {
    # The options of each command.
    local -A options=(
        [list]='--json --keys -z --redact --show-secrets --schema --color --help'
        [get]='--index --type --hex --default -z --redact --show-secrets --schema --color --help'
        [find]='--regex --ignore-case --keys -z --redact --show-secrets --schema --color --help'
        [diff]='--redact --show-secrets --schema --color --help'
        [export]='--redact --show-secrets --schema --color --help'
        [check]='--schema --color --help'
        [settings]='--json --show-secrets --color --help'
        [describe]='--schema --color --help'
        [watch]='--count --redact --show-secrets --schema --color --help'
        [set]='--type --index --append --hex --from-file --schema --dry-run --backup --force --color --help'
        [delete]='--index --dry-run --backup --force --color --help'
        [reset]='--schema --dry-run --backup --force --color --help'
        [merge]='--clear --dry-run --backup --force --color --help'
        [import]='--clear --dry-run --backup --force --color --help'
        [edit]='--show-secrets --schema --dry-run --backup --force --color --help'
        [recover]='--redact --show-secrets --schema --color --help'
        [help]='--color --help'
        [completion]='--color --help'
    )
    # What options and arguments take: f file, k key, K key that may be new, v value of a key, c command,
    # [...] one of these, - anything; + for each argument that follows.
    local -A values=(
        [--schema]='f'
        [--color]='[auto always never]'
        [--index]='-'
        [--type]='[int unsigned int64 uint64 double string binstr]'
        [--default]='-'
        [--count]='-'
        [--from-file]='f'
    )
    local -A arguments=(
        [list]='f,k+'
        [get]='f,k'
        [find]='f,-'
        [diff]='f,f+'
        [export]='f'
        [check]='f+'
        [settings]='f'
        [describe]='K,f'
        [watch]='f,k+'
        [set]='f,K,v'
        [delete]='f,k+'
        [reset]='f,k+'
        [merge]='f,f,k+'
        [import]='f'
        [edit]='f,k+'
        [recover]='f,f'
        [help]='c'
        [completion]='[bash fish zsh]'
    )
    local current=${COMP_WORDS[COMP_CWORD]} previous='' command='' word code
    local positionals=() codes=() onlyPositionals='' i
    COMPREPLY=()

    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        # "--type=int" comes as three words.
        [[ $word == '=' && $previous == --* ]] && continue
        if [[ -n $previous && -n ${values[$previous]} ]]; then
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

    if [[ -n $previous && -n ${values[$previous]} ]]; then
        _ticket_offer "${values[$previous]}" "$current"
    elif [ -z "$command" ]; then
        _ticket_words "$current" "${!options[*]} --help --version"
    elif [[ $current == -* && -z $onlyPositionals ]]; then
        _ticket_words "$current" "${options[$command]}"
    else
        # The last code may stand for all arguments that follow.
        IFS=, read -r -a codes <<< "${arguments[$command]}"
        i=${#positionals[@]}
        code=${codes[-1]}
        if ((i < ${#codes[@]})); then
            code=${codes[i]}
        elif [[ $code != *+ ]]; then
            return
        fi
        _ticket_offer "${code%+}" "$current" "${positionals[@]:0:2}"
    fi
}

complete -F _ticket ticket
