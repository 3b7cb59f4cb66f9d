# Completion of tpcli for bash: words of commands, options, and names out of the state.
_tpcli() {
    local word candidate last=
    local -a arguments=()
    # Bash hands over words as they are typed, quotes included, and takes --state=DIR apart.
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        word=${word//\'/}
        if [[ $last == --* && ($word == = || $last == *=) ]]; then
            last+=$word
            arguments[-1]=$last
        else
            last=$word
            arguments+=("$word")
        fi
    done
    COMPREPLY=()
    while IFS= read -r candidate; do
        COMPREPLY+=("$(printf '%q' "$candidate")")
    done < <("${COMP_WORDS[0]}" --complete "${arguments[@]}" "${COMP_WORDS[COMP_CWORD]}" 2>/dev/null)
}
complete -o default -F _tpcli tpcli
