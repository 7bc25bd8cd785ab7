// Completion scripts for shells. What differs between commands comes from their table; how a shell works is text.
#include <iostream>
#include <string>
#include <string_view>

#include "Commands.h"

namespace {

using KIND = ARGUMENT_KIND;

std::string Joined(std::vector<std::string> const& words, char const* between) {
    std::string text;
    for (auto const& word : words) text += (text.empty() ? "" : between) + word;
    return text;
}

// In single quotes, as all three shells read them.
std::string QuotedForShell(std::string_view text) {
    std::string result = "'";
    for (char const c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

std::vector<COMMAND const*> Shown() {
    std::vector<COMMAND const*> shown;
    for (auto const& command : Commands()) {
        if (!command.isHidden) shown.push_back(&command);
    }
    return shown;
}

bool IsMany(POSITIONAL const& positional) {
    return positional.count == COUNT::ANY || positional.count == COUNT::SOME;
}

// The code of an argument in the bash script: a letter, or alternatives in brackets.
std::string Code(KIND kind, std::string_view alternatives) {
    switch (kind) {
        case KIND::FILE_NAME:
            return "f";
        case KIND::KEY:
            return "k";
        case KIND::KNOWN_KEY:
            return "K";
        case KIND::VALUE:
            return "v";
        case KIND::COMMAND:
            return "c";
        case KIND::TYPE:
        case KIND::WORDS:
            return "[" + Joined(WordsOf(kind, alternatives), " ") + "]";
        default:
            return "-";
    }
}

constexpr char const* BASH_HEAD =
    R"(# bash completion for ticket(1), made by "ticket completion bash".

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
)";

constexpr char const* BASH_TAIL =
    R"(    local current=${COMP_WORDS[COMP_CWORD]} previous='' command='' word code
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
)";

void PrintBash() {
    std::cout << BASH_HEAD;
    std::string values;
    std::cout << "    # The options of each command.\n    local -A options=(\n";
    for (auto const* const command : Shown()) {
        std::vector<std::string> names;
        for (auto const& option : OptionsOf(*command)) {
            names.emplace_back(option.name);
            if (option.kind == KIND::FLAG || option.placeholder[0] == '[') continue;
            auto const entry =
                "        [" + names.back() + "]=" + QuotedForShell(Code(option.kind, option.placeholder));
            if (values.find(entry) == std::string::npos) values += entry + "\n";
        }
        std::cout << "        [" << command->name << "]=" << QuotedForShell(Joined(names, " ")) << '\n';
    }
    std::cout << "    )\n    # What options and arguments take: f file, k key, K "
                 "key that may be new, v value of a key, c command,\n    # [...] one of these, - anything; + for each "
                 "argument "
                 "that follows.\n    local -A values=(\n"
              << values << "    )\n    local -A arguments=(\n";
    for (auto const* const command : Shown()) {
        std::vector<std::string> codes;
        for (auto const& positional : command->positionals) {
            codes.push_back(Code(positional.kind, positional.help) + (IsMany(positional) ? "+" : ""));
        }
        std::cout << "        [" << command->name << "]=" << QuotedForShell(Joined(codes, ",")) << '\n';
    }
    std::cout << "    )\n" << BASH_TAIL;
}

// The action of an argument in zsh's _arguments.
std::string ZshAction(KIND kind, std::string_view alternatives) {
    switch (kind) {
        case KIND::FILE_NAME:
            return "_files";
        case KIND::KEY:
            return "_ticket_names keys";
        case KIND::KNOWN_KEY:
            return "_ticket_names known-keys";
        case KIND::VALUE:
            return "_ticket_names known-values";
        case KIND::COMMAND:
            return "(" + [] {
                std::vector<std::string> names;
                for (auto const* const command : Shown()) names.emplace_back(command->name);
                return Joined(names, " ");
            }() + ")";
        case KIND::TYPE:
        case KIND::WORDS:
            return "(" + Joined(WordsOf(kind, alternatives), " ") + ")";
        default:
            return "()";  // offers nothing; a space would show a message, which keeps options from being completed
    }
}

// Text in a description of _arguments, where brackets and colons have meanings.
std::string ZshText(std::string_view text) {
    std::string result;
    for (char const c : text) {
        if (c == '[' || c == ']' || c == ':') result += '\\';
        result += c;
    }
    return result;
}

constexpr char const* ZSH_HEAD = R"(#compdef ticket
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
)";

constexpr char const* ZSH_MIDDLE = R"(    )
    if ((CURRENT == 2)); then
        _describe command commands
        [[ $PREFIX == -* ]] && compadd -- --help --version
        return
    fi
    local command=$words[2]
    shift words
    ((CURRENT--))
    case $command in
)";

void PrintZsh() {
    std::cout << ZSH_HEAD;
    for (auto const* const command : Shown()) {
        std::cout << "        " << QuotedForShell(std::string(command->name) + ":" + ZshText(command->summary)) << '\n';
    }
    std::cout << ZSH_MIDDLE;
    for (auto const* const command : Shown()) {
        std::cout << "        " << command->name << ")\n            _arguments -S";
        for (auto const& option : OptionsOf(*command)) {
            std::string argument = option.name;
            if (option.kind != KIND::FLAG && option.placeholder[0] != '[') argument += argument[1] == '-' ? "=" : "";
            argument += "[" + ZshText(option.help) + "]";
            if (option.kind != KIND::FLAG && option.placeholder[0] != '[') {
                argument += ":" + ZshText(option.name + 2) + ":" + ZshAction(option.kind, option.placeholder);
            }
            std::cout << " \\\n                " << QuotedForShell(argument);
        }
        int number = 0;
        for (auto const& positional : command->positionals) {
            ++number;
            auto const place = IsMany(positional) ? std::string("*") : std::to_string(number);
            std::cout << " \\\n                "
                      << QuotedForShell(place + ":" + positional.name + ":" +
                                        ZshAction(positional.kind, positional.help));
        }
        std::cout << "\n            ;;\n";
    }
    std::cout << "    esac\n}\n\n_ticket \"$@\"\n";
}

// What fish offers for an argument; empty for anything.
std::string FishWords(KIND kind, std::string_view alternatives) {
    if (kind == KIND::KEY) return "(__ticket_names keys)";
    if (kind == KIND::KNOWN_KEY) return "(__ticket_names known-keys)";
    if (kind == KIND::VALUE) return "(__ticket_names known-values)";
    return Joined(WordsOf(kind, alternatives), " ");
}

constexpr char const* FISH_HEAD =
    R"(# fish completion for ticket(1), made by "ticket completion fish".

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
)";

void PrintFishArguments(COMMAND const& command) {
    int number = 0;
    for (auto const& positional : command.positionals) {
        auto const place = std::to_string(number++) + (IsMany(positional) ? " more" : "");
        auto const condition = "-n '__ticket_at " + std::string(command.name) + " " + place + "'";
        std::cout << "complete -c ticket " << condition;
        if (positional.kind == KIND::FILE_NAME) {
            std::cout << " -F\n";
        } else if (positional.kind == KIND::COMMAND) {
            std::cout << " -a '";
            for (auto const* const name : Shown()) std::cout << name->name << ' ';
            std::cout << "'\n";
        } else {
            std::cout << " -a " << QuotedForShell(FishWords(positional.kind, positional.help)) << '\n';
        }
    }
}

void PrintFish() {
    std::cout << FISH_HEAD;
    for (auto const* const command : Shown()) {
        std::cout << "complete -c ticket -n __fish_use_subcommand -a " << command->name << " -d "
                  << QuotedForShell(command->summary) << '\n';
    }
    for (auto const* const command : Shown()) {
        for (auto const& option : OptionsOf(*command)) {
            std::string_view const name = option.name;
            std::cout << "complete -c ticket -n '__fish_seen_subcommand_from " << command->name << "' "
                      << (name[1] == '-' ? "-l " : "-s ") << name.substr(name[1] == '-' ? 2 : 1);
            bool const takesValue = option.kind != KIND::FLAG && option.placeholder[0] != '[';
            if (takesValue) std::cout << (option.kind == KIND::FILE_NAME ? " -r -F" : " -x");
            auto const words = takesValue ? FishWords(option.kind, option.placeholder) : "";
            if (!words.empty()) std::cout << " -a " << QuotedForShell(words);
            std::cout << " -d " << QuotedForShell(option.help) << '\n';
        }
        PrintFishArguments(*command);
    }
}

}  // namespace

int Completion(ARGUMENTS const& arguments) {
    auto const shell = arguments.Text("SHELL");
    if (shell == "bash") PrintBash();
    if (shell == "fish") PrintFish();
    if (shell == "zsh") PrintZsh();
    return SUCCESS;
}
