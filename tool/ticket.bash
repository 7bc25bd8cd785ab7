# bash completion for ticket(1): commands, options, files, and the keys of the file named.

_ticket_keys() {
    local file=$1
    [ -f "$file" ] || return 0
    ticket list --keys -- "$file" 2>/dev/null
}

_ticket() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' file='' word i positional=0
    local -A options=(
        [list]='--json --keys --help' [get]='--index --type --hex --help'
        [set]='--type --index --append --hex --from-file --force --help' [delete]='--index --force --help'
        [merge]='--clear --force --help' [diff]='--help' [export]='--help' [import]='--clear --force --help'
        [check]='--help' [settings]='--json --show-secrets --help'
    )
    COMPREPLY=()

    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        case $word in
            --type | --index | --from-file) ((i++)) ;;
            -*) ;;
            *)
                if [ -z "$command" ]; then
                    command=$word
                else
                    ((++positional))
                    [ "$positional" -eq 1 ] && file=$word
                fi
                ;;
        esac
    done

    local IFS=$'\n'
    case $previous in
        --type) mapfile -t COMPREPLY < <(compgen -W $'int\nunsigned\nint64\nuint64\ndouble\nstring\nbinstr' -- "$current"); return ;;
        --from-file) mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
        --index) return ;;
    esac
    if [ -z "$command" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$(printf '%s\n' "${!options[@]}" --help --version)" -- "$current")
    elif [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "${options[$command]// /$'\n'}" -- "$current")
    else
        case $command:$positional in
            get:1 | set:1 | delete:[1-9]* | list:[1-9]*)
                mapfile -t COMPREPLY < <(compgen -W "$(_ticket_keys "${file/#\~/$HOME}")" -- "$current") ;;
            merge:[2-9]*) mapfile -t COMPREPLY < <(compgen -W "$(_ticket_keys "${file/#\~/$HOME}")" -- "$current") ;;
            set:*) ;;
            *) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
        esac
    fi
}

complete -o filenames -o nospace -F _ticket ticket
