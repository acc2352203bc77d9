meta:
  id: login_head
  title: What FTP and Telnet records begin with, 26 bytes
  endian: le
seq:
  - id: start
    type: u4
    doc: Start of the session, seconds since the epoch.
  - id: time
    type: u4
    doc: Of the operation; the newest are listed first.
  - id: sip_net
    type: u4be
    doc: Client address.
  - id: dip_net
    type: u4be
    doc: Server address.
  - id: sport_net
    type: u2be
  - id: dport_net
    type: u2be
  - id: mac
    size: 6
    doc: The client's.
