# trova: completion for fish. Names of collections are those of the default store.

set -l commands check collections generate import like lists scan show
set -l parts ls show rename rm export import
set -l none "not __fish_seen_subcommand_from $commands"

complete -c trova -f
complete -c trova -s h -l help -d 'Help'
complete -c trova -n $none -l version -d 'Versions'
complete -c trova -n $none -a check -d 'Check a statement'
complete -c trova -n $none -a collections -d 'Show, rename, remove, export and import collections'
complete -c trova -n $none -a generate -d 'Make a playlist by a statement'
complete -c trova -n $none -a import -d 'Store a collection made of a table'
complete -c trova -n $none -a like -d 'Make a playlist of what is like a track'
complete -c trova -n $none -a lists -d 'Show the lists of genres, eras and so on'
complete -c trova -n $none -a scan -d 'Store a collection made of a folder, or bring it up to date'
complete -c trova -n $none -a show -d 'Show what a stored collection holds of a track'

# What several commands share. A subcommand of "collections" may have the name of a command.
set -l stored '__fish_seen_subcommand_from collections generate import like scan show'
set -l playlist '__fish_seen_subcommand_from generate like'
set -l reading '__fish_seen_subcommand_from generate import like scan'
set -l collections '(trova collections ls 2>/dev/null)'
complete -c trova -n $stored -l collection -x -a $collections -d 'Stored collection'
complete -c trova -n $stored -l store -r -F -d 'File of the stored collections'
complete -c trova -n $reading -s v -l verbose -d 'Say what was skipped or not used'
complete -c trova -n $playlist -l library -r -F -d 'Folder of audio files, or a table'
complete -c trova -n $playlist -l output -x -a 'csv jspf json m3u8 paths table xspf' -d 'Form'
complete -c trova -n $playlist -s 0 -l null -d 'Paths, each ended by a zero byte'
complete -c trova -n $playlist -l relative-to -x -a '(__fish_complete_directories)' -d 'Folder'

complete -c trova -n '__fish_seen_subcommand_from check generate' -s f -l file -r -F -d 'Statement'
complete -c trova -n '__fish_seen_subcommand_from generate' -l seed -x -d 'Track that SEED stands for'
complete -c trova -n '__fish_seen_subcommand_from like' -s n -x -d 'The most tracks to write'
complete -c trova -n '__fish_seen_subcommand_from like' -l explain -d 'Show how alike they are'
complete -c trova -n '__fish_seen_subcommand_from lists' -l search -x -d 'Nearest names'
complete -c trova -n '__fish_seen_subcommand_from lists' -l tree -d 'Show what lies below what'
complete -c trova -n '__fish_seen_subcommand_from lists' \
    -a 'artist-types eras genres moods origins tempos'

set -l changing '__fish_seen_subcommand_from scan import rename rm export'
complete -c trova -n $changing -l dry-run -d 'Say what would be done, and do nothing'
complete -c trova -n '__fish_seen_subcommand_from scan rm' -l yes -d 'Do not ask'
complete -c trova -n '__fish_seen_subcommand_from scan' -a '(__fish_complete_directories)'
complete -c trova -n '__fish_seen_subcommand_from import' -F

set -l collections_only "__fish_seen_subcommand_from collections; and not __fish_seen_subcommand_from $parts"
complete -c trova -n $collections_only -a 'ls' -d 'List the collections'
complete -c trova -n $collections_only -a 'show' -d 'Say how large a collection is'
complete -c trova -n $collections_only -a 'rename' -d 'Give a collection another name'
complete -c trova -n $collections_only -a 'rm' -d 'Remove a collection'
complete -c trova -n $collections_only -a 'export' -d 'Write a collection to a file'
complete -c trova -n $collections_only -a 'import' -d 'Store a collection that was exported'
set -l named '__fish_seen_subcommand_from collections; and __fish_seen_subcommand_from show rename rm export'
complete -c trova -n $named -a $collections
