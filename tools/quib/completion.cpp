// Completions for shells: operations, their options, and the words that these take.
#include "tools/quib/texts.h"

#include "tools/quib/plan.h"

namespace
{

std::string operationNames()
{
    std::string names;
    for (const Operation& operation : allOperations())
        names += (names.empty() ? "" : " ") + std::string(operation.name);
    return names;
}

std::string optionsOf(const std::vector<Parameter>& parameters)
{
    std::string names;
    for (const Parameter& parameter : parameters)
        if (isOption(parameter))
            names += (names.empty() ? "" : " ") + std::string(parameter.name);
    return names;
}

// case branches: what an operation's own words may be, and those of its options.
std::string bashChoices(const std::string& key, const std::vector<Parameter>& parameters)
{
    std::string text;
    for (const Parameter& parameter : parameters)
        if (*parameter.choices)
            text += "        '" + key + (isOption(parameter) ? std::string(parameter.name) : "") +
                    "') choices='" + parameter.choices + "' ;;\n";
    return text;
}

// Bash and zsh know the same lists. `operation` is the last one before the cursor, and
// `previous` the word before it.
std::string sharedLists()
{
    std::string text = "    case \"$operation\" in\n";
    for (const Operation& operation : allOperations())
        text += "        '" + std::string(operation.name) + "') options='" +
                optionsOf(operation.parameters) + "' ;;\n";
    text += "    esac\n    case \"$operation $previous\" in\n";
    for (const Operation& operation : allOperations())
        for (const Parameter& parameter : operation.parameters)
            if (*parameter.choices)
                text += "        '" + std::string(operation.name) + " " +
                        (isOption(parameter) ? parameter.name : operation.name) + "') choices='" +
                        parameter.choices + "' ;;\n";
    text += "    esac\n    case \"$previous\" in\n" + bashChoices("", allSettings());
    return text + "        completion) choices='bash zsh fish' ;;\n    esac\n";
}

std::string bashText()
{
    return "# bash completion for quib\n_quib()\n{\n"
           "    local word current=${COMP_WORDS[COMP_CWORD]} previous= operation= options= "
           "choices=\n"
           "    local operations='" +
           operationNames() +
           "'\n"
           "    ((COMP_CWORD > 0)) && previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
           "        [[ \" $operations \" == *\" $word \"* ]] && operation=$word\n"
           "    done\n" +
           sharedLists() +
           "    if [[ $previous == help ]]; then choices=$operations; fi\n"
           "    if [[ -n $choices ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$choices\" -- \"$current\")\n"
           "        return\n"
           "    fi\n"
           "    if [[ $current == -* ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$options " +
           optionsOf(allSettings()) +
           "\" -- \"$current\")\n"
           "        return\n"
           "    fi\n"
           "    choices=$operations\n"
           "    ((COMP_CWORD == 1)) && choices='list help info completion manual'\n"
           "    mapfile -t COMPREPLY < <(compgen -f -- \"$current\"; compgen -W \"$choices\" -- "
           "\"$current\")\n"
           "}\n"
           "complete -o filenames -F _quib quib\n";
}

std::string zshText()
{
    return "#compdef quib\n_quib()\n{\n"
           "    local word current=$words[CURRENT] previous=$words[CURRENT-1] operation= options=\n"
           "    local operations='" +
           operationNames() +
           "'\n"
           "    for word in ${words[2,CURRENT-1]}; do\n"
           "        [[ \" $operations \" == *\" $word \"* ]] && operation=$word\n"
           "    done\n"
           "    local position=$CURRENT\n"
           "    local choices=\n" +
           sharedLists() +
           "    [[ $previous == help ]] && choices=$operations\n"
           "    if [[ -n $choices ]]; then\n"
           "        compadd -- ${=choices}\n"
           "    elif [[ $current == -* ]]; then\n"
           "        compadd -- ${=options} " +
           optionsOf(allSettings()) +
           "\n"
           "    else\n"
           "        _files\n"
           "        if ((position == 2)); then\n"
           "            compadd -- list help info completion manual\n"
           "        else\n"
           "            compadd -- ${=operations}\n"
           "        fi\n"
           "    fi\n"
           "}\n"
           "if [[ $funcstack[1] == _quib ]]; then _quib \"$@\"; else compdef _quib quib; fi\n";
}

std::string fishQuoted(const std::string& text)
{
    std::string shown = "'";
    for (const char c : text)
        shown += (c == '\'' || c == '\\') ? std::string("\\") + c : std::string(1, c);
    return shown + "'";
}

std::string fishOption(const Parameter& parameter, const std::string& condition)
{
    std::string text = "complete -c quib";
    if (!condition.empty())
        text += " -n " + fishQuoted(condition);
    text += " -l " + std::string(parameter.name + 2);
    if (*parameter.choices)
        text += " -x -a " + fishQuoted(parameter.choices);
    else if (parameter.kind != Kind::flag)
        text += " -x";
    return text + " -d " + fishQuoted(parameter.help) + "\n";
}

std::string fishText()
{
    std::string text = "# fish completion for quib\n"
                       "function __quib_operation\n"
                       "    set -l last ''\n"
                       "    for word in (commandline -opc)[2..-1]\n"
                       "        contains -- $word " +
                       operationNames() +
                       "; and set last $word\n"
                       "    end\n"
                       "    test \"$last\" = \"$argv[1]\"\n"
                       "end\n"
                       "function __quib_previous\n"
                       "    set -l given (commandline -opc)\n"
                       "    test \"$given[-1]\" = \"$argv[1]\"\n"
                       "end\n";
    text += "complete -c quib -n '__fish_is_first_token' -a 'list help info completion manual'\n"
            "complete -c quib -n '__quib_previous completion' -x -a 'bash zsh fish'\n";
    text +=
        "complete -c quib -n '__quib_previous help' -x -a " + fishQuoted(operationNames()) + "\n";
    for (const Parameter& setting : allSettings())
        text += fishOption(setting, "");
    for (const Operation& operation : allOperations()) {
        const std::string name = operation.name;
        text += "complete -c quib -n 'not __fish_is_first_token' -a " + name + " -d " +
                fishQuoted(operation.summary) + "\n";
        for (const Parameter& parameter : operation.parameters) {
            if (isOption(parameter))
                text += fishOption(parameter, "__quib_operation " + name);
            else if (*parameter.choices)
                text += "complete -c quib -n '__quib_previous " + name + "' -x -a " +
                        fishQuoted(parameter.choices) + "\n";
        }
    }
    return text;
}

} // namespace

std::string completionText(const std::string& shell)
{
    return shell == "bash"   ? bashText()
           : shell == "zsh"  ? zshText()
           : shell == "fish" ? fishText()
                             : "";
}
