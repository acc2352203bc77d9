meta:
  id: ftplog
  title: A batch of FTP operations
  endian: le
  imports:
    - login_head
params:
  - id: num_records
    type: u4
    doc: result of the answer
seq:
  - id: records
    type: operation
    repeat: expr
    repeat-expr: num_records
types:
  operation:
    doc: 116 bytes.
    seq:
      - id: head
        type: login_head
      - id: optype
        type: u1
        enum: verb
      - id: reserved
        size: 1
      - id: name
        size: 64
        terminator: 0
        doc: File or folder.
      - id: user
        size: 24
        terminator: 0
enums:
  verb:
    0: unkn
    1: stor
    2: retr
    3: dele
    4: rmd
    5: rnfr
    6: rnto
    7: login_user
    8: login_pass
