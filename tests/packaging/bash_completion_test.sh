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
expect 'a-file' --cache ''
expect '' --server ''
expect 'ls show verify purge delete export import' cache ''
expect '--expired' cache purge --e
expect '--replace' cache export --r
expect '' ids n
expect '--port' explore --p
expect '' explore --port ''
expect '' cache ls --e
expect 'a-file' --json cache import ''
expect 'names' --server cache n
[ "$failures" = 0 ] || exit 1
echo "every completion is as expected"
