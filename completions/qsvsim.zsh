#compdef qsvsim
# Completion of qsvsim for zsh: a file named _qsvsim in a folder of $fpath.
_arguments \
  "--root[the appliance's folder]:folder:_files -/" \
  '--data[the data to serve]:set or folder: _alternative "sets\:set\:(sample nasty)" "folders\:folder\:_files -/"' \
  '--dict[the dictionary library]:file:_files' \
  '--background[return when the sockets are open]' \
  '--stop[end the qsvsim that serves the folder]' \
  '--capture[write every exchange into files]:folder:_files -/' \
  '--pretty[indent the JSON document on standard input]' \
  '--version[print the version]' \
  '(-h --help)'{-h,--help}'[print a summary of the options]' \
  '--records[serve so many generated records]:number: ' \
  '--distinct[with so many addresses and names]:number: ' \
  '--seed[seed of the random numbers]:number: ' \
  '--batch[at most so many records a reply]:number: ' \
  '--fault[answer wrongly]:kind:(refuse close half silence late error count replylen garbage unterminated dict)' \
  '--fault-after[answer so many requests correctly first]:number: ' \
  '--fault-ms[milliseconds until a late reply]:milliseconds: '
