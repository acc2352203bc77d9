# Completion of qsvsim for tcsh: put "source <this file>" into ~/.tcshrc.
complete qsvsim \
  'n/--root/d/' \
  'n/--capture/d/' \
  'n/--data/(sample nasty)/' \
  'n/--dict/f/' \
  'n/--fault/(refuse close half silence late error count replylen garbage unterminated dict)/' \
  'n/--{records,distinct,seed,batch,fault-after,fault-ms}/()/' \
  'c/--/(root data dict background stop capture pretty version help records distinct seed batch fault fault-after fault-ms)/' \
  'p/*/()/'
