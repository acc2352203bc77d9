# Completion of qsvsim for fish.
complete -c qsvsim -f
complete -c qsvsim -l root -x -a '(__fish_complete_directories)' -d "the appliance's folder"
complete -c qsvsim -l data -x -a 'sample nasty (__fish_complete_directories)' -d 'the data to serve'
complete -c qsvsim -l dict -r -F -d 'the dictionary library'
complete -c qsvsim -l background -d 'return when the sockets are open'
complete -c qsvsim -l stop -d 'end the qsvsim that serves the folder'
complete -c qsvsim -l capture -x -a '(__fish_complete_directories)' -d 'write every exchange into files'
complete -c qsvsim -l pretty -d 'indent the JSON document on standard input'
complete -c qsvsim -l version -d 'print the version'
complete -c qsvsim -s h -l help -d 'print a summary of the options'
complete -c qsvsim -l records -x -d 'serve so many generated records'
complete -c qsvsim -l distinct -x -d 'with so many addresses and names'
complete -c qsvsim -l seed -x -d 'seed of the random numbers'
complete -c qsvsim -l batch -x -d 'at most so many records a reply'
complete -c qsvsim -l fault -x -d 'answer wrongly' \
    -a 'refuse close half silence late error count replylen garbage unterminated dict'
complete -c qsvsim -l fault-after -x -d 'answer so many requests correctly first'
complete -c qsvsim -l fault-ms -x -d 'milliseconds until a late reply'
