meta:
  id: addresses
  title: A batch of an IP table's addresses, the reply of get whose replylen is 0
  endian: le
params:
  - id: num_records
    type: u4
    doc: result of the answer
seq:
  - id: records
    type: u4
    repeat: expr
    repeat-expr: num_records
    doc: In host order, 10.1.1.1 is the bytes 01 01 01 0a.
