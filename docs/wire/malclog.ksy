meta:
  id: malclog
  title: A batch of malicious events, in the first answer behind the signature table
  endian: le
params:
  - id: is_first
    type: bool
    doc: The first answer of a command begins with the signature table.
  - id: num_events
    type: u4
    doc: result of the answer
seq:
  - id: signatures
    type: signature
    repeat: expr
    repeat-expr: "is_first ? 64 : 0"
    doc: A signature's place is its bit in the events.
  - id: events
    type: event
    repeat: expr
    repeat-expr: num_events
types:
  signature:
    doc: 40 bytes.
    seq:
      - id: tid
        type: u2
        doc: Signature number; 0 when the slot is not used.
      - id: vid
        type: u2
        doc: Vendor or version number.
      - id: type
        type: u1
        enum: signature_type
      - id: disabled
        type: u1
        doc: "Not 0: left out of listtype=table."
      - id: itlgc
        type: u1
        doc: Category, 0 to 31.
      - id: mkmode
        type: u1
        enum: mkmode
      - id: name
        size: 32
        terminator: 0
  event:
    doc: 80 bytes.
    seq:
      - id: time_secs
        type: u4
        doc: Seconds since the epoch; 0 in an empty record.
      - id: src_net
        type: u4be
      - id: dst_net
        type: u4be
      - id: sport_net
        type: u2be
      - id: dport_net
        type: u2be
      - id: bitmap
        type: u8
        doc: "Bit n: matched the signature in slot n."
      - id: apid
        type: u2
      - id: mac
        size: 6
        doc: Of the internal host.
      - id: proto
        type: u1
        doc: IP protocol.
      - id: sign
        type: u1
        doc: "What matched: 1 source, 2 destination, 4 DNS name, 8 URI."
      - id: host_len
        type: u1
        doc: Length of the host name; 0 when there is none.
      - id: host
        size: 45
        terminator: 0
enums:
  signature_type:
    0: ip
    1: dns
  mkmode:
    1: own_name
    2: category
