meta:
  id: telnetlog
  title: A batch of Telnet commands
  endian: le
  imports:
    - login_head
params:
  - id: num_records
    type: u4
    doc: result of the answer
seq:
  - id: records
    type: command
    repeat: expr
    repeat-expr: num_records
types:
  command:
    doc: 188 bytes.
    seq:
      - id: head
        type: login_head
      - id: cmdlen
        type: u1
        doc: Bytes of the command.
      - id: cmd
        size: 129
        terminator: 0
        doc: As typed.
      - id: user
        size: 32
        terminator: 0
