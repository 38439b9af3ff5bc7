# fish completion for nuv: the tool itself knows what may come.

function __nuv_complete
    set -l typed (commandline -opc)
    set -e typed[1]
    set -l current (commandline -ct)
    set -l found (nuv complete $typed "$current" 2>/dev/null)
    if test (count $found) -gt 0
        printf '%s\n' $found
    else
        __fish_complete_path "$current"
    end
end

complete -c nuv -f -a '(__nuv_complete)'
