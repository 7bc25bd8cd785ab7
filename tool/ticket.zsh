#compdef ticket
# zsh completion for ticket(1), made by "ticket completion zsh".

# Offers the keys of the file that is named on the line, those that are known as well, or the values of the key after it.
# _arguments puts options of compadd before the kind.
_ticket_names() {
    local kind=$@[-1] file=${(Q)line[1]} names
    [[ $file == '~/'* ]] && file=$HOME/${file:2}
    case $kind in
        keys) names=("${(@f)$(ticket list --keys -- "$file" 2>/dev/null)}") ;;
        known-keys) names=("${(@f)$(ticket known-keys -- "$file" 2>/dev/null)}") ;;
        known-values) names=("${(@f)$(ticket known-values -- "$file" "${(Q)line[2]}" 2>/dev/null)}") ;;
    esac
    compadd "${@[1,-2]}" -a names
}

_ticket() {
    local line state
    local -a commands=(
        'list:Show keys with their types and values'
        'get:Print one value'
        'find:Show keys whose values contain a text'
        'diff:Show what differs between files'
        'export:Print a file as JSON'
        'check:Report problems that the library ignores'
        'settings:Show every setting of the settings service'
        'describe:Explain a key\: its type, fallback and allowed values'
        'watch:Print changes of a file as they are made'
        'set:Store one value'
        'delete:Delete keys, or one element of a vector'
        'reset:Bring keys back to their fallbacks'
        'merge:Copy keys of one file into another'
        'import:Store the keys of a JSON text'
        'edit:Change a file in your editor'
        'recover:Save what can be read of a file that does not parse'
        'help:Show the help of a command'
        'completion:Print the completion script of a shell'
    )
    if ((CURRENT == 2)); then
        _describe command commands
        [[ $PREFIX == -* ]] && compadd -- --help --version
        return
    fi
    local command=$words[2]
    shift words
    ((CURRENT--))
    case $command in
        list)
            _arguments -S \
                '--json[Print JSON, in the form of export]' \
                '--keys[Print the keys only]' \
                '-z[End each record with a NUL byte and show keys and values as they are]' \
                '--redact[Hide passwords in pipes and files too]' \
                '--show-secrets[Show passwords on a terminal]' \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files' \
                '*:SELECTOR:_ticket_names keys'
            ;;
        get)
            _arguments -S \
                '--index=[Element of a vector; the first one is 0]:index:()' \
                '--type=[Convert to this type, as the library does for a program]:type:(int unsigned int64 uint64 double string binstr)' \
                '--hex[Print bytes in hexadecimal]' \
                '--default=[Print this if the key is missing]:default:()' \
                '-z[End each record with a NUL byte and show keys and values as they are]' \
                '--redact[Hide passwords in pipes and files too]' \
                '--show-secrets[Show passwords on a terminal]' \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files' \
                '2:KEY:_ticket_names keys'
            ;;
        find)
            _arguments -S \
                '--regex[TEXT is an extended POSIX regular expression]' \
                '--ignore-case[Do not distinguish upper and lower case]' \
                '--keys[Print the keys only]' \
                '-z[End each record with a NUL byte and show keys and values as they are]' \
                '--redact[Hide passwords in pipes and files too]' \
                '--show-secrets[Show passwords on a terminal]' \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files' \
                '2:TEXT:()'
            ;;
        diff)
            _arguments -S \
                '--redact[Hide passwords in pipes and files too]' \
                '--show-secrets[Show passwords on a terminal]' \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files' \
                '*:OTHER:_files'
            ;;
        export)
            _arguments -S \
                '--redact[Hide passwords in pipes and files too]' \
                '--show-secrets[Show passwords on a terminal]' \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files'
            ;;
        check)
            _arguments -S \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '*:FILE:_files'
            ;;
        settings)
            _arguments -S \
                '--json[Print JSON]' \
                '--show-secrets[Show passwords; they are hidden in pipes too]' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files'
            ;;
        describe)
            _arguments -S \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:KEY:_ticket_names known-keys' \
                '2:FILE:_files'
            ;;
        watch)
            _arguments -S \
                '--count=[End after N changes of the file]:count:()' \
                '--redact[Hide passwords in pipes and files too]' \
                '--show-secrets[Show passwords on a terminal]' \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files' \
                '*:SELECTOR:_ticket_names keys'
            ;;
        set)
            _arguments -S \
                '--type=[Type to store]:type:(int unsigned int64 uint64 double string binstr)' \
                '--index=[Replace this element of a vector, or append at its end]:index:()' \
                '--append[Append to the key'\''s vector]' \
                '--hex[VALUE is in hexadecimal; a new key becomes a binstr]' \
                '--from-file=[Store the bytes of this file or pipe, - for standard input; a new key becomes a binstr]:from-file:_files' \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--dry-run[Show what would change, and change nothing]' \
                '--backup[Keep the old file under its name with SUFFIX appended; ~ by default]' \
                '--force[Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change]' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files' \
                '2:KEY:_ticket_names known-keys' \
                '3:VALUE:_ticket_names known-values'
            ;;
        delete)
            _arguments -S \
                '--index=[Element of a vector; the first one is 0]:index:()' \
                '--dry-run[Show what would change, and change nothing]' \
                '--backup[Keep the old file under its name with SUFFIX appended; ~ by default]' \
                '--force[Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change]' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files' \
                '*:KEY:_ticket_names keys'
            ;;
        reset)
            _arguments -S \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--dry-run[Show what would change, and change nothing]' \
                '--backup[Keep the old file under its name with SUFFIX appended; ~ by default]' \
                '--force[Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change]' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files' \
                '*:KEY:_ticket_names keys'
            ;;
        merge)
            _arguments -S \
                '--clear[Empty the file first]' \
                '--dry-run[Show what would change, and change nothing]' \
                '--backup[Keep the old file under its name with SUFFIX appended; ~ by default]' \
                '--force[Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change]' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FROM:_files' \
                '2:INTO:_files' \
                '*:SELECTOR:_ticket_names keys'
            ;;
        import)
            _arguments -S \
                '--clear[Empty the file first]' \
                '--dry-run[Show what would change, and change nothing]' \
                '--backup[Keep the old file under its name with SUFFIX appended; ~ by default]' \
                '--force[Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change]' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files'
            ;;
        edit)
            _arguments -S \
                '--show-secrets[Show passwords on a terminal]' \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--dry-run[Show what would change, and change nothing]' \
                '--backup[Keep the old file under its name with SUFFIX appended; ~ by default]' \
                '--force[Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change]' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files' \
                '*:SELECTOR:_ticket_names keys'
            ;;
        recover)
            _arguments -S \
                '--redact[Hide passwords in pipes and files too]' \
                '--show-secrets[Show passwords on a terminal]' \
                '--schema=[JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service]:schema:_files' \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:FILE:_files' \
                '2:NEW:_files'
            ;;
        help)
            _arguments -S \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:COMMAND:(list get find diff export check settings describe watch set delete reset merge import edit recover help completion)'
            ;;
        completion)
            _arguments -S \
                '--color=[Use colours; auto, the default, means on a terminal]:color:(auto always never)' \
                '--help[Show this help]' \
                '1:SHELL:(bash fish zsh)'
            ;;
    esac
}

_ticket "$@"
