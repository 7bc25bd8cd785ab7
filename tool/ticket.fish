# fish completion for ticket(1), made by "ticket completion fish".

# The arguments of the command so far, without options.
function __ticket_arguments
    for word in (commandline -opc)[3..-1]
        string match -q -- '-*' $word; or echo $word
    end
end

# Whether the command is $argv[1] and argument number $argv[2] is due; a third argument: or any later one.
function __ticket_at
    set -l words (commandline -opc)
    test (count $words) -ge 2; and test "$words[2]" = $argv[1]; or return 1
    set -l count (count (__ticket_arguments))
    test $count -eq $argv[2]; and return 0
    set -q argv[3]; and test $count -gt $argv[2]
end

# Offers the keys of the file that is named first, those that are known as well, or the values of the key after it.
function __ticket_names
    set -l arguments (__ticket_arguments)
    switch $argv[1]
        case keys
            ticket list --keys -- "$arguments[1]" 2>/dev/null
        case known-keys
            ticket known-keys -- "$arguments[1]" 2>/dev/null
        case known-values
            ticket known-values -- "$arguments[1]" "$arguments[2]" 2>/dev/null
    end
end

complete -c ticket -f
complete -c ticket -n __fish_use_subcommand -l help -d 'Show this help, or that of a command'
complete -c ticket -n __fish_use_subcommand -l version -d 'Show the version'
complete -c ticket -n __fish_use_subcommand -a list -d 'Show keys with their types and values'
complete -c ticket -n __fish_use_subcommand -a get -d 'Print one value'
complete -c ticket -n __fish_use_subcommand -a find -d 'Show keys whose values contain a text'
complete -c ticket -n __fish_use_subcommand -a diff -d 'Show what differs between files'
complete -c ticket -n __fish_use_subcommand -a export -d 'Print a file as JSON'
complete -c ticket -n __fish_use_subcommand -a check -d 'Report problems that the library ignores'
complete -c ticket -n __fish_use_subcommand -a settings -d 'Show every setting of the settings service'
complete -c ticket -n __fish_use_subcommand -a describe -d 'Explain a key: its type, fallback and allowed values'
complete -c ticket -n __fish_use_subcommand -a watch -d 'Print changes of a file as they are made'
complete -c ticket -n __fish_use_subcommand -a set -d 'Store one value'
complete -c ticket -n __fish_use_subcommand -a delete -d 'Delete keys, or one element of a vector'
complete -c ticket -n __fish_use_subcommand -a reset -d 'Bring keys back to their fallbacks'
complete -c ticket -n __fish_use_subcommand -a merge -d 'Copy keys of one file into another'
complete -c ticket -n __fish_use_subcommand -a import -d 'Store the keys of a JSON text'
complete -c ticket -n __fish_use_subcommand -a edit -d 'Change a file in your editor'
complete -c ticket -n __fish_use_subcommand -a recover -d 'Save what can be read of a file that does not parse'
complete -c ticket -n __fish_use_subcommand -a help -d 'Show the help of a command'
complete -c ticket -n __fish_use_subcommand -a completion -d 'Print the completion script of a shell'
complete -c ticket -n '__fish_seen_subcommand_from list' -l json -d 'Print JSON, in the form of export'
complete -c ticket -n '__fish_seen_subcommand_from list' -l keys -d 'Print the keys only'
complete -c ticket -n '__fish_seen_subcommand_from list' -s z -d 'End each record with a NUL byte and show keys and values as they are'
complete -c ticket -n '__fish_seen_subcommand_from list' -l redact -d 'Hide passwords in pipes and files too'
complete -c ticket -n '__fish_seen_subcommand_from list' -l show-secrets -d 'Show passwords on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from list' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from list' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from list' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at list 0' -F
complete -c ticket -n '__ticket_at list 1 more' -a '(__ticket_names keys)'
complete -c ticket -n '__fish_seen_subcommand_from get' -l index -x -d 'Element of a vector; the first one is 0'
complete -c ticket -n '__fish_seen_subcommand_from get' -l type -x -a 'int unsigned int64 uint64 double string binstr' -d 'Convert to this type, as the library does for a program'
complete -c ticket -n '__fish_seen_subcommand_from get' -l hex -d 'Print bytes in hexadecimal'
complete -c ticket -n '__fish_seen_subcommand_from get' -l default -x -d 'Print this if the key is missing'
complete -c ticket -n '__fish_seen_subcommand_from get' -s z -d 'End each record with a NUL byte and show keys and values as they are'
complete -c ticket -n '__fish_seen_subcommand_from get' -l redact -d 'Hide passwords in pipes and files too'
complete -c ticket -n '__fish_seen_subcommand_from get' -l show-secrets -d 'Show passwords on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from get' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from get' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from get' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at get 0' -F
complete -c ticket -n '__ticket_at get 1' -a '(__ticket_names keys)'
complete -c ticket -n '__fish_seen_subcommand_from find' -l regex -d 'TEXT is an extended POSIX regular expression'
complete -c ticket -n '__fish_seen_subcommand_from find' -l ignore-case -d 'Do not distinguish upper and lower case'
complete -c ticket -n '__fish_seen_subcommand_from find' -l keys -d 'Print the keys only'
complete -c ticket -n '__fish_seen_subcommand_from find' -s z -d 'End each record with a NUL byte and show keys and values as they are'
complete -c ticket -n '__fish_seen_subcommand_from find' -l redact -d 'Hide passwords in pipes and files too'
complete -c ticket -n '__fish_seen_subcommand_from find' -l show-secrets -d 'Show passwords on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from find' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from find' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from find' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at find 0' -F
complete -c ticket -n '__ticket_at find 1' -a ''
complete -c ticket -n '__fish_seen_subcommand_from diff' -l redact -d 'Hide passwords in pipes and files too'
complete -c ticket -n '__fish_seen_subcommand_from diff' -l show-secrets -d 'Show passwords on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from diff' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from diff' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from diff' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at diff 0' -F
complete -c ticket -n '__ticket_at diff 1 more' -F
complete -c ticket -n '__fish_seen_subcommand_from export' -l redact -d 'Hide passwords in pipes and files too'
complete -c ticket -n '__fish_seen_subcommand_from export' -l show-secrets -d 'Show passwords on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from export' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from export' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from export' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at export 0' -F
complete -c ticket -n '__fish_seen_subcommand_from check' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from check' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from check' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at check 0 more' -F
complete -c ticket -n '__fish_seen_subcommand_from settings' -l json -d 'Print JSON'
complete -c ticket -n '__fish_seen_subcommand_from settings' -l show-secrets -d 'Show passwords; they are hidden in pipes too'
complete -c ticket -n '__fish_seen_subcommand_from settings' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from settings' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at settings 0' -F
complete -c ticket -n '__fish_seen_subcommand_from describe' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from describe' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from describe' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at describe 0' -a '(__ticket_names known-keys)'
complete -c ticket -n '__ticket_at describe 1' -F
complete -c ticket -n '__fish_seen_subcommand_from watch' -l count -x -d 'End after N changes of the file'
complete -c ticket -n '__fish_seen_subcommand_from watch' -l redact -d 'Hide passwords in pipes and files too'
complete -c ticket -n '__fish_seen_subcommand_from watch' -l show-secrets -d 'Show passwords on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from watch' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from watch' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from watch' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at watch 0' -F
complete -c ticket -n '__ticket_at watch 1 more' -a '(__ticket_names keys)'
complete -c ticket -n '__fish_seen_subcommand_from set' -l type -x -a 'int unsigned int64 uint64 double string binstr' -d 'Type to store'
complete -c ticket -n '__fish_seen_subcommand_from set' -l index -x -d 'Replace this element of a vector, or append at its end'
complete -c ticket -n '__fish_seen_subcommand_from set' -l append -d 'Append to the key'\''s vector'
complete -c ticket -n '__fish_seen_subcommand_from set' -l hex -d 'VALUE is in hexadecimal; a new key becomes a binstr'
complete -c ticket -n '__fish_seen_subcommand_from set' -l from-file -r -F -d 'Store the bytes of this file or pipe, - for standard input; a new key becomes a binstr'
complete -c ticket -n '__fish_seen_subcommand_from set' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from set' -l dry-run -d 'Show what would change, and change nothing'
complete -c ticket -n '__fish_seen_subcommand_from set' -l backup -d 'Keep the old file under its name with SUFFIX appended; ~ by default'
complete -c ticket -n '__fish_seen_subcommand_from set' -l force -d 'Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change'
complete -c ticket -n '__fish_seen_subcommand_from set' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from set' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at set 0' -F
complete -c ticket -n '__ticket_at set 1' -a '(__ticket_names known-keys)'
complete -c ticket -n '__ticket_at set 2' -a '(__ticket_names known-values)'
complete -c ticket -n '__fish_seen_subcommand_from delete' -l index -x -d 'Element of a vector; the first one is 0'
complete -c ticket -n '__fish_seen_subcommand_from delete' -l dry-run -d 'Show what would change, and change nothing'
complete -c ticket -n '__fish_seen_subcommand_from delete' -l backup -d 'Keep the old file under its name with SUFFIX appended; ~ by default'
complete -c ticket -n '__fish_seen_subcommand_from delete' -l force -d 'Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change'
complete -c ticket -n '__fish_seen_subcommand_from delete' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from delete' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at delete 0' -F
complete -c ticket -n '__ticket_at delete 1 more' -a '(__ticket_names keys)'
complete -c ticket -n '__fish_seen_subcommand_from reset' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from reset' -l dry-run -d 'Show what would change, and change nothing'
complete -c ticket -n '__fish_seen_subcommand_from reset' -l backup -d 'Keep the old file under its name with SUFFIX appended; ~ by default'
complete -c ticket -n '__fish_seen_subcommand_from reset' -l force -d 'Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change'
complete -c ticket -n '__fish_seen_subcommand_from reset' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from reset' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at reset 0' -F
complete -c ticket -n '__ticket_at reset 1 more' -a '(__ticket_names keys)'
complete -c ticket -n '__fish_seen_subcommand_from merge' -l clear -d 'Empty the file first'
complete -c ticket -n '__fish_seen_subcommand_from merge' -l dry-run -d 'Show what would change, and change nothing'
complete -c ticket -n '__fish_seen_subcommand_from merge' -l backup -d 'Keep the old file under its name with SUFFIX appended; ~ by default'
complete -c ticket -n '__fish_seen_subcommand_from merge' -l force -d 'Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change'
complete -c ticket -n '__fish_seen_subcommand_from merge' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from merge' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at merge 0' -F
complete -c ticket -n '__ticket_at merge 1' -F
complete -c ticket -n '__ticket_at merge 2 more' -a '(__ticket_names keys)'
complete -c ticket -n '__fish_seen_subcommand_from import' -l clear -d 'Empty the file first'
complete -c ticket -n '__fish_seen_subcommand_from import' -l dry-run -d 'Show what would change, and change nothing'
complete -c ticket -n '__fish_seen_subcommand_from import' -l backup -d 'Keep the old file under its name with SUFFIX appended; ~ by default'
complete -c ticket -n '__fish_seen_subcommand_from import' -l force -d 'Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change'
complete -c ticket -n '__fish_seen_subcommand_from import' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from import' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at import 0' -F
complete -c ticket -n '__fish_seen_subcommand_from edit' -l show-secrets -d 'Show passwords on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from edit' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from edit' -l dry-run -d 'Show what would change, and change nothing'
complete -c ticket -n '__fish_seen_subcommand_from edit' -l backup -d 'Keep the old file under its name with SUFFIX appended; ~ by default'
complete -c ticket -n '__fish_seen_subcommand_from edit' -l force -d 'Write even if the round trip changes a value or key, if the file seems to be another program'\''s, or if its owner would change'
complete -c ticket -n '__fish_seen_subcommand_from edit' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from edit' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at edit 0' -F
complete -c ticket -n '__ticket_at edit 1 more' -a '(__ticket_names keys)'
complete -c ticket -n '__fish_seen_subcommand_from recover' -l redact -d 'Hide passwords in pipes and files too'
complete -c ticket -n '__fish_seen_subcommand_from recover' -l show-secrets -d 'Show passwords on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from recover' -l schema -r -F -d 'JSON file that describes the keys of a program; FILE.schema.json by default; none disables it and the keys of the settings service'
complete -c ticket -n '__fish_seen_subcommand_from recover' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from recover' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at recover 0' -F
complete -c ticket -n '__ticket_at recover 1' -F
complete -c ticket -n '__fish_seen_subcommand_from help' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from help' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at help 0' -a 'list get find diff export check settings describe watch set delete reset merge import edit recover help completion '
complete -c ticket -n '__fish_seen_subcommand_from completion' -l color -x -a 'auto always never' -d 'Use colours; auto, the default, means on a terminal'
complete -c ticket -n '__fish_seen_subcommand_from completion' -l help -d 'Show this help'
complete -c ticket -n '__ticket_at completion 0' -a 'bash fish zsh'
