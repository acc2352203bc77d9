meta:
  id: dictionary
  title: The dictionary tables ahead of a reply whose syncdesc is not 0
  endian: le
doc: How many entries there are is not sent. The dictionary library says it, slots 40 and 41.
params:
  - id: num_apps
    type: u4
  - id: num_groups
    type: u4
seq:
  - id: apps
    type: entry
    repeat: expr
    repeat-expr: num_apps
  - id: groups
    type: entry
    repeat: expr
    repeat-expr: num_groups
types:
  entry:
    doc: 56 bytes. Not in use when its name is empty.
    seq:
      - id: id
        type: u2
      - id: group
        type: u2
        doc: "Of an application: the group it belongs to."
      - id: name
        size: 20
        terminator: 0
      - id: display_name
        size: 24
        terminator: 0
      - id: pointer
        size: 8
        doc: An address in the daemon. The client clears it in group entries.
