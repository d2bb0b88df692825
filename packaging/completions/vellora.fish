# fish completion for vellora(1)

# The names of the servers in the configuration.
function __vellora_servers
    set -l folder ~/.config
    set -q XDG_CONFIG_HOME; and set folder $XDG_CONFIG_HOME
    sed -n 's/^ *\[ *servers\.\([^] ]*\) *\] *$/\1/p' $folder/vellora/config.toml 2> /dev/null
end

# The entries of the cache that the line names.
function __vellora_entries
    set -l line (commandline -opc)
    set -l given
    for i in (seq (count $line))
        if contains -- $line[$i] --server --token-file --cache --cache-user --cache-password-file --cache-ca-file; and test $i -lt (count $line)
            set -a given $line[$i] $line[(math $i + 1)]
        end
    end
    $line[1] $given cache ls --names < /dev/null 2> /dev/null
end

set -l commands ids names list search-layouts compact-layouts watch diff status explore cache completion
set -l actions ls show verify purge delete export import

complete -c vellora -f
complete -c vellora -s h -l help -d 'Print help and exit'
complete -c vellora -l version -d 'Print the version and exit'
complete -c vellora -s V -l build-info -d 'Print the version and how it was built, and exit'
complete -c vellora -l server -x -a '(__vellora_servers)' -d 'The records server'
complete -c vellora -l token-file -r -F -d 'File with the bearer token; - is standard input'
complete -c vellora -l theme -x -a light -d 'Theme of colours and icons'
complete -c vellora -l cache -r -F -d 'Cache file, or the address of a Redis'
complete -c vellora -l cache-user -x -d 'User of that Redis'
complete -c vellora -l cache-ca-file -r -F -d 'Authorities that it is trusted by'
complete -c vellora -l cache-password-file -r -F -d 'File with the password of that Redis; - is standard input'
complete -c vellora -l cache-timeout -x -d 'Age in seconds at which cached data expires'
complete -c vellora -l offline -d 'Ask the cache alone'
complete -c vellora -l refresh -d 'Ask the server first'
complete -c vellora -l wait -x -d 'How many seconds to wait for the answer'
complete -c vellora -s o -l output -x -a 'table json csv tsv jsonl' -d 'Form of the answer'
complete -c vellora -l json -d 'Print one JSON document, the dictionary of what was found'
complete -c vellora -l columns -x -d 'Columns to print, separated by commas'
complete -c vellora -l wide -d 'All columns in a table'
complete -c vellora -l color -x -a 'auto always never' -d 'When to print colours'
complete -c vellora -s q -l quiet -d 'Say nothing of what is missing or old'
complete -c vellora -s v -l verbose -d 'Tell of each request'
complete -c vellora -l log -x -a 'off error info' -d 'Library log'
complete -c vellora -l log-file -r -F -d 'Write the log there'
complete -c vellora -l no-color -d 'Never print colours'

complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a ids -d 'Types of records'
complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a names -d 'Object types'
complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a list -d 'All object types, or some'
complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a search-layouts -d 'Columns of search results'
complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a compact-layouts -d 'Headline fields'
complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a status -d 'How far loading has got'
complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a cache -d 'Looks into a cache file'
complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a explore -d 'Shows all of it on a web page'
complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a watch -d 'Shows what changes'
complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a diff -d 'Compares servers or cache files'
complete -c vellora -n "not __fish_seen_subcommand_from $commands" -a completion -d 'Prints a completion'
complete -c vellora -n '__fish_seen_subcommand_from watch' -x -l interval -d 'Seconds between two refreshes'
complete -c vellora -n '__fish_seen_subcommand_from watch' -x -l times -d 'End after so many refreshes'
complete -c vellora -n '__fish_seen_subcommand_from diff' -F -a '(__vellora_servers)'
complete -c vellora -n '__fish_seen_subcommand_from completion' -a 'bash zsh fish'
complete -c vellora -n '__fish_seen_subcommand_from explore' -x -l port -d 'Serve the page on this port'

set -l in_cache "__fish_seen_subcommand_from cache; and not __fish_seen_subcommand_from $actions"
complete -c vellora -n $in_cache -a ls -d 'What is in the file'
complete -c vellora -n $in_cache -a show -d 'What entries hold'
complete -c vellora -n $in_cache -a verify -d 'Whether anything is damaged'
complete -c vellora -n $in_cache -a purge -d 'Delete entries'
complete -c vellora -n $in_cache -a delete -d 'Delete the file itself'
complete -c vellora -n $in_cache -a export -d 'Write the entries as a text'
complete -c vellora -n $in_cache -a import -d 'Store the entries of an exported text'
set -l in_list '__fish_seen_subcommand_from cache; and __fish_seen_subcommand_from ls'
complete -c vellora -n $in_list -l all -d 'Every file that is kept by default'
complete -c vellora -n $in_list -l names -d 'The names of the entries alone'
complete -c vellora -n '__fish_seen_subcommand_from cache; and __fish_seen_subcommand_from show purge' -a '(__vellora_entries)'
complete -c vellora -n '__fish_seen_subcommand_from purge' -l expired -d 'All that is expired, outdated or damaged'
complete -c vellora -n '__fish_seen_subcommand_from purge' -l all -d 'Everything'
complete -c vellora -n '__fish_seen_subcommand_from export import' -F -l replace -d 'Write over what is there'
complete -c vellora -n '__fish_seen_subcommand_from import' -l fresh -d 'Store them as if fetched now'
