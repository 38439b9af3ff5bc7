# bash completion for nuv: the tool itself knows what may come.

_nuv()
{
    local line=${COMP_LINE:0:COMP_POINT} words current
    read -a words <<<"$line"
    [[ $line == *[[:space:]] ]] && words+=("")
    current=${words[-1]}
    mapfile -t COMPREPLY < <(nuv complete "${words[@]:1}" 2>/dev/null | cut -f 1)
    [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]] && compopt -o nospace 2>/dev/null
    # What bash takes for a word of its own begins behind the "=".
    if [[ $current == *=* && $COMP_WORDBREAKS == *=* ]]; then
        COMPREPLY=("${COMPREPLY[@]#"${current%%=*}="}")
    fi
}

complete -o default -F _nuv nuv
