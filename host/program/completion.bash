# Completion for zeva in bash. In ~/.bashrc: eval "$(zeva completion)"
_zeva() {
    local IFS=$'\n'
    COMPREPLY=($("$1" complete -- "${COMP_WORDS[@]:1:COMP_CWORD-1}" "$2" 2>/dev/null))
    [[ ${COMPREPLY[0]-} == *= ]] && compopt -o nospace
}
# A setting KEY=VALUE is one word. Files are completed when the program has no candidates.
COMP_WORDBREAKS=${COMP_WORDBREAKS//=}
complete -o default -F _zeva zeva
