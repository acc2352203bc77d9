meta:
  id: request
  title: The record that client and daemon exchange, 208 bytes in both directions
  endian: le
doc: See protocol.md, "The 208 bytes", for who sets what.
seq:
  - id: msgcode
    type: u4
    enum: code
    doc: What is asked.
  - id: datalen
    type: u4
    doc: Bytes of argument text at the start of the area.
  - id: data
    size: 8
    doc: An address in the client.
  - id: shmid
    type: s4
    doc: The shared-memory segment, the area.
  - id: syncdesc
    type: u1
    doc: "Request: dictionary tables are wanted. Answer: they lie ahead of the reply."
  - id: islast
    type: u1
    doc: "Answer: this is the last batch."
  - id: flags
    type: u2
  - id: stream
    size: 8
  - id: status
    type: u4
    doc: 0, or why the call failed.
  - id: errtext
    size: 128
    terminator: 0
    doc: "Request: the target module or argument. Answer: the text of a failure."
  - id: result
    type: s4
    doc: "Answer: the number of records of a listing, the exit status of some commands."
  - id: replylen
    type: u4
    doc: "Answer: bytes of reply text."
  - id: shmsize
    type: u4
    doc: Bytes of the area.
  - id: reply
    size: 8
    doc: An address in the client.
  - id: argval
    type: u4
    doc: A number, for codes that take one.
  - id: reserved1
    size: 12
  - id: stamp
    type: u4
    doc: Time of the request, seconds since the epoch.
  - id: reserved2
    size: 4
enums:
  code:
    121: table_addip
    122: table_rmvip
    125: table_clear
    126: table_getcmp
    249: table_loadfile
    282: keytbl_list
    348: table_matchtest
    387: module_list
    388: module_stat
    511: dictionary
    2050: stat
    2051: add
    2052: remove
    2053: set
    2054: get
    2055: list
    2056: load
    2057: config
    2064: debug
