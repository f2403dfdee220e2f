# bash completion for vantrel and vantrel-simulator: options as --help lists them
if declare -F _comp_complete_longopt >/dev/null; then # bash-completion 2.12 and later
    complete -F _comp_complete_longopt vantrel vantrel-simulator
else
    complete -F _longopt vantrel vantrel-simulator
fi
