/** Made by tools/make_types from ftplog.schema.json: change that one. */

/**
 * What "qsvmon ftplog list" prints.
 */
export interface Ftplog {
  /**
   * The rows of the page, in the listing's order.
   */
  data: FtpOperation[];
  /**
   * Records on all pages.
   */
  count: number;
}
/**
 * One FTP operation.
 */
export interface FtpOperation {
  /**
   * Client address.
   */
  src_ip: string;
  /**
   * Client port.
   */
  src_port: number;
  /**
   * Server address.
   */
  dst_ip: string;
  /**
   * Server port.
   */
  dst_port: number;
  /**
   * Client MAC address.
   */
  mac: string;
  /**
   * Start of the session, seconds since the epoch.
   */
  start: number;
  /**
   * Time of the operation, local.
   */
  req_time: string;
  /**
   * Time of the operation, seconds since the epoch.
   */
  time: number;
  /**
   * Label of the client address, empty when it has none.
   */
  srcip_desc: string;
  /**
   * Label of the server address.
   */
  dstip_desc: string;
  /**
   * Label of the MAC address.
   */
  ipmac_desc: string;
  /**
   * Login name, not escaped.
   */
  user: string;
  /**
   * The operation; "NULL" when unknown.
   */
  optype: "UNKN" | "STOR" | "RETR" | "DELE" | "RMD" | "RNFR" | "RNTO" | "USER" | "PASS" | "NULL";
  /**
   * File or folder, not escaped.
   */
  name: string;
}
