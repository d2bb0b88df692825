#!/usr/bin/env bash
# Completes command lines as bash would. usage: bash_completion_test.sh COMPLETION
set -u
failures=0

# What the package bash-completion offers and the completion uses of it.
_init_completion() {
  words=("${COMP_WORDS[@]}") cword=$COMP_CWORD
  cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
}
_filedir() { COMPREPLY=(a-file); }
# The command, as far as the completion asks it. The hostile names would leave a file if a shell ran them.
vellora() {
  [ "$*" = '--server work --cache c.sqlite cache ls --names' ] && printf '%s\n' types type/Account layout/Account \
    'type/$(touch${IFS}"$XDG_CONFIG_HOME"/ran)' 'type/`touch "$XDG_CONFIG_HOME"/ran`' 'type/a;b' 'type/a b' '--all' '~/x'
}
export XDG_CONFIG_HOME
XDG_CONFIG_HOME=$(mktemp -d)
trap 'rm -rf "$XDG_CONFIG_HOME"' EXIT
mkdir "$XDG_CONFIG_HOME/vellora"
printf '%s\n' 'server = "work"' '[servers.work]' 'address = "https://records.example"' '[ servers.test ]' \
  '[servers.$(touch${IFS}"$XDG_CONFIG_HOME"/ran)]' '[servers.`touch${IFS}"$XDG_CONFIG_HOME"/ran`]' \
  > "$XDG_CONFIG_HOME/vellora/config.toml"

source "$1"

# expect WANTED WORD…: the candidates behind the words, of which the last is being typed.
expect() {
  local wanted=$1
  shift
  COMP_WORDS=(vellora "$@") COMP_CWORD=$# COMPREPLY=()
  _vellora
  if [ "${COMPREPLY[*]:-}" != "$wanted" ]; then
    echo "vellora $*: offers \"${COMPREPLY[*]:-}\", not \"$wanted\"" >&2
    failures=$((failures + 1))
  fi
}

expect 'search-layouts status' s
expect '--token-file --theme' --t
expect 'off error info' --log ''
expect 'table json csv tsv jsonl' -o ''
expect 'csv' --output c
expect 'always' --color al
expect '' --columns ''
expect 'list' --output csv --columns label li
expect 'a-file' --cache ''
expect 'work test' --server ''
expect 'work' --server w
expect 'a-file work test' diff ''
expect 'bash zsh fish' completion ''
expect '--interval' watch --i
expect 'types type/Account' --server work --cache c.sqlite cache show t
expect 'types type/Account layout/Account' --server work --cache c.sqlite cache show ''
expect 'layout/Account' --server work --cache c.sqlite --wait 7 cache purge l
expect '--all' cache ls --a
expect 'ls show verify purge delete export import' cache ''
expect '--expired' cache purge --e
expect '--replace' cache export --rep
expect '' ids n
expect '--port' explore --p
expect '' explore --port ''
expect '' cache ls --e
expect 'a-file' --json cache import ''
expect 'names' --server cache n
if [ -e "$XDG_CONFIG_HOME/ran" ]; then
  echo "a command in a name was run" >&2
  failures=$((failures + 1))
fi
[ "$failures" = 0 ] || exit 1
echo "every completion is as expected"
