meta:
  id: emaillog
  title: A batch of mails
  endian: le
params:
  - id: num_records
    type: u4
    doc: result of the answer
seq:
  - id: records
    type: mail
    repeat: expr
    repeat-expr: num_records
types:
  mail:
    doc: 1032 bytes.
    seq:
      - id: key
        type: u4
        doc: Larger ones are listed first; 0 in an empty record.
      - id: elemlen
        type: u2
        doc: Bytes of elements.
      - id: elems
        size: 1026
        type: element_area
  element_area:
    seq:
      - id: used
        size: _parent.elemlen
        type: element_list
  element_list:
    seq:
      - id: elements
        type: element
        repeat: eos
  element:
    doc: Lies at any byte. Of a type given twice the later one counts, but for attachments.
    seq:
      - id: type
        type: u1
        enum: element_type
      - id: length
        type: u2
      - id: value
        size: length
        type:
          switch-on: type
          cases:
            element_type::attachment: attachment
            element_type::time: time
            element_type::addresses: addresses
            element_type::mac: mac
            element_type::app: app
        doc: "The others are the bytes of a header as the mail carried it."
  attachment:
    seq:
      - id: name
        terminator: 0
        eos-error: false
  time:
    seq:
      - id: time_secs
        type: u4
  addresses:
    seq:
      - id: src_net
        type: u4be
      - id: dst_net
        type: u4be
      - id: sport_net
        type: u2be
      - id: dport_net
        type: u2be
  mac:
    seq:
      - id: mac
        size: 6
  app:
    seq:
      - id: apid
        type: u2
enums:
  element_type:
    1: header_from
    2: header_to
    3: header_cc
    4: header_subject
    5: attachment
    6: time
    7: addresses
    8: mac
    9: app
