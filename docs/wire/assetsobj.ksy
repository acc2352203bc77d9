meta:
  id: assetsobj
  title: A batch of asset objects
  endian: le
params:
  - id: num_records
    type: u4
    doc: result of the answer
seq:
  - id: records
    type: asset_object
    repeat: expr
    repeat-expr: num_records
types:
  asset_object:
    doc: 144 bytes.
    seq:
      - id: reserved1
        size: 10
      - id: num1
        type: u2
      - id: num2
        type: u4
      - id: num3
        type: u4
      - id: reserved2
        size: 28
      - id: name
        size: 96
        terminator: 0
