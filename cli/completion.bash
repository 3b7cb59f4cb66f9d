# Completion of tpcli for bash: words of commands, options, and names out of the state.
_tpcli() {
    local word candidate
    word=${COMP_WORDS[COMP_CWORD]}
    local -a arguments=("${COMP_WORDS[@]:1:COMP_CWORD-1}")
    # Bash hands over words as they are typed, quotes included.
    local i
    for i in "${!arguments[@]}"; do arguments[i]=${arguments[i]//\'/}; done
    COMPREPLY=()
    while IFS= read -r candidate; do
        COMPREPLY+=("$(printf '%q' "$candidate")")
    done < <("${COMP_WORDS[0]}" --complete "${arguments[@]}" "$word" 2>/dev/null)
}
complete -o default -F _tpcli tpcli
