meta:
  id: tcpreset
  title: A batch of reset sessions
  endian: le
  bit-endian: le
params:
  - id: num_records
    type: u4
    doc: "result of the answer"
seq:
  - id: records
    type: reset_session
    repeat: expr
    repeat-expr: num_records
types:
  reset_session:
    doc: 64 bytes.
    seq:
      - id: time_secs
        type: u4
        doc: Seconds since the epoch.
      - id: src_net
        type: u4be
        doc: Source address, the first octet in the high byte.
      - id: dst_net
        type: u4be
      - id: sport_net
        type: u2be
      - id: dport_net
        type: u2be
      - id: metrics
        type: metrics
      - id: val1
        type: u2
      - id: val2
        type: u2
      - id: appword
        type: appword
      - id: val3
        type: u1
      - id: name
        size: 31
        terminator: 0
        doc: Domain name, empty when there is none.
  metrics:
    doc: 8 bytes; three numbers in hundredths.
    seq:
      - id: from_bit_0
        type: b20
      - id: from_bit_20
        type: b20
      - id: from_bit_40
        type: b20
      - id: unused
        type: b4
  appword:
    doc: 4 bytes.
    seq:
      - id: app
        type: b14
      - id: http_status
        type: b10
        doc: 0 when there is none.
      - id: unused
        type: b2
      - id: traffic_class
        type: b6
        enum: traffic_class
enums:
  traffic_class:
    5: http
    6: https
