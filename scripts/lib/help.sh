# Answers --help for the scripts that source it, and refuses options that they do not have.
#
# A script's head comment is its help: from the second line to the first one that is no comment. The comment says what the
# script does and how it is called, and ends with three lines that tests/architecture/check_scripts.py asks for:
#   Installs: what scripts/setup brings for it, or nothing
#   Writes: which files, or nothing
#   Takes: how long
#
# A script sources this file and calls `takes` before it does anything else, even before it changes the folder:
#   . "$(dirname "$0")/lib/help.sh"
#   takes 1 "--check --list" "$@"    # one argument at most, and these two options
#
# `takes` prints the help and ends the script with 0 when --help or -h is among the arguments. It ends the script with 2 when
# there is an option that is not named, or more arguments than it allows; "any" allows any number of them. An option may be a
# pattern, such as "--benchmark_*". `wrong_use MESSAGE` ends the script with 2 for what the script itself finds wrong.
# A script in Python shows its docstring by argparse instead, as scripts/coverage does.

script_file=$(realpath "$0")
# The script's name as a person types it at the root.
script_name=scripts/${script_file##*/scripts/}

wrong_use() {
  echo "$script_name: $1; see $script_name --help" >&2
  exit 2
}

print_help() { sed -n '1d; /^#/!q; s/^# \{0,1\}//; p' "$script_file"; }

takes() {
  local most=$1 options argument option count=0
  read -ra options <<<"$2"
  shift 2
  for argument in "$@"; do
    case $argument in --help | -h) print_help && exit 0 ;; esac
  done
  for argument in "$@"; do
    if [[ $argument != -* ]]; then
      count=$((count + 1))
      continue
    fi
    for option in "${options[@]}"; do
      # An option may be a pattern, so it isn't quoted.
      # shellcheck disable=SC2053
      [[ $argument != $option ]] || continue 2
    done
    wrong_use "there is no option $argument"
  done
  [ "$most" = any ] || [ "$count" -le "$most" ] || wrong_use "there are too many arguments: $count, $most at most"
}
