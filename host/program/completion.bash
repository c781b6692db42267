# Completion for zeva in bash. In ~/.bashrc: eval "$(zeva completion)"
_zeva() {
    # The line is split at spaces only. COMP_WORDBREAKS, which belongs to the user, usually has = and splits KEY=VALUE.
    local line=${COMP_LINE:0:COMP_POINT} words
    local current=${line##*[[:space:]]}
    read -ra words <<<"$line"
    [[ $current ]] || words+=("")

    local IFS=$'\n' candidates
    candidates=($("$1" complete -- "${words[@]:1}" 2>/dev/null))
    if [[ ${candidates[0]-} == :files ]]; then
        compopt -o filenames 2>/dev/null
        candidates=($(compgen -P "${current%%=*}=" -f -- "${current#*=}"))
    fi
    [[ ${candidates[0]-} == *= ]] && compopt -o nospace 2>/dev/null

    # Bash replaces the part of the word behind the last of its breaks, which is "$2".
    local candidate kept=$((${#current} - ${#2}))
    COMPREPLY=()
    for candidate in "${candidates[@]}"; do COMPREPLY+=("${candidate:kept}"); done
}
# Files are completed when there are no candidates.
complete -o default -F _zeva zeva
