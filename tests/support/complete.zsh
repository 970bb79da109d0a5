# What zsh, started as an interactive shell, does instead of asking for a line: it completes VEL_LINE by
# the functions in VEL_COMPLETIONS, writes what is offered to VEL_OFFERED, and ends.
fpath=($VEL_COMPLETIONS $fpath)
autoload -Uz compinit && compinit -D -u

# With -A, -D or -O completion functions only try out what matches: that is not offered yet.
compadd() {
    if [[ ! " ${@[1,(i)(-|--)]}" =~ ' -[ADO]' ]]; then
        local -a offered
        builtin compadd -O offered "$@"
        print -rl -- $offered >>$VEL_OFFERED
    fi
    builtin compadd "$@"
}

zle-line-init() {
    BUFFER=$VEL_LINE
    CURSOR=$#BUFFER
    zle list-choices
    exit 0
}
zle -N zle-line-init
