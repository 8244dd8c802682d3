# Completion of zelto for bash.

# The paths in the history of this shell that are not there twice.
_zelto_seen_paths() {
    HISTTIMEFORMAT='' history | grep -oE "@?Device\.[^][ =\"';|&<>]*" | sort -u
}

_zelto() {
    local IFS=$'\n' word=${COMP_WORDS[COMP_CWORD]}
    # Values are behind "=", which ends a word for bash.
    [[ $word == '=' || ${COMP_WORDS[COMP_CWORD - 1]} == '=' ]] && return
    mapfile -t COMPREPLY < <("${COMP_WORDS[0]}" complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    case $word in
        Device* | @*) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -W "$(_zelto_seen_paths)" -- "$word") ;;
    esac
    case ${#COMPREPLY[@]}${COMPREPLY[0]} in
        1*[.=]) compopt -o nospace ;;
    esac
}

complete -o bashdefault -o default -F _zelto zelto
