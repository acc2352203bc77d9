/** Made by tools/make_types from emaillog.schema.json: change that one. */

/**
 * What "qsvmon emaillog list" prints.
 */
export interface Emaillog {
  /**
   * The rows of the page, in the listing's order.
   */
  data: Mail[];
  /**
   * Records on all pages, but for those of this page that cannot be decoded.
   */
  count: number;
}
/**
 * One mail.
 */
export interface Mail {
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
   * Application.
   */
  apid: number;
  /**
   * Display name of the application; "undname" without a dictionary.
   */
  appname: string;
  /**
   * Client MAC address.
   */
  mac: string;
  /**
   * Time of the mail, local.
   */
  req_time: string;
  /**
   * Time of the mail, seconds since the epoch.
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
   * From, decoded to GB2312 bytes, without blanks, quotes, line ends and backslashes.
   */
  from: string;
  /**
   * To, decoded to GB2312 bytes, without blanks, quotes, line ends and backslashes.
   */
  to: string;
  /**
   * Cc, decoded to GB2312 bytes, without blanks, quotes, line ends and backslashes.
   */
  cc: string;
  /**
   * First word of the Subject, decoded to GB2312 bytes, without blanks, quotes, line ends and backslashes.
   */
  subject: string;
  /**
   * Bytes of the raw To header, 0 when there was none.
   */
  tolen: number;
  /**
   * Attachment names joined by commas, decoded to GB2312 bytes, without blanks, quotes, line ends and backslashes.
   */
  file: string;
}
